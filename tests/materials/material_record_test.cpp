#include "cairn/document/level_file.h"
#include "cairn/foundation/file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/image_files.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_materials.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace cairn {
namespace {

using test::Bytes;
using test::OldMaterial;

/// Textures and materials without the level around them.
class MaterialRecordTest : public testing::Test {
  protected:
    MaterialRecordTest() {
        m_textures.setLoadReport(&m_report);
        m_wrapper.setLoadReport(&m_report);
        m_wrapper.setList(&m_textures);
    }
    void loadTextures(const std::vector<std::string>& names) {
        F_MemoryFile file;
        test::writeTextures(file, names);
        file.toRead();
        file >> m_textures;
    }
    /// Loads one category with these materials and gives their names.
    std::string load(int version, const std::vector<OldMaterial>& materials) {
        F_MemoryFile file;
        file << 1u;
        test::writeOldCategory(file, "Old", materials.size());
        for (const OldMaterial& material : materials)
            test::writeOldMaterial(file, version, material);
        file.toRead();
        file >> m_wrapper;
        EXPECT_EQ(file.getRemaining(), 0u);
        std::string names;
        for (const CN_Material* material : m_wrapper.find("old")->getMaterials())
            names += (names.empty() ? "" : " ") + material->name().str();
        return names;
    }
    const CN_Material& only() { return *m_wrapper.find("old")->getFirstMaterial(); }
    std::string texts() const {
        std::string texts;
        for (const CN_LoadFinding& finding : m_report.getFindings())
            texts += std::string(finding.code) + ": " + std::string(finding.text) + "\n";
        return texts;
    }

    test::ProcessStateGuard m_process;
    CN_LoadReport m_report;
    CN_TextureList m_textures;
    CN_MaterialWrapper m_wrapper;
};

TEST(MaterialRecord, EveryStoredVersionLoadsToItsValues) {
    const test::ProcessStateGuard process;
    for (int version = 0; version <= CAIRN_MATERIAL_VERSION; ++version) {
        SCOPED_TRACE(version);
        CN_Document document;
        CN_LevelFile::load(document, test::storedRecordPath("material_" + std::to_string(version)).string());
        const CN_Material* material = document.getMaterials().find("OLD", "stone");
        ASSERT_TRUE(material);
        const auto nameOf = [](const CN_Texture* texture) { return texture ? texture->name().str() : ""; };
        double u = 0, v = 0;
        material->getTiles(u, v, true);
        EXPECT_EQ(std::pair(u, v), std::pair(2.0, 3.0));
        material->getTiles(u, v, false);
        EXPECT_EQ(std::pair(u, v), std::pair(4.0, 5.0));
        EXPECT_EQ(material->getDetailScale(), version > 2 ? 6 : 1);
        EXPECT_EQ(material->getDiffuseTextures().size(), version > 4 ? 2u : 1u);
        EXPECT_EQ(nameOf(material->getTexture()), version > 4 ? "wall2.tga" : "wall.tga");
        EXPECT_EQ(material->getVisibleFrame(), version > 4 ? 1 : 0);
        EXPECT_EQ(material->getFramerate(), version > 4 ? 12 : 1);
        EXPECT_EQ(nameOf(material->getLightTexture()), "lamp.tga");
        EXPECT_EQ(nameOf(material->getDetailTexture()), "grit.tga");
        EXPECT_EQ(nameOf(material->getReflectionTexture()), version > 3 ? "sky.tga" : "");
        EXPECT_EQ(nameOf(material->getGlossTexture()), version > 3 ? "G.tga" : "");
        EXPECT_EQ(material->getUsesReflection(), version > 3);
        EXPECT_EQ(material->getUsesGloss(), version > 3);
        EXPECT_EQ(material->getBlendType(), version == 0 ? 1 : version == 1 ? 3 : 4);
        EXPECT_EQ(material->getEdgeBlend(), version > 1);
        EXPECT_EQ(material->getAlphaTestValue(), 240u);
        EXPECT_TRUE(material->isDoubleSided() && material->getAdultContent());
        EXPECT_TRUE(material->isDiffuseScaled() && material->isLightScaled() && material->isDetailScaled());
        EXPECT_TRUE(material->getDIB());
        EXPECT_EQ(material->getImgIndex(), 0);
        EXPECT_EQ(document.getTextures().list().count(), 6) << "one that no material refers to stays";
    }
}

TEST_F(MaterialRecordTest, OldFlagsGiveTheBlendType) {
    loadTextures({"wall.tga"});
    const struct {
        bool first, second;
        int type;
    } cases[] = {{false, false, 0}, {true, false, 1}, {false, true, 3}, {true, true, 3}};
    for (const auto& each : cases) {
        load(1, {{.firstFlag = each.first, .alphaTestValue = 7, .secondFlag = each.second}});
        EXPECT_EQ(only().getBlendType(), each.type);
        EXPECT_EQ(only().getAlphaTestValue(), 7u);
    }
}

TEST_F(MaterialRecordTest, WhatCannotBeUsedIsDroppedAndTakesNoTextureFromLaterOnes) {
    loadTextures({"wall.tga", "lost.tga", "spare.tga", "lone.tga"});
    OldMaterial plain{.name = "Plain", .reflection = "", .gloss = ""};
    OldMaterial nameless = plain, unknown = plain, dark = plain, frames = plain;
    nameless.diffuse = {"wall.tga", "", "lone.tga"};
    unknown.diffuse = {"wall.tga", "lost.tga", "gone.tga"};
    dark.light = "gone.tga";
    dark.detail = "also.tga";
    frames.diffuse = {};
    frames.name = "Frames";
    EXPECT_EQ(load(5, {nameless, unknown, dark, plain, frames}), "Plain Frames");
    EXPECT_EQ(m_process.boxes(), (std::vector<test::ShownBox>{{"Invalid material found, ignoring...", 0x30}}));
    EXPECT_EQ(texts(), "repaired: The material \"Plain\" of the category \"Old\" was dropped: one of its diffuse "
                       "textures has no name\n"
                       "repaired: The material \"Plain\" of the category \"Old\" was dropped: the level lacks "
                       "\"gone.tga\"\n"
                       "repaired: The material \"Plain\" of the category \"Old\" was dropped: the level lacks "
                       "\"gone.tga\", \"also.tga\"\n");
    EXPECT_EQ(only().getTexture(), nullptr) << "no frame is at the visible one's place";
    EXPECT_EQ(m_textures.get("wall.tga")->getMaterialRefs(), 1);
    for (const char* name : {"lost.tga", "lone.tga"})
        EXPECT_EQ(m_textures.get(name), nullptr) << "its last reference is gone";
    EXPECT_TRUE(m_textures.get("spare.tga")) << "it never had one";
}

TEST_F(MaterialRecordTest, MaterialsThatLookAlikeShareTheirIcons) {
    loadTextures({"wall.tga", "sky.tga"});
    OldMaterial plain{.name = "m", .blendType = 0, .reflection = "", .gloss = ""}, alpha = plain, sky = plain;
    plain.visibleFrame = alpha.visibleFrame = sky.visibleFrame = 0;
    alpha.blendType = CN_Material::BLEND_ALPHA;
    sky.diffuse = {"sky.tga"};
    std::vector<OldMaterial> materials(2000, plain);
    materials.insert(materials.end(), {alpha, sky});
    {
        const test::AllocationMeter meter;
        load(5, materials);
        EXPECT_LT(meter.peak(), materials.size() * 4096);
    }
    std::vector<HBITMAP> bitmaps;
    for (const CN_Material* material : m_wrapper.find("old")->getMaterials()) {
        bitmaps.push_back(material->getDIB());
        ASSERT_TRUE(material->getListDIB());
        EXPECT_EQ(material->getAverageValue(), only().getAverageValue());
    }
    EXPECT_EQ(std::count(bitmaps.begin(), bitmaps.end(), bitmaps.front()), 2000);
    EXPECT_NE(bitmaps[2000], bitmaps[2001]);
    EXPECT_EQ(m_wrapper.find("old")->getThumbImgList().getIcon(1999), bitmaps.front());
}

TEST_F(MaterialRecordTest, ReflectionAndGlossAreReadFromTheirFiles) {
    const test::TemporaryFolder folder;
    const std::string sky = folder.path("sky.tga").string();
    F_File::replace(sky, test::makeTga(1, 1, 1, 2, 3));
    loadTextures({"wall.tga"});
    const OldMaterial good{.name = "Good", .reflection = sky, .gloss = sky};
    EXPECT_EQ(load(4, {good, {.name = "Bad", .reflection = "", .gloss = folder.path("no.tga").string()}}), "Good");
    EXPECT_EQ(m_textures.get(sky.c_str())->getMaterialRefs(), 2);
}

TEST_F(MaterialRecordTest, NumbersThatNothingCanBeDrawnWithAreRepaired) {
    loadTextures({"wall.tga"});
    OldMaterial odd{.reflection = "", .gloss = ""};
    odd.tiles[1] = std::numeric_limits<double>::infinity();
    odd.detailScale = std::numeric_limits<double>::quiet_NaN();
    odd.blendType = 5;
    load(5, {odd});
    double u = 0, v = 0;
    only().getTiles(u, v, true);
    EXPECT_EQ(std::pair(u, v), std::pair(2.0, 1.0));
    EXPECT_EQ(only().getDetailScale(), 1);
    EXPECT_EQ(only().getBlendType(), 0);
    EXPECT_EQ(texts(), "repaired: The material \"Stone\" of the category \"Old\" was changed: a scale was no finite "
                       "number and is 1; the blend type was none and is 0\n");
}

TEST_F(MaterialRecordTest, CategoriesAreSortedAndTheirMaterialsKnowThem) {
    loadTextures({"wall.tga"});
    F_MemoryFile file;
    file << 3u;
    for (const char* name : {"b", "A", "B"}) {
        test::writeOldCategory(file, name, 1);
        test::writeOldMaterial(file, 3, {.name = name});
    }
    file.toRead();
    file >> m_wrapper;
    std::string names;
    for (const CN_MaterialsCategory& category : m_wrapper.getCategories()) {
        names += category.name().str();
        EXPECT_EQ(category.getFirstMaterial()->getParent(), &category);
    }
    EXPECT_EQ(names, "AbB");

    F_MemoryFile saved, again;
    saved << m_wrapper;
    again << m_wrapper;
    again.toRead();
    again >> m_wrapper;
    F_MemoryFile resaved;
    resaved << m_wrapper;
    EXPECT_EQ(test::bytesOf(resaved), test::bytesOf(saved));
    EXPECT_EQ(m_textures.get("wall.tga")->getMaterialRefs(), 3) << "it outlived the categories that were replaced";
}

TEST_F(MaterialRecordTest, AnyBytesAreMaterialsOrAnException) {
    F_MemoryFile file;
    test::writeTextures(file, {"w.tga"});
    file << 1u;
    test::writeOldCategory(file, "A", 1);
    test::writeOldMaterial(file, 5, {.name = "m", .diffuse = {"w.tga", "w.tga"}, .reflection = "W.tga", .gloss = ""});
    const auto result = test::driveHostileBytes(test::bytesOf(file), [](std::span<const unsigned char> bytes) {
        CN_TextureList textures;
        CN_MaterialWrapper materials;
        materials.setList(&textures);
        F_MemoryFile reading(bytes.data(), bytes.size(), false);
        reading >> textures >> materials;
        F_MemoryFile saved;
        saved << textures << materials;
    });
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.taken, 0u);
    EXPECT_GT(result.refused, 0u);
}

} // namespace
} // namespace cairn
