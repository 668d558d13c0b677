#include "cairn/materials/render_texture.h"

#include "cairn/imaging/device_texture.h"
#include "cairn/imaging/image.h"
#include "cairn/materials/texture.h"

namespace cairn {

namespace {

/// The bits a texel that the device is asked for.
constexpr int TEXEL_DEPTH = 16;

} // namespace

CN_RenderTexture::CN_RenderTexture(CN_Texture* texture) : m_texture(texture) {}

CN_RenderTexture::CN_RenderTexture(const std::string& folder, const std::string& name)
    : m_deviceTexture(std::make_unique<V::ColorTexture>(folder, name, TEXEL_DEPTH)) {}

CN_RenderTexture::CN_RenderTexture(const I_Image* image, bool mipLevels, int depth)
    : m_deviceTexture(std::make_unique<V::ColorTexture>(image, mipLevels, depth)) {}

CN_RenderTexture::~CN_RenderTexture() = default;

V::Texture* CN_RenderTexture::getTexture() {
    if (m_deviceTexture || !m_texture)
        return m_deviceTexture.get();
    const std::unique_ptr<I_Image> image(m_texture->getImage());
    try {
        if (m_texture->isCube())
            m_deviceTexture = std::make_unique<V::CubeTexture>(image.get(), true, TEXEL_DEPTH);
        else
            m_deviceTexture = std::make_unique<V::ColorTexture>(image.get(), true, TEXEL_DEPTH);
    } catch (V::Exception_IllegalTextureSize* e) {
        const F_ExceptionGuard guard(e);
        throw new Exception_CreateRenderTextureFailed(
            formatText("%s (%s)", e->getText().c_str(), m_texture->name().GetString()));
    }
    return m_deviceTexture.get();
}

} // namespace cairn
