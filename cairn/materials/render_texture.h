#pragma once

#include "cairn/foundation/exception.h"

#include <memory>
#include <string>

namespace cairn {

namespace V {
class Texture;
}
class CN_Texture;
class I_Image;

/// A texture that the device could not make; the text has the device's reason and the texture's name.
class Exception_CreateRenderTextureFailed : public F_Exception {
  public:
    using F_Exception::F_Exception;
};

/// The device's side of a texture, made when it is first asked for.
class CN_RenderTexture {
  public:
    /// Of a texture, not owned: the device's texture is made of its source at the first `getTexture`.
    explicit CN_RenderTexture(CN_Texture* texture);
    /// A device colour texture of an image file, made at once. Throws where that fails.
    CN_RenderTexture(const std::string& folder, const std::string& name);
    /// A device colour texture of an image, which need only live during the call. Throws where the device refuses it.
    CN_RenderTexture(const I_Image* image, bool mipLevels, int depth);
    CN_RenderTexture(const CN_RenderTexture&) = delete;
    CN_RenderTexture& operator=(const CN_RenderTexture&) = delete;
    ~CN_RenderTexture();

    /// The device's texture, decoded and made now where there is none yet; valid as long as this object. Throws an
    /// `Exception_CreateRenderTextureFailed*` where the device refuses the size, an `I_ImageException*` where the
    /// source does not decode.
    V::Texture* getTexture();

  private:
    CN_Texture* m_texture = nullptr;             ///< not owned: null for the forms that do not come from a texture
    std::unique_ptr<V::Texture> m_deviceTexture; ///< null until needed
};

} // namespace cairn
