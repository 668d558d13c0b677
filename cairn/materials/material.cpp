#include "cairn/materials/material.h"

#include "cairn/document/shared_db.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture_list.h"

#include <algorithm>
#include <utility>

namespace cairn {

namespace {

bool haveSameName(const CN_Texture* a, const CN_Texture* b) {
    if (!a || !b)
        return a == b;
    return a->name().CompareNoCase(b->name()) == 0;
}

} // namespace

CN_Material::CN_Material() = default;

CN_Material::~CN_Material() {
    replaceDiffuseTextures({});
    for (CN_Texture** slot : {&m_lightTexture, &m_detailTexture, &m_reflectionTexture, &m_glossTexture})
        changeTexture(*slot, nullptr);
}

void CN_Material::setName(const CString& name) {
    const CString oldName = std::exchange(m_name, name);
    if (m_indexedBy)
        m_indexedBy->renamed(*this, oldName.view());
}

// References: the new one is taken before the old one goes, so that a texture that only this material holds survives
// being put where it was.

void CN_Material::changeTexture(CN_Texture*& slot, CN_Texture* texture) {
    if (slot == texture)
        return;
    if (texture)
        texture->addMaterialRef();
    release(std::exchange(slot, texture));
}

void CN_Material::release(CN_Texture* texture) {
    if (!texture)
        return;
    texture->removeMaterialRef();
    if (m_list)
        m_list->removeUnreferenced(texture);
}

void CN_Material::replaceDiffuseTextures(TextureVector textures) {
    for (CN_Texture* texture : textures)
        if (texture)
            texture->addMaterialRef();
    m_diffuseTextures.swap(textures);
    for (CN_Texture* old : textures)
        release(old);
    for (const CN_Texture* texture : m_diffuseTextures)
        scaleDiffuse(texture);
}

void CN_Material::setDiffuseTextures(const TextureVector& textures) {
    replaceDiffuseTextures(textures);
    createThumbnail();
}

void CN_Material::setDiffuseTextures(const std::vector<CString>& names) {
    TextureVector textures;
    textures.reserve(names.size());
    for (const CString& name : names)
        textures.push_back(findTexture(name));
    setDiffuseTextures(textures);
}

void CN_Material::addDiffuseTexture(CN_Texture* texture) {
    auto slot = std::find(m_diffuseTextures.begin(), m_diffuseTextures.end(), nullptr);
    if (slot == m_diffuseTextures.end())
        slot = m_diffuseTextures.insert(slot, nullptr);
    changeTexture(*slot, texture);
    scaleDiffuse(texture);
    if (slot - m_diffuseTextures.begin() == m_visibleFrame)
        createThumbnail();
}

bool CN_Material::addDiffuseTexture(const char* name) {
    CN_Texture* texture = findTexture(name);
    if (texture)
        addDiffuseTexture(texture);
    return texture != nullptr;
}

void CN_Material::setLightTexture(CN_Texture* texture) {
    changeTexture(m_lightTexture, texture);
    if (m_lightScaled || !texture)
        return;
    defaultScaleOf(*texture, m_lightTileU, m_lightTileV);
    m_lightScaled = true;
}

void CN_Material::setDetailTexture(CN_Texture* texture) {
    changeTexture(m_detailTexture, texture);
    if (m_detailScaled || !texture)
        return;
    m_detailScale = 1.0;
    m_detailScaled = true;
}

void CN_Material::setReflectionTexture(CN_Texture* texture) { changeTexture(m_reflectionTexture, texture); }

void CN_Material::setGlossTexture(CN_Texture* texture) { changeTexture(m_glossTexture, texture); }

CN_Texture* CN_Material::findTexture(const CString& name) const { return m_list ? m_list->get(name) : nullptr; }

CN_Texture* CN_Material::getTexture() const {
    const bool isFrame = m_visibleFrame >= 0 && static_cast<std::size_t>(m_visibleFrame) < m_diffuseTextures.size();
    return isFrame ? m_diffuseTextures[static_cast<std::size_t>(m_visibleFrame)] : nullptr;
}

CN_RenderTexture* CN_Material::getRenderTexture() const {
    const CN_Texture* texture = getTexture();
    return texture ? texture->getRenderTexture() : nullptr;
}

// Scales.

void CN_Material::scaleDiffuse(const CN_Texture* texture) {
    if (m_diffuseScaled || !texture)
        return;
    defaultScaleOf(*texture, m_diffuseTileU, m_diffuseTileV);
    m_diffuseScaled = true;
}

/// A scale of 0, or one through a division by 0, would make texture coordinates that are no numbers.
void CN_Material::defaultScaleOf(const CN_Texture& texture, double& u, double& v) const {
    u = v = 1.0;
    if (m_defaultScale > 0 && texture.getWidth() > 0 && texture.getHeight() > 0)
        texture.getDefaultScale(u, v, m_defaultScale);
}

void CN_Material::resetScalings() {
    if (const CN_Texture* texture = getTexture())
        defaultScaleOf(*texture, m_diffuseTileU, m_diffuseTileV);
    if (m_lightTexture)
        defaultScaleOf(*m_lightTexture, m_lightTileU, m_lightTileV);
}

void CN_Material::getTiles(double& u, double& v, bool diffuse) const {
    u = diffuse ? m_diffuseTileU : m_lightTileU;
    v = diffuse ? m_diffuseTileV : m_lightTileV;
}

void CN_Material::setTiles(double u, double v, bool diffuse) {
    (diffuse ? m_diffuseTileU : m_lightTileU) = u;
    (diffuse ? m_diffuseTileV : m_lightTileV) = v;
    (diffuse ? m_diffuseScaled : m_lightScaled) = true;
}

void CN_Material::setDetailScale(double scale) {
    m_detailScale = scale;
    m_detailScaled = true;
}

void CN_Material::copyProperties(const CN_Material* other) {
    if (other == this)
        return;
    m_diffuseScaled = other->m_diffuseScaled;
    m_lightScaled = other->m_lightScaled;
    m_detailScaled = other->m_detailScaled;
    replaceDiffuseTextures(other->m_diffuseTextures);
    setLightTexture(other->m_lightTexture);
    setDetailTexture(other->m_detailTexture);
    setReflectionTexture(other->m_reflectionTexture);
    setGlossTexture(other->m_glossTexture);
    setName(other->m_name);
    m_doubleSided = other->m_doubleSided;
    m_alphaTestValue = other->m_alphaTestValue;
    m_adultContent = other->m_adultContent;
    m_edgeBlend = other->m_edgeBlend;
    m_diffuseTileU = other->m_diffuseTileU;
    m_diffuseTileV = other->m_diffuseTileV;
    m_lightTileU = other->m_lightTileU;
    m_lightTileV = other->m_lightTileV;
    m_detailScale = other->m_detailScale;
    m_blendType = other->m_blendType;
    m_usesReflection = other->m_usesReflection;
    m_usesGloss = other->m_usesGloss;
    m_visibleFrame = other->m_visibleFrame;
    m_framerate = other->m_framerate;
    createThumbnail();
}

bool CN_Material::operator==(const CN_Material& other) const {
    const auto& frames = m_diffuseTextures;
    const auto& otherFrames = other.m_diffuseTextures;
    return m_name.CompareNoCase(other.m_name) == 0 && m_doubleSided == other.m_doubleSided &&
           m_adultContent == other.m_adultContent && m_blendType == other.m_blendType &&
           m_alphaTestValue == other.m_alphaTestValue && m_edgeBlend == other.m_edgeBlend &&
           m_usesReflection == other.m_usesReflection && m_usesGloss == other.m_usesGloss &&
           m_visibleFrame == other.m_visibleFrame && m_framerate == other.m_framerate &&
           std::equal(frames.begin(), frames.end(), otherFrames.begin(), otherFrames.end(), haveSameName) &&
           haveSameName(m_lightTexture, other.m_lightTexture) &&
           (m_blendType != BLEND_DETAIL || haveSameName(m_detailTexture, other.m_detailTexture)) &&
           (!m_usesReflection || haveSameName(m_reflectionTexture, other.m_reflectionTexture)) &&
           (!m_usesGloss || haveSameName(m_glossTexture, other.m_glossTexture));
}

const Y_SharedDBSurfaceMaterial* CN_Material::getY_SharedDBSurfaceMaterial() const {
    const CN_SharedDB* database = CN_SharedDB::instance();
    const Y_SharedDBSurfaceMaterialContainer* container = database ? database->getSurfaceMaterialContainer() : nullptr;
    if (!container)
        return nullptr;
    Y_SharedDBIdentifier identifier;
    identifier.setNameString(m_name.GetString());
    return container->find(identifier);
}

void CN_Material::reportRepair(const string& text) const {
    if (m_parent)
        m_parent->reportRepair("The material \"" + toString(m_name) + "\" of the category \"" +
                               toString(m_parent->name()) + "\" " + text);
}

} // namespace cairn
