#pragma once

#include "cairn/imaging/image.h"
#include "cairn/materials/render_texture.h"
#include "cairn/platform/string.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace cairn {

class CN_TextureList;
class F_MemoryFile;

/// Version of the chunk that holds a texture.
inline constexpr int CAIRN_TEXTURE_VERSION = 1;

/// One texture of a document: the complete bytes of the image file that it came from. They are decoded on demand, and a
/// decoded image is never kept.
class CN_Texture {
  public:
    CN_Texture();
    /// As `construct` with a file name.
    explicit CN_Texture(const char* fileName);
    CN_Texture(const CN_Texture&) = delete;
    CN_Texture& operator=(const CN_Texture&) = delete;
    ~CN_Texture();

    /// Makes the texture ready for use, without a source; the name stays.
    void construct();
    /// Takes the file's name for its own and loads it. Where the file cannot be taken the texture has the name and no
    /// source; what is thrown leaves it destructed.
    void construct(const char* fileName);
    /// Frees everything and puts every field but the name back to its start; a texture that is not constructed stays
    /// as it is.
    void destruct();
    bool isConstructed() const { return m_constructed; }

    /// Reads an image file and takes its bytes, its name as it is spelled here and its size. False where the name's
    /// ending tells no format and where the file cannot be read (only regular files up to `MAX_SOURCE_SIZE` are): the
    /// texture is as it was. Also false, after a message box, where the bytes do not decode: the texture has no source
    /// then, neither the old one nor the new one, and is 0 x 0.
    bool load(const char* fileName);

    /// The name, which is the name of the file that it came from.
    const CString& name() const { return m_name; }
    /// The name for writing. Write before the texture's list is next asked for anything: it learns the name then.
    CString& editName();
    void setName(const char* name) { editName() = name; }

    /// The size in texels; 0 where no source has been decoded.
    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    /// The list that the texture belongs to, not owned.
    CN_TextureList* getParent() { return m_parent; }
    const CN_TextureList* getParent() const { return m_parent; }
    void setParent(CN_TextureList* parent) { m_parent = parent; }
    /// The device's side, owned by the texture; null until a source has been decoded. A new source replaces it.
    CN_RenderTexture* getRenderTexture() const { return m_renderTexture.get(); }

    /// @name Source
    /// @{
    /// No image file that is decoded is larger: 4 bytes a pixel, a third more for smaller copies, and room for headers.
    static constexpr int MAX_SOURCE_SIZE = static_cast<int>(6 * I_Image::MAX_PIXELS);

    /// The bytes of the image file, valid until the source changes; null without.
    const void* getSource() const { return m_source; }
    int getSourceSize() const { return m_sourceSize; }
    I_Image::Format getSourceFormat() const { return m_sourceFormat; }
    /// True for bytes in a format that can be decoded.
    bool hasSource() const { return m_source && m_sourceFormat != I_Image::UNSUPPORTED; }
    void setSourceFormat(I_Image::Format format) { m_sourceFormat = format; }
    /// Takes over `size` bytes that came from `new unsigned char[]`, whose format was set before, and decodes them for
    /// the size. Bytes that are set while the format is `UNSUPPORTED` stay the caller's. Without `freeOld` the old bytes
    /// go to the caller, who has their address from `getSource`. Null is no source, and the size in texels stays. What does
    /// not decode throws an `I_ImageException*`: the texture has the bytes then, and is 0 x 0. Throws for a negative
    /// size, and nothing has changed.
    void setSource(void* data, int size, bool freeOld);
    /// A freshly decoded image, the caller's. Throws an `I_ImageException*` where the source does not decode or is
    /// none. Costs a decode each time.
    I_Image* getImage() const;
    /// True where the image is a cube map.
    bool isCube() const { return m_isCube; }
    /// @}

    /// True while a material refers to it.
    bool isReferenced() const { return m_materialRefs > 0; }
    /// The references that materials hold.
    int getMaterialRefs() const { return m_materialRefs; }
    /// The size in units of `scale` texels each, which must not be 0.
    void getDefaultScale(double& u, double& v, int scale) const;
    /// Equal names with case, size, format and source bytes.
    bool operator==(const CN_Texture& other) const;
    /// Does nothing; hosts call it where a texture comes to use.
    void use(I_Image*, const char*) {}

  protected:
    friend class CN_Material;

    void addMaterialRef() { ++m_materialRefs; }
    /// Drops a reference, if there is one. It is the material that then hands a texture without any to
    /// `CN_TextureList::removeUnreferenced`.
    void removeMaterialRef() { m_materialRefs -= m_materialRefs > 0 ? 1 : 0; }

  private:
    friend class CN_TextureList;
    friend F_MemoryFile& operator>>(F_MemoryFile& file, CN_Texture& texture);

    void takeSource(std::unique_ptr<unsigned char[]> bytes, int size);
    void takeImage(const I_Image& image);
    void forgetImage();
    void createRenderTexture(const I_Image& image);

    bool m_constructed = true;                         ///< in use
    CString m_name;                                    ///< also the file name that it was read from
    std::unique_ptr<CN_RenderTexture> m_renderTexture; ///< null until a source is decoded
    CN_TextureList* m_parent = nullptr;                ///< not owned: set by the list
    int m_materialRefs = 0;                            ///< references held by materials
    int m_width = 0;                                   ///< in texels, of the decoded image
    int m_height = 0;                                  ///< in texels, of the decoded image
    I_Image::Format m_sourceFormat = I_Image::UNSUPPORTED;
    void* m_source = nullptr;                       ///< bytes of the image file
    int m_sourceSize = 0;                           ///< their number
    bool m_isCube = false;                          ///< the image is a cube map
    std::unique_ptr<unsigned char[]> m_ownedSource; ///< holds `m_source`, unless that is a caller's

    CN_TextureList* m_holder = nullptr; ///< not owned: the list whose node this is, null for a texture by itself
    std::uint64_t m_stamp = 0;          ///< place in the holder's order
    std::size_t m_notIndexedAt = 0;     ///< where the holder keeps it among those that its index lacks
    bool m_isToBeRemoved = false;       ///< fell to no references while the holder puts removals off
};

/// Writes the texture: a chunk with format, size of the source, name, source.
F_MemoryFile& operator<<(F_MemoryFile& file, const CN_Texture& texture);
/// Reads what `<<` wrote. Without a name, after a message box ("Problems loading texture; trying to continue.\nTake this
/// file to Pim."), it gets the first of "NONAME00", "NONAME01", ... that its parent does not hold. A source that does not decode stays, after a message box, with the size 0. Throws where the
/// chunk is damaged and where it has no source; the position stands at the chunk then.
F_MemoryFile& operator>>(F_MemoryFile& file, CN_Texture& texture);

} // namespace cairn
