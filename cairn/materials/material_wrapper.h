#pragma once

namespace cairn {

class CN_Material;
class CN_TextureList;
class F_MemoryFile;

/// Holds the materials of a document, in categories. It holds none yet: this version keeps the section of the level
/// file in its place and refuses a file that has materials.
class CN_MaterialWrapper {
  public:
    CN_MaterialWrapper() = default;
    CN_MaterialWrapper(const CN_MaterialWrapper&) = delete;
    CN_MaterialWrapper& operator=(const CN_MaterialWrapper&) = delete;

    /// Makes the object ready for use, without categories.
    void construct();
    /// Drops the categories and takes the object out of use; one that is not constructed stays as it is. It must run
    /// before the texture list's, which the materials refer to.
    void destruct();
    bool isConstructed() const { return m_constructed; }
    /// The list that the materials' textures come from, not owned.
    void setList(CN_TextureList* list) { m_list = list; }
    CN_TextureList* getList() const { return m_list; }
    /// The material that a surface without one of its own gets; null where there is none.
    CN_Material* getDefaultMaterial() const { return nullptr; }

    /// The number of categories and the categories, without a chunk about them.
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote. Throws where there is a category.
    void load(F_MemoryFile& file);

  private:
    CN_TextureList* m_list = nullptr; ///< not owned: where textures come from
    bool m_constructed = true;        ///< in use
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
