#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/containers/name_index.h"
#include "cairn/materials/texture.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

namespace cairn {

class CN_LoadReport;
class CN_NumberedNames;
class F_MemoryFile;

/// Version of the chunk that holds a list of textures.
inline constexpr int CAIRN_TEXTURE_LIST_VERSION = 1;

/// Holds every texture that a document knows, in the order in which they came, and finds them by name without regard to
/// case; of several of one name the first in the order. Look-ups, additions and removals take constant time.
class CN_TextureList {
  public:
    class DeferredRemoval;

    CN_TextureList();
    CN_TextureList(const CN_TextureList&) = delete;
    CN_TextureList& operator=(const CN_TextureList&) = delete;
    ~CN_TextureList();

    /// Makes the list ready for use and empty.
    void construct();
    /// Empties the list, deletes the overlay images and takes the list out of use; one that is not constructed stays as
    /// it is. No material may refer to a texture any more.
    void destruct();
    bool isConstructed() const { return m_constructed; }

    /// The textures in their order. They keep their addresses; which ones there are, and in what order, changes through
    /// this class only.
    F_DLListInit<CN_Texture>& list() { return m_list; }
    const F_DLListInit<CN_Texture>& list() const { return m_list; }

    /// The overlay that marks a located material's icon; null for none. The list owns it.
    const I_Image* getCrossHairImage() const { return m_crossHairImage.get(); }
    void setCrossHairImage(I_Image* image) { m_crossHairImage.reset(image); }
    /// The overlay that marks an animated material's icon; null for none. The list owns it.
    const I_Image* getAnimationImage() const { return m_animationImage.get(); }
    void setAnimationImage(I_Image* image) { m_animationImage.reset(image); }

    /// A new texture without name and source, at the tail.
    CN_Texture* addNew();
    /// Sees that a texture of this file is there: one of that name, which is read again only with `reload`, or a new one
    /// at the tail. False where the file cannot be loaded (see `CN_Texture::load`); no new texture is left then. A
    /// texture that is there and need not be read again costs no look at the disk.
    bool add(const char* fileName, bool reload);
    /// A copy of the texture at the tail, without its references, unless one of that name is there.
    void add(const CN_Texture* other);
    /// The first texture of this name, without regard to case; null where there is none.
    CN_Texture* get(const char* name) { return find(name ? name : ""); }
    const CN_Texture* get(const char* name) const { return find(name ? name : ""); }
    CN_Texture* get(const CString& name) { return find(name.view()); }
    const CN_Texture* get(const CString& name) const { return find(name.view()); }
    /// Takes the texture, which must be of this list, out and deletes it.
    void remove(CN_Texture* texture);
    /// Does so for `get(name)`. Throws where there is none.
    void remove(const char* name);
    void removeAll();
    /// Removes the texture unless a material refers to it; put off while a `DeferredRemoval` lives. A material calls it
    /// after it has dropped a reference.
    void removeUnreferenced(CN_Texture* texture);
    /// While another texture has its name, without regard to case, the texture, which need not be of this list, is
    /// called "[1]name", then "[2]name" and so on.
    void setUniqueName(CN_Texture* texture);

    /// Throws an `F_Exception*` that names it where a texture has no source: a load would drop it, and the materials
    /// that have it.
    void checkSavable() const;

    /// Width times height, summed over the list.
    std::int64_t totalTexels() const;
    /// Writes the list to the diagnostic log: a line with the count, then one for each texture.
    void dump() const;

    /// Where a load of the list tells what it dropped, named or could not decode; not owned, null for nowhere.
    void setLoadReport(CN_LoadReport* report) { m_loadReport = report; }
    CN_LoadReport* getLoadReport() const { return m_loadReport; }

  private:
    friend class CN_Texture;
    friend F_MemoryFile& operator>>(F_MemoryFile& file, CN_Texture& texture);
    friend F_MemoryFile& operator>>(F_MemoryFile& file, CN_TextureList& list);

    CN_Texture* find(std::string_view name) const { return findOther(name, nullptr); }
    CN_Texture* findOther(std::string_view name, const CN_Texture* texture) const;
    CN_Texture* findIndexed(std::string_view name, const CN_Texture* texture) const;
    CString makeName();
    const CN_NumberedNames& getNumbers();
    template <class Change> void changeNumbers(Change&& change) const;
    void nameWillChange(CN_Texture& texture);
    void leaveIndex(CN_Texture& texture);
    void makeRoomForNotIndexed();
    void addNotIndexed(CN_Texture& texture);
    void updateIndex() const;
    void rebuildIndex() const;
    void removeDeferred();
    bool loadTexture(F_MemoryFile& file, unsigned int number);
    void report(const char* code, string text) const;

    bool m_constructed = true;                 ///< in use
    F_DLListInit<CN_Texture> m_list;           ///< new ones at the tail
    std::unique_ptr<I_Image> m_crossHairImage; ///< null for none
    std::unique_ptr<I_Image> m_animationImage; ///< null for none
    CN_LoadReport* m_loadReport = nullptr;     ///< not owned

    // A removal allocates nothing: materials release their textures in their destructors.
    // A name may be changed behind the list (`editName`): a texture leaves the index then and comes back, under the name
    // it has by then, when the list is next asked.
    mutable F_NameIndex<CN_Texture*> m_index;            ///< not owned: textures of the list by name
    mutable std::vector<CN_Texture*> m_notIndexed;       ///< not owned: textures of the list that the index lacks
    mutable std::unique_ptr<CN_NumberedNames> m_numbers; ///< of the index; null until a name must be made unique
    mutable bool m_indexIsStale = false;                 ///< a name in the index is none of its texture's
    mutable int m_firstNoName = 0;                       ///< below it no number is free for `makeName`
    std::uint64_t m_nextStamp = 0;                       ///< place in the order of the next texture
    int m_deferrals = 0;                                 ///< living `DeferredRemoval`s
    bool m_hasDeferred = false;                          ///< some texture is to be removed when the last of them goes
};

/// Puts off, for its life, the removal of textures that fall to no references, so that who drops the last one and who
/// needs the texture a moment later do not depend on their order. At the end those that fell to 0 and stayed there are
/// removed; textures that nobody ever referred to stay. Several may be nested.
class CN_TextureList::DeferredRemoval {
  public:
    /// A null list defers nothing.
    explicit DeferredRemoval(CN_TextureList* list);
    ~DeferredRemoval();
    DeferredRemoval(const DeferredRemoval&) = delete;
    DeferredRemoval& operator=(const DeferredRemoval&) = delete;

  private:
    CN_TextureList* m_list; ///< not owned
};

/// Writes the list: a chunk that holds the number of textures and the textures in list order.
F_MemoryFile& operator<<(F_MemoryFile& file, const CN_TextureList& list);
/// Writes a subset of a list as such a list, in the order of the set. That is the order of the textures' addresses,
/// which is another one in another run: it suits what is read back by name, and a level file never holds it.
F_MemoryFile& operator<<(F_MemoryFile& file, const std::set<CN_Texture*>& textures);
/// Reads what `<<` wrote, behind the textures that are there. A texture that cannot be read is left out, and where no
/// texture can be found any more the rest is; the load report tells. Throws where the list's own chunk is damaged.
F_MemoryFile& operator>>(F_MemoryFile& file, CN_TextureList& list);

} // namespace cairn
