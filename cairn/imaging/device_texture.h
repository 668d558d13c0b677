#pragma once

#include "cairn/foundation/exception.h"
#include "cairn/imaging/color.h"

#include <string>
#include <vector>

namespace cairn {
class I_Image;
}

/// Textures as a graphics device would hold them. The device here is a headless one: it keeps copies of the pixels, and
/// refuses the sizes that a device refuses.
namespace cairn::V {

/// A size that the device does not take; the text is the reason.
class Exception_IllegalTextureSize : public F_Exception {
  public:
    using F_Exception::F_Exception;
    /// The reason.
    virtual std::string getText() const { return getErrorMessage(); }
};

/// The sides that the device takes: powers of two from 1 to this. Process-wide; a host sets its own device's limit.
/// Gives the limit before.
int setMaxTextureSize(int texels);
int getMaxTextureSize();

/// A texture on the device: one or six pictures of one size.
class Texture {
  public:
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;
    virtual ~Texture() = default;

    /// The size of a face in texels.
    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    int getFaceCount() const { return m_faceCount; }
    /// The texels, face after face, rows from the top.
    const std::vector<I_Color>& getTexels() const { return m_texels; }
    /// What the maker asked for: smaller copies for distance, and the bits a texel.
    bool hasMipLevels() const { return m_mipLevels; }
    int getDepth() const { return m_depth; }

  protected:
    /// Copies the first `faces` faces of the image. Throws an `Exception_IllegalTextureSize*` where the device does not
    /// take the image's size.
    Texture(const I_Image& image, int faces, bool mipLevels, int depth);

  private:
    int m_width = 0;
    int m_height = 0;
    int m_faceCount = 0;
    bool m_mipLevels = false;
    int m_depth = 0;
    std::vector<I_Color> m_texels;
};

/// A flat picture on the device.
class ColorTexture : public Texture {
  public:
    /// Of the image's first face; the image need only live during the call.
    ColorTexture(const I_Image* image, bool mipLevels, int depth);
    /// Of an image file `name` in the folder `folder` (empty for the working directory). Throws an `F_Exception*` where
    /// it cannot be read or decoded.
    ColorTexture(const std::string& folder, const std::string& name, int depth);
};

/// Six pictures on the device, the faces of a cube.
class CubeTexture : public Texture {
  public:
    /// An image with fewer faces has its last one in place of those that lack. Faces that are not square are refused.
    CubeTexture(const I_Image* image, bool mipLevels, int depth);
};

} // namespace cairn::V
