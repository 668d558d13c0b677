#include "cairn/materials/materials_category.h"

#include "cairn/document/load_report.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "cairn/materials/numbered_names.h"

namespace cairn {

namespace {

constexpr unsigned IMAGE_LIST_FLAGS = ILC_COLOR32 | ILC_MASK;
constexpr int IMAGE_LIST_INITIAL = 0, IMAGE_LIST_GROW = 4;

void createImageList(CImageList& list, int size) {
    if (!list.isCreated())
        list.Create(size, size, IMAGE_LIST_FLAGS, IMAGE_LIST_INITIAL, IMAGE_LIST_GROW);
}

} // namespace

CN_MaterialsCategory::CN_MaterialsCategory() = default;

CN_MaterialsCategory::~CN_MaterialsCategory() { destruct(); }

void CN_MaterialsCategory::construct() { construct("", nullptr); }

void CN_MaterialsCategory::construct(const char* name, CN_TextureList* list) {
    destruct();
    setName(name);
    m_list = list;
    m_constructed = true;
}

void CN_MaterialsCategory::destruct() {
    if (!m_constructed)
        return;
    deleteMaterials();
    setName("");
    m_list = nullptr;
    m_constructed = false;
}

CString& CN_MaterialsCategory::editName() {
    if (m_wrapper)
        m_wrapper->forgetNames();
    return m_name;
}

void CN_MaterialsCategory::setName(const char* name) { editName() = CString(name); }

// Materials.

void CN_MaterialsCategory::append(CN_Material* material) {
    const auto at = m_materials.insert(m_materials.end(), material);
    try {
        if (m_indexed)
            enterName(material, at);
    } catch (...) {
        m_materials.erase(at);
        material->m_indexedBy = nullptr;
        dropIndex();
        throw;
    }
    material->m_parent = this;
}

/// False where the material is none of this category.
bool CN_MaterialsCategory::takeOut(CN_Material* material) {
    if (!holds(material))
        return false;
    m_index.erase(material->m_name.view(), Place{material->m_place});
    if (m_numbers)
        m_numbers->remove(material->m_name.view());
    m_materials.erase(material->m_place);
    material->m_indexedBy = nullptr;
    material->m_parent = nullptr;
    return true;
}

void CN_MaterialsCategory::deleteMaterials() {
    dropIndex();
    m_listImgList.DeleteImageList();
    m_thumbImgList.DeleteImageList();
    while (!m_materials.empty()) {
        const std::unique_ptr<CN_Material> material(m_materials.front());
        m_materials.pop_front();
    }
}

/// Takes over the materials of another category, which keep their addresses and get their textures from the list of
/// this one, if it has one, from now on.
void CN_MaterialsCategory::takeFrom(CN_MaterialsCategory& other) {
    dropIndex();
    other.dropIndex();
    for (CN_Material* material : other.m_materials) {
        material->m_parent = this;
        if (m_list)
            material->m_list = m_list;
    }
    m_materials.splice(m_materials.end(), other.m_materials);
    other.refreshImageLists(false);
    refreshImageLists(false);
}

CN_Material* CN_MaterialsCategory::add(int scale, const char* textureName, CN_Material* material) {
    std::unique_ptr<CN_Material> made;
    if (!material) {
        made = std::make_unique<CN_Material>();
        material = made.get();
        material->m_list = m_list;
        material->m_defaultScale = scale;
    }
    if (textureName && *textureName) {
        material->addDiffuseTexture(textureName);
        material->setName(textureName);
        setUniqueName(material, false);
        addToImageLists(material);
    }
    if (holds(material))
        return material;
    if (material->m_parent)
        material->m_parent->takeOut(material);
    append(material);
    made.release();
    return material;
}

void CN_MaterialsCategory::moveMaterial(CN_Material* material) {
    if (holds(material))
        return;
    setUniqueName(material, false);
    if (material->m_parent)
        material->m_parent->takeOut(material);
    append(material);
    addToImageLists(material);
}

void CN_MaterialsCategory::remove(const char* name) {
    CN_Material* const material = get(name);
    if (!material)
        throw new F_Exception(
            formatText("Material %s not found in material list %s!", name ? name : "", m_name.GetString()));
    remove(material, true);
}

void CN_MaterialsCategory::remove(CN_Material* material, bool deleteIt) {
    if (material && takeOut(material) && deleteIt)
        delete material;
}

CN_Material* CN_MaterialsCategory::setUniqueName(CN_Material* material, bool mergeIdentical) {
    if (mergeIdentical)
        return mergeOrName(material);
    if (findOther(material->m_name.view(), material))
        material->setName(toCString(makeUniqueName(material->m_name)));
    return material;
}

/// Goes through the names one by one: equal materials have equal names, so each that holds one is compared under it.
CN_Material* CN_MaterialsCategory::mergeOrName(CN_Material* material) {
    const CString base = material->m_name;
    for (int number = 1;; ++number) {
        CN_Material* const holder = findOther(material->m_name.view(), material);
        if (!holder)
            return material;
        if (*material == *holder) {
            if (!takeOut(material) && material->m_parent)
                material->m_parent->takeOut(material);
            delete material;
            return holder;
        }
        material->setName(CString(formatText("[%d]", number)) + base);
    }
}

string CN_MaterialsCategory::makeUniqueName(const CString& name) const {
    if (!m_numbers) {
        m_numbers = std::make_unique<CN_NumberedNames>();
        for (const CN_Material* material : m_materials)
            m_numbers->add(material->m_name.view());
    }
    return m_numbers->firstFree(name.view());
}

// Look-ups. While the index stands each material knows its place in it, and tells when its name changes.

CN_MaterialsCategory::MaterialList& CN_MaterialsCategory::accessList() {
    dropIndex();
    return m_materials;
}

CN_Material* CN_MaterialsCategory::find(std::string_view name) const {
    indexNames();
    const Place* found = m_index.find(name);
    return found ? *found->at : nullptr;
}

/// The first material of that name but the given one.
CN_Material* CN_MaterialsCategory::findOther(std::string_view name, const CN_Material* material) const {
    const Place* found = holds(material) ? m_index.findOther(name, Place{material->m_place}) : m_index.find(name);
    return found ? *found->at : nullptr;
}

bool CN_MaterialsCategory::holds(const CN_Material* material) const {
    indexNames();
    return material->m_indexedBy == this;
}

void CN_MaterialsCategory::indexNames() const {
    if (m_indexed)
        return;
    m_index.clear();
    for (auto at = m_materials.begin(); at != m_materials.end(); ++at)
        enterName(*at, at);
    m_indexed = true;
}

void CN_MaterialsCategory::enterName(CN_Material* material, MaterialList::const_iterator at) const {
    material->m_indexedBy = const_cast<CN_MaterialsCategory*>(this);
    material->m_place = at;
    m_index.insert(material->m_name.view(), Place{at});
    if (m_numbers)
        m_numbers->add(material->m_name.view());
}

void CN_MaterialsCategory::dropIndex() {
    if (!m_indexed)
        return;
    for (CN_Material* material : m_materials)
        material->m_indexedBy = nullptr;
    m_index.clear();
    m_numbers.reset();
    m_indexed = false;
}

void CN_MaterialsCategory::renamed(CN_Material& material, std::string_view oldName) {
    m_index.rename(oldName, material.m_name.view(), Place{material.m_place});
    if (!m_numbers)
        return;
    m_numbers->remove(oldName);
    m_numbers->add(material.m_name.view());
}

// Icons.

void CN_MaterialsCategory::addToImageLists(CN_Material* material) {
    createImageLists();
    m_thumbImgList.addShared(material->shareDIB(), material->getDIB());
    material->m_imgIndex = m_listImgList.addShared(material->shareListDIB(), material->getListDIB());
}

void CN_MaterialsCategory::refreshImageLists(bool rebuildThumbnails) {
    m_listImgList.DeleteImageList();
    m_thumbImgList.DeleteImageList();
    createImageLists();
    for (CN_Material* material : m_materials) {
        if (rebuildThumbnails)
            material->createThumbnail();
        addToImageLists(material);
    }
}

void CN_MaterialsCategory::createImageLists() {
    createImageList(m_listImgList, CN_Material::LIST_ICON_SIZE);
    createImageList(m_thumbImgList, CN_Material::THUMB_SIZE);
}

// Version 1: number of materials, name. The materials follow, outside the chunk.

void CN_MaterialsCategory::save(F_MemoryFile& file) const { save(file, m_materials); }

void CN_MaterialsCategory::save(F_MemoryFile& file, const MaterialList& materials) const {
    file.createChunk(0, CAIRN_MATERIALS_CATEGORY_VERSION);
    file.writeCount(materials.size());
    file << m_name;
    file.closeChunk();
    for (const CN_Material* material : materials)
        material->save(file);
}

void CN_MaterialsCategory::load(F_MemoryFile& file) {
    unsigned int count = 0;
    loadCategoryProperties(file, count);
    for (; count > 0; --count)
        loadMaterial(file);
}

void CN_MaterialsCategory::loadCategoryProperties(F_MemoryFile& file, unsigned int& count) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    in >> count;
    deleteMaterials();
    in >> editName();
    file.skipChunk();
}

CN_Material* CN_MaterialsCategory::loadMaterial(F_MemoryFile& file) {
    auto material = std::make_unique<CN_Material>();
    material->setList(m_list);
    material->setParent(this);
    if (!material->load(file))
        return nullptr;
    append(material.get());
    CN_Material* const loaded = material.release();
    addToImageLists(loaded);
    return loaded;
}

void CN_MaterialsCategory::reportRepair(const string& text) const {
    if (CN_LoadReport* report = m_wrapper ? m_wrapper->getLoadReport() : nullptr)
        report->add("repaired", nullptr, -1, text);
}

} // namespace cairn
