#pragma once

#include "cairn/containers/name_index.h"
#include "cairn/foundation/strings.h"
#include "cairn/materials/mat_iterator.h"
#include "cairn/platform/image_list.h"

#include <list>
#include <memory>

namespace cairn {

class CN_Material;
class CN_MaterialWrapper;
class CN_NumberedNames;
class CN_TextureList;
class F_MemoryFile;

/// Version of the chunk with a category's own fields.
inline constexpr int CAIRN_MATERIALS_CATEGORY_VERSION = 1;

/// A named group of materials, which it owns, with the icons that a host shows them by.
///
/// Materials are found by name in constant time whatever their number: an index of the names is made when one is first
/// asked for, and follows the materials' names.
class CN_MaterialsCategory {
  public:
    using MaterialList = std::list<CN_Material*>;

    CN_MaterialsCategory();
    /// Deletes the materials.
    ~CN_MaterialsCategory();
    CN_MaterialsCategory(const CN_MaterialsCategory&) = delete;
    CN_MaterialsCategory& operator=(const CN_MaterialsCategory&) = delete;

    /// Makes the object ready for use, empty and without a name; one that is in use is destructed first.
    void construct();
    void construct(const char* name, CN_TextureList* list);
    /// Deletes the materials, which releases their textures, and takes the object out of use; one that is not in use
    /// stays as it is.
    void destruct();
    bool isConstructed() const { return m_constructed; }

    /// @name Record
    /// @{
    /// Writes the number and the name in a chunk, then the materials.
    void save(F_MemoryFile& file) const;
    /// Writes the category as if it held these materials.
    void save(F_MemoryFile& file, const MaterialList& materials) const;
    /// Replaces name and materials by what `save` wrote. Throws where a record is damaged.
    void load(F_MemoryFile& file);
    /// Deletes the materials and reads the name and the number of the materials that follow.
    void loadCategoryProperties(F_MemoryFile& file, unsigned int& count);
    /// Reads a material, appends it and enters it into the image lists. Null, and the material gone, where it cannot be
    /// used.
    CN_Material* loadMaterial(F_MemoryFile& file);
    /// @}

    const CString& name() const { return m_name; }
    /// The name to be changed. Look-ups in the wrapper are right again from its next one on after the call: fetch the
    /// name anew for each change.
    CString& editName();
    /// Null counts as empty.
    void setName(const char* name);
    CN_TextureList* getTextureList() const { return m_list; }
    /// Where the textures of materials made from now on come from; not owned.
    void setList(CN_TextureList* list) { m_list = list; }

    /// @name Materials
    /// @{
    const MaterialList& getMaterials() const { return m_materials; }
    /// The list to be changed, of materials that are owned. The index of names is made anew at the next look-up: fetch
    /// the list anew for each change.
    MaterialList& accessList();
    CN_MatIterator createMaterialIterator() { return CN_MatIterator(m_materials); }
    bool hasMaterials() const { return !m_materials.empty(); }
    int numMaterials() const { return static_cast<int>(m_materials.size()); }
    /// Null where there is none.
    CN_Material* getFirstMaterial() const { return m_materials.empty() ? nullptr : m_materials.front(); }
    /// The first material of that name without regard to case, or null. Constant time.
    CN_Material* get(const char* name) const { return find(name ? name : ""); }
    /// Appends the material, which becomes owned; without one a new one with the default scale `scale`. Where
    /// `textureName` is not empty the material gets that texture of the list as diffuse texture, takes its name, made
    /// unique, and enters the image lists. Gives the material.
    CN_Material* add(int scale, const char* textureName, CN_Material* material);
    /// Takes the material out of its category and appends it here under a unique name, with its icons; nothing where it
    /// is here already. The image lists of the old category stay as they are.
    void moveMaterial(CN_Material* material);
    /// Takes the material of that name out and deletes it. Throws an `F_Exception*`, and nothing is changed, where there
    /// is none. No polygon may still have the material.
    void remove(const char* name);
    /// Takes the material out and with `deleteIt` deletes it. Nothing where it is not here.
    void remove(CN_Material* material, bool deleteIt);
    /// Gives the material a name that no other material of the category has: its own, else the first free one of
    /// "[1]name", "[2]name", ... With `mergeIdentical` a material that equals the one that holds a name leaves its
    /// category, whichever it is, and is deleted, and the other given back; each name that is held is compared then, while without it the free one is found at once.
    CN_Material* setUniqueName(CN_Material* material, bool mergeIdentical);
    /// @}

    /// @name Icons
    /// @{
    /// Appends the material's icons to the image lists, which are made where there are none.
    void addToImageLists(CN_Material* material);
    /// Makes both image lists anew, with `rebuildThumbnails` from new thumbnails.
    void refreshImageLists(bool rebuildThumbnails);
    /// The icons of 32 by 32 pixels, by the materials' image indices.
    const CImageList& getListImgList() const { return m_listImgList; }
    /// The icons of 64 by 64 pixels.
    const CImageList& getThumbImgList() const { return m_thumbImgList; }
    /// @}

  private:
    friend class CN_Material;
    friend class CN_MaterialWrapper;
    /// A place in the list, as the index of names keeps it.
    struct Place {
        MaterialList::const_iterator at = {};
        bool operator==(const Place& other) const { return at == other.at; }
    };

    void takeFrom(CN_MaterialsCategory& other);
    void append(CN_Material* material);
    bool takeOut(CN_Material* material);
    CN_Material* find(std::string_view name) const;
    bool holds(const CN_Material* material) const;
    CN_Material* findOther(std::string_view name, const CN_Material* material) const;
    CN_Material* mergeOrName(CN_Material* material);
    string makeUniqueName(const CString& name) const;
    void deleteMaterials();
    void indexNames() const;
    void dropIndex();
    void enterName(CN_Material* material, MaterialList::const_iterator at) const;
    void renamed(CN_Material& material, std::string_view oldName);
    void createImageLists();
    void reportRepair(const string& text) const;

    CString m_name;
    CN_TextureList* m_list = nullptr;        ///< not owned: where textures come from
    MaterialList m_materials;                ///< owned
    CImageList m_listImgList;                ///< 32 by 32
    CImageList m_thumbImgList;               ///< 64 by 64
    bool m_constructed = true;               ///< in use
    CN_MaterialWrapper* m_wrapper = nullptr; ///< not owned: the one that holds this

    mutable F_NameIndex<Place> m_index;                  ///< of the names, in list order
    mutable std::unique_ptr<CN_NumberedNames> m_numbers; ///< of the names; null until one must be made unique
    mutable bool m_indexed = false;                      ///< the index stands
};

} // namespace cairn
