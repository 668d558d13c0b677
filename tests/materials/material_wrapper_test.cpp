#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

std::string namesOf(const CN_MaterialWrapper& wrapper) {
    std::string names;
    for (const CN_MaterialsCategory& category : wrapper.getCategories())
        names += (names.empty() ? "" : " ") + category.name().str();
    return names;
}

TEST(MaterialWrapper, KeepsItsCategoriesInTheOrderOfTheirNames) {
    CN_TextureList list;
    CN_MaterialWrapper wrapper;
    EXPECT_EQ(wrapper.getDefaultMaterial(), nullptr);
    CN_MaterialsCategory* b = wrapper.addCategory(&list, "b");
    wrapper.addCategory(&list, "C");
    wrapper.addCategory(&list, "A");
    CN_MaterialsCategory* newest = wrapper.addCategory(&list, "B");
    EXPECT_EQ(namesOf(wrapper), "A B b C");
    EXPECT_EQ(wrapper.find("b"), newest) << "the first in order";

    newest->setName("z");
    EXPECT_EQ(wrapper.find("B"), b);
    newest->editName() = "y";
    EXPECT_TRUE(wrapper.listExists("Y"));
    EXPECT_FALSE(wrapper.listExists("z"));
    wrapper.accessCategories().remove(b);
    EXPECT_FALSE(wrapper.listExists("b"));
}

TEST(MaterialWrapper, TakesOverTheMaterialsOfACategoryOfANewName) {
    CN_TextureList list;
    CN_MaterialWrapper wrapper;
    CN_MaterialsCategory own;
    own.construct("default", nullptr);
    CN_Material* material = own.add(0, "", nullptr);
    material->setName(CString(std::string("a\0b", 3)));
    CN_MaterialsCategory* added = wrapper.addCategory(&own, &list);
    EXPECT_EQ(wrapper.addCategory(&own, &list), added);
    EXPECT_FALSE(own.hasMaterials());
    EXPECT_EQ(material->getParent(), added);
    EXPECT_EQ(wrapper.getDefaultMaterial(), material);
    EXPECT_EQ(wrapper.find("DEFAULT", CString(std::string("A\0B", 3))), material);
    EXPECT_EQ(wrapper.find("DEFAULT", "a"), nullptr);
    EXPECT_EQ(wrapper.find("other", "a"), nullptr);
    EXPECT_EQ(wrapper.numMaterials(), 1);
    wrapper.addCategory(&list, "Default");
    EXPECT_EQ(wrapper.getDefaultMaterial(), nullptr) << "the first of that name has none";
    wrapper.construct();
    EXPECT_EQ(namesOf(wrapper), "");
}

} // namespace
} // namespace cairn
