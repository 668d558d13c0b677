#include "cairn/content/shared_db_writer.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/image_files.h"
#include "tests/support/level_bytes.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace cairn {
namespace {

using Names = std::vector<CString>;

class MaterialTest : public testing::Test {
  protected:
    MaterialTest() { m_material.setList(&m_list); }

    CN_Texture* addTexture(const char* name, const test::Bytes& file, I_Image::Format format = I_Image::TGA) {
        CN_Texture* texture = m_list.addNew();
        texture->setName(name);
        test::failureText([&] { test::setSource(*texture, file, format); });
        return texture;
    }
    CN_Texture* addTexture(const char* name, int width = 2, int height = 2) {
        return addTexture(name, test::makeTga(width, height, 200, 100, 50));
    }

    test::ProcessStateGuard m_process;
    CN_TextureList m_list;
    CN_Material m_material;
};

TEST_F(MaterialTest, CountsAReferenceForEachSlot) {
    CN_Texture* a = addTexture("a.tga");
    m_material.setLightTexture(a);
    m_material.setLightTexture(a);
    EXPECT_EQ(a->getMaterialRefs(), 1);
    m_material.setDiffuseTextures({a, nullptr, a});
    EXPECT_EQ(a->getMaterialRefs(), 3);
    m_material.setLightTexture(nullptr);
    m_material.setDiffuseTextures(CN_Material::TextureVector{a});
    EXPECT_EQ(a->getMaterialRefs(), 1);
    m_material.setDiffuseTextures(Names{"A.TGA"}); // its last reference goes and comes
    EXPECT_EQ(m_material.getTexture(), a);

    m_material.setDiffuseTextures(Names{"b.tga"});
    EXPECT_EQ(m_list.get("a.tga"), nullptr) << "its last reference is gone";
    EXPECT_EQ(m_material.getDiffuseTextures(), CN_Material::TextureVector{nullptr});
    {
        CN_Material other;
        other.setList(&m_list);
        addTexture("c.tga");
        EXPECT_TRUE(other.addDiffuseTexture("c.tga"));
        EXPECT_FALSE(other.addDiffuseTexture("d.tga"));
        m_material.copyProperties(&other);
        EXPECT_TRUE(m_material == other);
    }
    EXPECT_EQ(m_list.get("c.tga")->getMaterialRefs(), 1);
}

TEST_F(MaterialTest, TexturesOfALayerSetItsScaleOnce) {
    double u = 0, v = 0;
    m_material.setDefaultScale(32);
    m_material.setDiffuseTextures(CN_Material::TextureVector{nullptr});
    m_material.addDiffuseTexture(addTexture("a.tga", 64, 16));
    m_material.addDiffuseTexture(addTexture("b.tga", 8, 8));
    EXPECT_EQ(m_material.getDiffuseTextures().size(), 2u) << "the empty slot was filled";
    m_material.getTiles(u, v, true);
    EXPECT_EQ(std::pair(u, v), std::pair(2.0, 0.5));
    m_material.setTiles(3, 4, false);
    m_material.setLightTexture(addTexture("c.tga", 64, 64));
    m_material.getTiles(u, v, false);
    EXPECT_EQ(std::pair(u, v), std::pair(3.0, 4.0)) << "it had been set";
    m_material.setVisibleFrame(1);
    m_material.resetScalings();
    m_material.getTiles(u, v, true);
    EXPECT_EQ(u, 0.25);
    m_material.getTiles(u, v, false);
    EXPECT_EQ(u, 2);

    CN_Material unscaled;
    unscaled.addDiffuseTexture(m_list.get("a.tga"));
    unscaled.getTiles(u, v, true);
    EXPECT_EQ(std::pair(u, v), std::pair(1.0, 1.0)) << "without texels per unit";
    EXPECT_TRUE(unscaled.isDiffuseScaled());
    unscaled.setDetailScale(7);
    unscaled.setDetailTexture(m_list.get("a.tga"));
    EXPECT_EQ(unscaled.getDetailScale(), 7);
}

TEST_F(MaterialTest, CopiesAllThatIsSaidOfASurface) {
    CN_Material source;
    source.setList(&m_list);
    source.setName("Stone");
    source.setDiffuseTextures(CN_Material::TextureVector{addTexture("a.tga"), addTexture("b.tga")});
    source.setLightTexture(addTexture("c.tga"));
    source.setDetailTexture(addTexture("d.tga"));
    source.setReflectionTexture(addTexture("e.tga"));
    source.setGlossTexture(addTexture("f.tga"));
    source.setTiles(2, 3, true);
    source.setTiles(4, 5, false);
    source.setDetailScale(6);
    source.setBlendType(CN_Material::BLEND_DETAIL);
    source.setAlphaTestValue(7);
    source.setVisibleFrame(1);
    source.setFramerate(9);
    for (const auto set : {&CN_Material::setDoubleSided, &CN_Material::setAdultContent, &CN_Material::setEdgeBlend,
                           &CN_Material::setUsesReflection, &CN_Material::setUsesGloss})
        (source.*set)(true);
    m_material.copyProperties(&source);
    F_MemoryFile saved, copied;
    source.save(saved);
    m_material.save(copied);
    EXPECT_EQ(test::bytesOf(copied), test::bytesOf(saved));
    EXPECT_TRUE(m_material.isDiffuseScaled() && m_material.isLightScaled() && m_material.isDetailScaled());
}

TEST_F(MaterialTest, EqualityLooksAtWhatIsShown) {
    CN_Texture *a = addTexture("a.tga"), *b = addTexture("b.tga");
    const struct {
        const char* what;
        std::function<void(CN_Material&)> change;
        bool equal;
    } cases[] = {
        {"name's case", [](CN_Material& m) { m.setName("STONE"); }, true},
        {"name", [](CN_Material& m) { m.setName("Stones"); }, false},
        {"scale", [](CN_Material& m) { m.setTiles(9, 9, true); }, true},
        {"frames", [&](CN_Material& m) { m.addDiffuseTexture(b); }, false},
        {"light texture", [&](CN_Material& m) { m.setLightTexture(b); }, false},
        {"detail texture that isn't shown", [&](CN_Material& m) { m.setDetailTexture(b); }, true},
        {"gloss texture that is", [&](CN_Material& m) { m.setGlossTexture(b); }, false},
        {"reflection texture that isn't", [&](CN_Material& m) { m.setReflectionTexture(b); }, true},
        {"blend type", [](CN_Material& m) { m.setBlendType(CN_Material::BLEND_ALPHA); }, false},
        {"frame rate", [](CN_Material& m) { m.setFramerate(2); }, false},
    };
    m_material.setName("Stone");
    m_material.addDiffuseTexture(a);
    m_material.setUsesGloss(true);
    for (const auto& each : cases) {
        CN_Material other;
        other.copyProperties(&m_material);
        EXPECT_TRUE(other == m_material);
        each.change(other);
        EXPECT_EQ(other == m_material, each.equal) << each.what;
    }
}

TEST_F(MaterialTest, AnIconShowsItsSourceWholeInFrontOfAChecker) {
    m_material.addDiffuseTexture(addTexture("wide.tga", 64, 16));
    const I_Image* icon = m_material.getThumbImage();
    ASSERT_TRUE(icon);
    const auto at = [&](int x, int y) { return icon->getPixels()[y * 64 + x]; };
    EXPECT_EQ(at(63, 15), I_Color(200, 100, 50));
    EXPECT_EQ(at(0, 16), I_Color(32, 32, 32));
    EXPECT_EQ(at(4, 16), I_Color(96, 96, 96));
    EXPECT_EQ(at(1, 23), I_Color(32, 32, 32));
    EXPECT_EQ(m_material.getAverageValue(), I_FColor(200, 100, 50)) << "of the source alone";
    EXPECT_EQ(m_material.getDIB()->width, 64);
    EXPECT_EQ(m_material.getListDIB()->width, 32);

    I_Image half(1, 1);
    half.accessPixels()[0] = I_Color(255, 0, 55, 51);
    m_material.setBlendType(CN_Material::BLEND_ALPHA);
    I_Image* out = nullptr;
    m_material.createIconImage(out, &half, 8, 8);
    EXPECT_EQ(out->getPixels()[0], I_Color(76, 25, 36, 214)) << "a fifth of it, the rest from the checker";
    delete out;
}

TEST_F(MaterialTest, OverlaysCoverAnIconAndStayOutOfItsMean) {
    const auto overlay = [](std::initializer_list<int> marks) {
        auto* image = new I_Image(4, 1);
        for (const int x : marks)
            image->accessPixels()[x] = I_Color(255, 255, 255);
        image->accessPixels()[3] = I_Color(255, 255, 255, 254); // no mark
        return image;
    };
    m_list.setCrossHairImage(overlay({0}));
    m_list.setAnimationImage(overlay({1}));
    m_material.addDiffuseTexture(addTexture("a.tga"));
    const auto row = [&] {
        std::string marks;
        for (int x = 0; x < 4; ++x)
            marks += m_material.getListImage()->getPixels()[x] == I_Color(255, 255, 255) ? '*' : '.';
        return marks;
    };
    EXPECT_EQ(row(), "....");
    m_material.setLocated(true);
    EXPECT_EQ(row(), "*...");
    m_material.setDiffuseTextures(CN_Material::TextureVector{m_list.get("a.tga"), nullptr});
    EXPECT_EQ(row(), "**..");
    EXPECT_EQ(m_material.getAverageValue(), I_FColor(200, 100, 50));
}

/// What the thumbnails are made of is reduced; the icons are those of the whole image.
TEST_F(MaterialTest, ThumbnailsAreTheIconsOfTheWholeImage) {
    const std::pair<int, int> sizes[] = {{1, 1},   {64, 64},  {65, 64},  {100, 37}, {3, 200},
                                         {63, 61}, {127, 93}, {1000, 7}, {7, 641},  {33, 32}};
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        test::Bytes file = test::makeTga(width, height, 0, 0, 0);
        for (std::size_t i = 18; i < file.size(); ++i)
            file[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
        CN_Texture* texture = addTexture("noise.tga", file);
        m_material.setDiffuseTextures(CN_Material::TextureVector{texture});
        const std::unique_ptr<I_Image> image(texture->getImage());
        for (const I_Image* icon : {m_material.getThumbImage(), m_material.getListImage()}) {
            ASSERT_TRUE(icon);
            I_Image* whole = nullptr;
            m_material.createIconImage(whole, image.get(), icon->getWidth(), icon->getHeight());
            const std::unique_ptr<I_Image> owned(whole);
            const auto pixels = static_cast<std::size_t>(icon->getWidth() * icon->getHeight());
            EXPECT_EQ(std::memcmp(whole->getPixels(), icon->getPixels(), pixels * sizeof(I_Color)), 0);
        }
    }
}

TEST_F(MaterialTest, WithoutAPictureThereIsNoThumbnail) {
    m_material.addDiffuseTexture(addTexture("broken.tga", test::Bytes{1, 2, 3}));
    for (const int frame : {0, 1, -1}) {
        m_material.setVisibleFrame(frame);
        m_material.createThumbnail();
        EXPECT_EQ(m_material.getTexture() != nullptr, frame == 0);
        EXPECT_EQ(m_material.getDIB(), nullptr);
    }
    EXPECT_EQ(m_material.getAverageValue(), I_FColor(0, 0, 0));
    m_material.setVisibleFrame(1);
    m_material.addDiffuseTexture(addTexture("cube.scx", test::makeScx(4, 4, 6), I_Image::SCX));
    ASSERT_TRUE(m_material.getThumbImage());
    EXPECT_EQ(m_material.getThumbImage()->getSurfaceHeader(), nullptr);
}

TEST_F(MaterialTest, FindsItsSurfaceMaterialByName) {
    m_material.setName("ICE");
    EXPECT_EQ(m_material.getY_SharedDBSurfaceMaterial(), nullptr) << "no database";
    static CString path;
    path = CString((std::filesystem::path(testing::TempDir()) / "cairn_surfaces.db").string());
    Y_SharedDBWriter::create(toString(path));
    {
        Y_SharedDBWriter writer(toString(path));
        writer.add(Y_SharedDBKind::SURFACE_MATERIAL, "Ice", {});
        writer.commit();
    }
    CN_LevelFileLibrary::setSharedDBPathCallback([]() -> CString& { return path; });
    CN_SharedDB::createInstance();
    const Y_SharedDBSurfaceMaterial* surface = m_material.getY_SharedDBSurfaceMaterial();
    EXPECT_TRUE(surface && surface->getName() == "Ice");
    m_material.setName("Fire");
    EXPECT_EQ(m_material.getY_SharedDBSurfaceMaterial(), nullptr);
    CN_SharedDB::deleteInstance();
    CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
    std::filesystem::remove(path.str());
}

} // namespace
} // namespace cairn
