#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/old_materials.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>

namespace cairn {
namespace {

CN_Material* addNamed(CN_MaterialsCategory& category, const CString& name) {
    CN_Material* material = category.add(0, "", nullptr);
    material->setName(name);
    return material;
}

std::string namesOf(CN_MaterialsCategory& category) {
    std::string names;
    for (const CN_Material* material : category.createMaterialIterator())
        names += (names.empty() ? "" : " ") + material->name().str();
    return names;
}

class MaterialsCategoryTest : public testing::Test {
  protected:
    MaterialsCategoryTest() {
        F_MemoryFile file;
        test::writeTextures(file, {"a.tga", "b.tga"});
        file.toRead();
        file >> m_list;
        m_category.construct("Walls", &m_list);
    }

    test::ProcessStateGuard m_process;
    CN_TextureList m_list;
    CN_MaterialsCategory m_category;
};

TEST_F(MaterialsCategoryTest, MaterialsOfATextureTakeItsNameMadeUnique) {
    for (int i = 0; i < 3; ++i)
        m_category.add(1, "a.tga", nullptr);
    m_category.add(1, "A.TGA", new CN_Material);
    EXPECT_EQ(namesOf(m_category), "a.tga [1]a.tga [2]a.tga [3]A.TGA");
    const CN_Material* first = m_category.getFirstMaterial();
    double u = 0, v = 0;
    first->getTiles(u, v, true);
    EXPECT_EQ(u, 2);
    EXPECT_EQ(first->getParent(), &m_category);
    EXPECT_EQ(first->getImgIndex(), 0);
    EXPECT_EQ(m_category.getMaterials().back()->getImgIndex(), -1) << "it has no list to get a texture from";
    EXPECT_EQ(m_category.getListImgList().GetImageCount(), 3);
    EXPECT_EQ(m_list.get("a.tga")->getMaterialRefs(), 3);

    m_category.remove("[1]A.tga");
    EXPECT_EQ(m_category.add(1, "a.tga", nullptr)->name(), "[1]a.tga") << "it is free again";
    m_category.refreshImageLists(true);
    EXPECT_EQ(m_category.getMaterials().back()->getImgIndex(), 2);
    EXPECT_EQ(m_category.getThumbImgList().getWidth(), 64);
    m_category.destruct();
    EXPECT_EQ(m_list.get("a.tga"), nullptr);
}

TEST_F(MaterialsCategoryTest, MergesAMaterialWithOneThatIsEqualUnderANameOfIts) {
    CN_Material* first = addNamed(m_category, "x");
    first->setDoubleSided(true);
    CN_Material* second = addNamed(m_category, "[1]X");
    const auto unique = [&](bool adult) {
        auto* material = new CN_Material;
        material->setName("x");
        material->setAdultContent(adult);
        return m_category.setUniqueName(material, true);
    };
    EXPECT_EQ(unique(false), second) << "equal once it is called [1]x";
    const std::unique_ptr<CN_Material> other(unique(true));
    EXPECT_EQ(other->name(), "[2]x");
    EXPECT_EQ(m_category.setUniqueName(first, true), first) << "a name of its own";

    CN_MaterialsCategory owner;
    addNamed(owner, "[1]x");
    EXPECT_EQ(m_category.setUniqueName(owner.getFirstMaterial(), true), second);
    EXPECT_FALSE(owner.hasMaterials()) << "it left the category that owned it";
}

TEST_F(MaterialsCategoryTest, MovesMaterialsFromOneToAnother) {
    CN_MaterialsCategory floors;
    floors.construct("Floors", &m_list);
    addNamed(floors, "a.TGA");
    CN_Material* moved = m_category.add(1, "a.tga", nullptr);
    floors.moveMaterial(moved);
    floors.moveMaterial(moved);
    EXPECT_EQ(namesOf(floors), "a.TGA [1]a.tga");
    EXPECT_EQ(moved->getParent(), &floors);
    EXPECT_FALSE(m_category.hasMaterials());
    EXPECT_EQ(test::failureText([&] { m_category.remove("a.tga"); }),
              "Material a.tga not found in material list Walls!");
    floors.remove(static_cast<CN_Material*>(nullptr), true);
    floors.remove(moved, false);
    EXPECT_EQ(floors.numMaterials(), 1);
    const std::unique_ptr<CN_Material> alone(moved);
    EXPECT_EQ(alone->getTexture(), m_list.get("a.tga"));
}

/// Whatever happens to names and list, look-ups and unique names are those of a walk over the list.
TEST(MaterialsCategory, FindsWhatAWalkFinds) {
    rc::check([] {
        CN_MaterialsCategory category;
        const auto walk = [&](const CString& name, const CN_Material* except) -> CN_Material* {
            for (CN_Material* material : category.getMaterials())
                if (material != except && material->name().CompareNoCase(name) == 0)
                    return material;
            return nullptr;
        };
        const std::vector<std::string> names = {"a", "A", "b", "[1]a", "[2]A", "[02]a", "[1][1]a", "", "[3]"};
        for (const auto& [operation, pick, name] : *rc::gen::container<std::vector<std::tuple<int, int, std::string>>>(
                 rc::gen::tuple(rc::gen::inRange(0, 6), rc::gen::inRange(0, 100), rc::gen::elementOf(names)))) {
            CN_Material* material = nullptr;
            if (category.hasMaterials())
                material = *std::next(category.getMaterials().begin(), pick % category.numMaterials());
            if (!material || operation < 2) {
                addNamed(category, CString(name));
            } else if (operation == 2) {
                material->setName(CString(name));
            } else if (operation == 3) {
                category.remove(material, true);
            } else if (operation == 4) {
                category.accessList().reverse();
            } else {
                CString expected = material->name();
                for (int i = 1; walk(expected, material); ++i)
                    expected = CString(formatText("[%d]", i)) + material->name();
                RC_ASSERT(category.setUniqueName(material, false)->name() == expected);
            }
            for (const std::string& each : names)
                RC_ASSERT(category.get(each.c_str()) == walk(CString(each), nullptr));
        }
    });
}

} // namespace
} // namespace cairn
