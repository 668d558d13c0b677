#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/containers/name_index.h"
#include "cairn/materials/materials_category.h"

namespace cairn {

class CN_LoadReport;

/// Holds the materials of a document in categories, which are sorted by name without regard to case.
///
/// Look-ups take constant time whatever the number of categories and materials.
class CN_MaterialWrapper {
  public:
    using CategoryList = F_DLListInit<CN_MaterialsCategory>;

    CN_MaterialWrapper() = default;
    ~CN_MaterialWrapper();
    CN_MaterialWrapper(const CN_MaterialWrapper&) = delete;
    CN_MaterialWrapper& operator=(const CN_MaterialWrapper&) = delete;

    /// Makes the object ready for use, without categories; one that is in use is destructed first.
    void construct();
    /// Drops the categories with their materials and takes the object out of use; one that is not in use stays as it
    /// is. It must run before the texture list's, which the materials refer to.
    void destruct();
    bool isConstructed() const { return m_constructed; }
    /// The list that the materials' textures come from, not owned.
    void setList(CN_TextureList* list) { m_list = list; }
    CN_TextureList* getList() const { return m_list; }

    /// @name Categories
    /// @{
    const CategoryList& getCategories() const { return m_categories; }
    /// The categories to be changed; look-ups know what was added or removed from the next call of this on.
    CategoryList& accessCategories();
    /// A new category, in front of the first whose name is not less: of one name the newest stands first. Takes a walk
    /// over the categories.
    CN_MaterialsCategory* addCategory(CN_TextureList* list, const CString& name);
    /// The category of the same name where there is one, and `category` stays as it is; else a category with the name
    /// and the materials of `category`, which is left empty. `category` stays the caller's.
    CN_MaterialsCategory* addCategory(CN_MaterialsCategory* category, CN_TextureList* list);
    /// The first category of that name without regard to case, or null.
    CN_MaterialsCategory* find(const CString& category) const;
    bool listExists(const CString& category) const { return find(category) != nullptr; }
    /// Makes the image lists of all categories anew, with `rebuildThumbnails` from new thumbnails.
    void refreshImageLists(bool rebuildThumbnails);
    /// @}

    /// The material in the first category of that name, or null; without regard to case.
    CN_Material* find(const CString& category, const CString& material) const;
    /// The material that a surface without one of its own gets: the first of the category "Default"; null where there
    /// is none.
    CN_Material* getDefaultMaterial() const;
    /// How many materials all categories hold together.
    int numMaterials() const;

    /// Throws an `F_Exception*` that names it where a material has an empty frame, or one of a texture without a name: a
    /// load would drop it.
    void checkSavable() const;
    /// The number of categories and the categories, without a chunk about them.
    void save(F_MemoryFile& file) const;
    /// Replaces the categories by what `save` wrote, sorted by name. A material that cannot be used is dropped. Textures
    /// of the list that lose their last reference on the way leave it when all is read: a dropped material takes none
    /// from a later one. Throws where a record is damaged.
    void load(F_MemoryFile& file);
    /// Where a load tells what it changed or dropped; not owned, null for nowhere.
    void setLoadReport(CN_LoadReport* report) { m_loadReport = report; }
    CN_LoadReport* getLoadReport() const { return m_loadReport; }

  private:
    friend class CN_MaterialsCategory;
    void forgetNames() { m_indexed = false; }
    void indexNames() const;
    CN_MaterialsCategory& insert(const CString& name);
    void sortCategories();

    CategoryList m_categories;
    CN_TextureList* m_list = nullptr;      ///< not owned: where textures come from
    bool m_constructed = true;             ///< in use
    CN_LoadReport* m_loadReport = nullptr; ///< not owned

    mutable F_NameIndex<CN_MaterialsCategory*> m_index; ///< of the names, in list order
    mutable bool m_indexed = false;                     ///< the index stands
};

inline F_MemoryFile& operator<<(F_MemoryFile& file, const CN_MaterialWrapper& materials) {
    materials.save(file);
    return file;
}
inline F_MemoryFile& operator>>(F_MemoryFile& file, CN_MaterialWrapper& materials) {
    materials.load(file);
    return file;
}

} // namespace cairn
