#include "cairn/document/document.h"
#include "cairn/foundation/file.h"
#include "cairn/imaging/device_texture.h"
#include "cairn/lighting/lightmap_pool.h"
#include "tests/support/old_lighting.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::LightmapForm;
using test::loadLight;
using test::saveLight;

/// Makes the stored files anew: for a form that is added. Those that are there must not change.
TEST(StoredLighting, DISABLED_StoreEveryForm) {
    for (const test::StoredLighting& record : test::storedLighting())
        F_File::replace(test::storedLightingPath(record.name).string(), record.bytes);
}

TEST(StoredLighting, IsWhatItsWriterMakes) {
    for (const test::StoredLighting& record : test::storedLighting())
        EXPECT_EQ(F_File::readAll(test::storedLightingPath(record.name).string()), record.bytes) << record.name;
}

TEST(LightmapPool, GivesIdsThatAreFree) {
    CN_LightmapPool pool;
    EXPECT_EQ(pool.getNextFreeID(), 0u);
    pool.allocateNew(7);
    pool.allocateNew(3);
    EXPECT_EQ(pool.getNextFreeID(), 8u);
    pool.allocateNew(NO_LIGHTMAP - 1);
    EXPECT_EQ(pool.getNextFreeID(), 0u);
    pool.allocateNew(0);
    EXPECT_EQ(pool.getNextFreeID(), 1u);
    EXPECT_EQ(failureText([&] { pool.allocateNew(3); }), "The pool has a lightmap of the id 3 already");
    for (const unsigned long id : {NO_LIGHTMAP, ~0ul, NO_LIGHTMAP + 1})
        EXPECT_EQ(failureText([&] { pool.allocateNew(id); }).find("No lightmap can have the id"), 0u) << id;
    EXPECT_EQ(pool.getLightmapCount(), 4u);
}

TEST(LightmapPool, KeepsItsCurveWhenItIsEmptied) {
    CN_LightmapPool pool;
    EXPECT_FALSE(pool.isConstructed());
    pool.construct();
    EXPECT_TRUE(pool.isConstructed());
    pool.getLightmapCurve().set(100, 10, 200, 0.5f);
    for (const bool again : {false, true}) {
        pool.allocateNew(3);
        if (again)
            pool.construct();
        else
            pool.destruct();
        EXPECT_EQ(pool.isConstructed(), again);
        EXPECT_EQ(pool.getLightmapCount(), 0u);
        EXPECT_EQ(pool.getLightmapCurve().getOutputMax(), 200);
        EXPECT_EQ(pool.getLightmapCurve().mapColorExponential(100), 128);
    }
    EXPECT_TRUE(CN_Document().getLightmaps()->isConstructed());
}

TEST(LightmapPool, HasItsTexturesMadeAnewWhenTheCurveChanges) {
    CN_LightmapPool pool;
    for (const unsigned long id : {3ul, 7ul}) {
        pool.allocateNew(id)->setBuffer(2, 2);
        pool.getLightmap(id)->setPixel(0, 0, {120, 120, 120});
    }
    const auto shown = [&pool](unsigned long id) {
        CN_RenderTexture* const texture = pool.getLightmap(id)->getRenderTexture(&pool.getLightmapCurve());
        return int{texture->getTexture()->getTexels().at(0).red};
    };
    for (const unsigned long id : {3ul, 7ul})
        EXPECT_EQ(shown(id), 120);
    pool.getLightmapCurve().set(128, 0, 100, 0);
    EXPECT_EQ(shown(3), 120);
    pool.setDirtyFlags();
    for (const unsigned long id : {3ul, 7ul})
        EXPECT_EQ(shown(id), 100);
}

TEST(LightmapPool, KeepsALightmapAsLongAsItHasUsers) {
    CN_LightmapPool pool;
    pool.allocateNew(3);
    pool.dereferenceLightmap(3); // of nobody
    ASSERT_TRUE(pool.getLightmap(3));
    EXPECT_EQ(pool.getLightmap(3)->getRefCount(), 0u);
    pool.referenceLightmap(3);
    pool.referenceLightmap(3);
    pool.dereferenceLightmap(3);
    EXPECT_EQ(pool.getLightmap(3)->getRefCount(), 1u);
    pool.dereferenceLightmap(3);
    EXPECT_EQ(pool.getLightmap(3), nullptr);
    EXPECT_EQ(failureText([&] { pool.referenceLightmap(3); }), "The pool has no lightmap of the id 3");
    EXPECT_EQ(failureText([&] { pool.dereferenceLightmap(3); }), "The pool has no lightmap of the id 3");
    for (const unsigned long id : {NO_LIGHTMAP, ~0ul}) {
        pool.referenceLightmap(id);
        pool.dereferenceLightmap(id);
    }
}

TEST(LightmapPool, ReadsEveryForm) {
    for (const LightmapForm form : {LightmapForm::NEWEST, LightmapForm::VERSION_1, LightmapForm::BARE}) {
        SCOPED_TRACE(static_cast<int>(form));
        CN_LightmapPool pool;
        pool.getLightmapCurve().set(1, 2, 3, 4);
        const Bytes bytes = test::makeLightmapPool(form);
        loadLight(pool, bytes);
        ASSERT_EQ(pool.getLightmapCount(), 2u);
        for (const unsigned long id : {3ul, 7ul}) {
            const CN_Lightmap* const lightmap = pool.getLightmap(id);
            ASSERT_TRUE(lightmap);
            EXPECT_EQ(lightmap->getID(), id);
            EXPECT_EQ(lightmap->getRefCount(), 0u);
            EXPECT_EQ(lightmap->isPassThrough(), form == LightmapForm::NEWEST && id == 3);
            EXPECT_EQ(lightmap->width(), id == 3 ? 2 : 1);
            EXPECT_EQ(lightmap->height(), id == 3 ? 1 : 2);
            for (std::size_t i = 0; i < 2; ++i)
                EXPECT_EQ(lightmap->getPixels()[i], test::oldLight(i));
        }
        EXPECT_EQ(pool.getLightmapCurve().getOutputMax(), form == LightmapForm::BARE ? 3 : 200);
        if (form != LightmapForm::BARE) {
            EXPECT_EQ(pool.getLightmapCurve().mapColorExponential(100), 128);
            EXPECT_NEAR(pool.getLightmapCurve().mapColorExponential(1e6f), 200, 1e-3);
        }
        const Bytes saved = saveLight(pool);
        EXPECT_EQ(saved == bytes, form == LightmapForm::NEWEST);
        EXPECT_EQ(failureText([&] { loadLight(pool, bytes); }).find("The pool has a lightmap of the id 3 already"), 0u);
        EXPECT_EQ(saveLight(pool), saved);
    }
}

TEST(LightmapPool, RefusesRecordsThatCannotBe) {
    struct Case {
        const char* failure;
        std::function<void(F_MemoryFile&)> record; ///< without a chunk
    };
    const Case cases[] = {
        {"-1 lightmaps do not fit", [](F_MemoryFile& f) { f << -1; }},
        {"2147483647 lightmaps do not fit", [](F_MemoryFile& f) { f << 0x7FFFFFFF << 0ul << 0u << 0u; }},
        {"the id that stands for none", [](F_MemoryFile& f) { f << 1 << NO_LIGHTMAP << 0u << 0u; }},
        {"two lightmaps of the id 5", [](F_MemoryFile& f) { f << 2 << 5ul << 0u << 0u << 5ul << 0u << 0u; }},
        // 16 bytes a pixel are a multiple of 2^32 and of 2^64 here.
        {"65536 x 4096 pixels does not fit", [](F_MemoryFile& f) { f << 1 << 5ul << 0x10000u << 0x1000u; }},
        {"1073741824 x 1073741824 pixels", [](F_MemoryFile& f) { f << 1 << 5ul << 0x40000000u << 0x40000000u; }},
        {"4294967295 x 0 pixels", [](F_MemoryFile& f) { f << 1 << 5ul << 0xFFFFFFFFu << 0u; }},
    };
    for (const Case& c : cases) {
        F_MemoryFile file;
        c.record(file);
        file.toRead();
        CN_LightmapPool pool;
        EXPECT_NE(failureText([&] { pool.load(file); }).find(c.failure), string::npos) << c.failure;
        EXPECT_EQ(pool.getLightmapCount(), 0u);
    }
}

TEST(LightmapPool, DropsWhatNobodyUses) {
    test::ProcessStateGuard process;
    CN_LightmapPool pool;
    for (const unsigned long id : {2ul, 5ul, 9ul})
        pool.allocateNew(id);
    pool.referenceLightmap(5);
    pool.debugCheck();
    pool.debugCheck(); // which has nothing to say
    ASSERT_EQ(process.boxes().size(), 1u);
    EXPECT_EQ(process.boxes()[0].text, "REPORT THIS TO PROGRAMMERS: Lightmaps with zero refcount loaded: 2, 9");
    EXPECT_TRUE(pool.getLightmap(5));
    EXPECT_EQ(pool.getLightmapCount(), 1u);
}

TEST(LightmapPool, EveryDamageIsRefusedOrLoads) {
    for (const LightmapForm form : {LightmapForm::NEWEST, LightmapForm::VERSION_1, LightmapForm::BARE})
        test::expectDamageIsRefusedOrLoads<CN_LightmapPool>(test::makeLightmapPool(form),
                                                            [](const CN_LightmapPool&) {});
}

} // namespace
} // namespace cairn
