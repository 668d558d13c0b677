#pragma once

namespace cairn {

class F_MemoryFile;

/// Version of the chunk that holds a list of textures.
inline constexpr int CAIRN_TEXTURE_LIST_VERSION = 1;

/// Holds every texture that a document knows. It holds none yet: this version keeps the section of the level file in
/// its place and refuses a file that has textures.
class CN_TextureList {
  public:
    CN_TextureList() = default;
    CN_TextureList(const CN_TextureList&) = delete;
    CN_TextureList& operator=(const CN_TextureList&) = delete;

    /// Makes the list ready for use and empty.
    void construct();
    /// Empties the list and takes it out of use; a list that is not constructed stays as it is.
    void destruct();
    bool isConstructed() const { return m_constructed; }

  private:
    bool m_constructed = true; ///< in use
};

/// Writes the list: a chunk that holds the number of textures and the textures in list order.
F_MemoryFile& operator<<(F_MemoryFile& file, const CN_TextureList& list);
/// Reads what `<<` wrote. Throws where the chunk is damaged, and where it holds a texture.
F_MemoryFile& operator>>(F_MemoryFile& file, CN_TextureList& list);

} // namespace cairn
