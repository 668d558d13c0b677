#include "cairn/materials/material_wrapper.h"

#include "cairn/foundation/memory_file.h"
#include "cairn/materials/icon_sources.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"

#include <algorithm>
#include <vector>

namespace cairn {

namespace {

constexpr const char* DEFAULT_CATEGORY = "Default";

} // namespace

CN_MaterialWrapper::~CN_MaterialWrapper() { destruct(); }

void CN_MaterialWrapper::construct() {
    destruct();
    m_constructed = true;
}

void CN_MaterialWrapper::destruct() {
    if (!m_constructed)
        return;
    accessCategories().clear();
    m_list = nullptr;
    m_constructed = false;
}

CN_MaterialWrapper::CategoryList& CN_MaterialWrapper::accessCategories() {
    forgetNames();
    return m_categories;
}

CN_MaterialsCategory* CN_MaterialWrapper::addCategory(CN_TextureList* list, const CString& name) {
    CN_MaterialsCategory& category = insert(name);
    category.setList(list);
    return &category;
}

CN_MaterialsCategory* CN_MaterialWrapper::addCategory(CN_MaterialsCategory* category, CN_TextureList* list) {
    if (CN_MaterialsCategory* held = find(category->name()))
        return held;
    CN_MaterialsCategory* const added = addCategory(list, category->name());
    added->takeFrom(*category);
    return added;
}

/// A new category in its place among the others.
CN_MaterialsCategory& CN_MaterialWrapper::insert(const CString& name) {
    const CN_MaterialsCategory* place = m_categories.first();
    while (place && place->name().CompareNoCase(name) < 0)
        place = m_categories.next(place);
    CN_MaterialsCategory& category = place ? m_categories.emplaceBefore(place) : m_categories.emplace();
    category.m_name = name;
    forgetNames();
    return category;
}

CN_MaterialsCategory* CN_MaterialWrapper::find(const CString& category) const {
    indexNames();
    CN_MaterialsCategory* const* found = m_index.find(category.view());
    return found ? *found : nullptr;
}

CN_Material* CN_MaterialWrapper::find(const CString& category, const CString& material) const {
    const CN_MaterialsCategory* found = find(category);
    return found ? found->find(material.view()) : nullptr;
}

/// Makes the index where it is out of date. Every category knows from then on whom to tell of another name.
void CN_MaterialWrapper::indexNames() const {
    if (m_indexed)
        return;
    m_index.clear();
    for (const CN_MaterialsCategory& each : m_categories) {
        auto& category = const_cast<CN_MaterialsCategory&>(each);
        category.m_wrapper = const_cast<CN_MaterialWrapper*>(this);
        m_index.insert(category.name().view(), &category);
    }
    m_indexed = true;
}

CN_Material* CN_MaterialWrapper::getDefaultMaterial() const {
    const CN_MaterialsCategory* category = find(DEFAULT_CATEGORY);
    return category ? category->getFirstMaterial() : nullptr;
}

int CN_MaterialWrapper::numMaterials() const {
    int number = 0;
    for (const CN_MaterialsCategory& category : m_categories)
        number += category.numMaterials();
    return number;
}

void CN_MaterialWrapper::refreshImageLists(bool rebuildThumbnails) {
    const CN_IconSources sources;
    for (CN_MaterialsCategory& category : m_categories)
        category.refreshImageLists(rebuildThumbnails);
}

void CN_MaterialWrapper::checkSavable() const {
    const auto isNameless = [](const CN_Texture* texture) { return !texture || texture->name().IsEmpty(); };
    for (const CN_MaterialsCategory& category : m_categories)
        for (const CN_Material* material : category.getMaterials()) {
            const auto& frames = material->getDiffuseTextures();
            if (std::any_of(frames.begin(), frames.end(), isNameless))
                throw new F_Exception(
                    formatText("The material \"%s\" of the category \"%s\" cannot be saved: one of its "
                               "diffuse textures has no name",
                               material->name().GetString(), category.name().GetString()));
        }
}

// unsigned int count, then each category in list order.

void CN_MaterialWrapper::save(F_MemoryFile& file) const {
    file.writeCount(static_cast<std::size_t>(m_categories.count()));
    for (const CN_MaterialsCategory& category : m_categories)
        category.save(file);
}

void CN_MaterialWrapper::load(F_MemoryFile& file) {
    const CN_TextureList::DeferredRemoval deferredRemoval(m_list);
    const CN_IconSources sources;
    unsigned int count = 0;
    file >> count;
    accessCategories().clear();
    for (; count > 0; --count) {
        CN_MaterialsCategory& category = m_categories.emplace();
        category.m_wrapper = this;
        category.setList(m_list);
        category.load(file);
    }
    sortCategories();
}

/// By name without regard to case; of one name in the order in which they stood. Categories keep their addresses, which
/// their materials know.
void CN_MaterialWrapper::sortCategories() {
    std::vector<CN_MaterialsCategory*> sorted;
    for (CN_MaterialsCategory& category : m_categories)
        sorted.push_back(&category);
    std::stable_sort(sorted.begin(), sorted.end(), [](const CN_MaterialsCategory* a, const CN_MaterialsCategory* b) {
        return a->name().CompareNoCase(b->name()) < 0;
    });
    for (CN_MaterialsCategory* category : sorted)
        m_categories.moveToTail(category);
    forgetNames();
}

} // namespace cairn
