#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture_list.h"
#include "cairn/platform/handlers.h"

#include <array>
#include <cmath>
#include <utility>

namespace cairn {

/// The names of a material's textures as a record has them.
struct CN_Material::RecordNames {
    std::vector<CString> diffuse;
    CString light, detail, reflection, gloss; ///< empty for none
};

namespace {

CString nameOf(const CN_Texture* texture) { return texture ? texture->name() : CString(); }

} // namespace

// Version 5: any number of diffuse textures; the visible frame and the frame rate.
// Version 4: the reflection and gloss flags and textures.
// Version 3: the scale of the detail layer.
// Version 2: blend type and edge blend, in place of two flags.
// Versions 0 and 1: name, one diffuse texture, light and detail texture, scales, double-sided, a flag for blending with
// the alpha test, alpha test value, adult content, a second flag for blending.

void CN_Material::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_MATERIAL_VERSION);
    file << m_name;
    file.writeCount(m_diffuseTextures.size());
    for (const CN_Texture* texture : m_diffuseTextures)
        file << nameOf(texture);
    file << nameOf(m_lightTexture) << nameOf(m_detailTexture);
    file << m_diffuseTileU << m_diffuseTileV << m_lightTileU << m_lightTileV << m_detailScale;
    file << m_doubleSided;
    file << m_alphaTestValue << m_adultContent;
    file << static_cast<int>(m_blendType) << m_edgeBlend;
    file << m_usesReflection << m_usesGloss;
    file << nameOf(m_reflectionTexture) << nameOf(m_glossTexture);
    file << m_visibleFrame << m_framerate;
    file.closeChunk();
}

bool CN_Material::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    RecordNames names;
    readFields(chunk.getMemoryFile(), chunk.getVersion(), names);
    file.skipChunk();
    repairNumbers();
    return takeTextures(names);
}

void CN_Material::readFields(F_MemoryFile& file, int version, RecordNames& names) {
    CString name;
    file >> name;
    setName(name);
    for (std::size_t left = version > 4 ? file.readCount(sizeof(unsigned int)) : 1; left > 0; --left)
        file >> names.diffuse.emplace_back();
    file >> names.light >> names.detail;
    file >> m_diffuseTileU >> m_diffuseTileV >> m_lightTileU >> m_lightTileV;
    m_detailScale = 1.0;
    if (version > 2)
        file >> m_detailScale;
    file >> m_doubleSided;
    int blendType = BLEND_PLAIN;
    bool flag = false;
    if (version <= 1) {
        file >> flag;
        blendType = flag ? BLEND_ALPHA_TEST : blendType;
    }
    file >> m_alphaTestValue >> m_adultContent;
    m_edgeBlend = false;
    if (version <= 1) {
        file >> flag;
        blendType = flag ? BLEND_FLAGGED : blendType;
    } else {
        file >> blendType >> m_edgeBlend;
    }
    m_blendType = static_cast<DiffuseBlendType>(blendType);
    m_usesReflection = m_usesGloss = false;
    if (version > 3)
        file >> m_usesReflection >> m_usesGloss >> names.reflection >> names.gloss;
    m_visibleFrame = 0;
    m_framerate = 1;
    if (version > 4)
        file >> m_visibleFrame >> m_framerate;
}

/// What a file may hold and no surface can be drawn with gets its initial value.
void CN_Material::repairNumbers() {
    if (m_alphaTestValue == 0)
        m_alphaTestValue = DEFAULT_ALPHA_TEST_VALUE;
    string repaired;
    for (double* scale : {&m_diffuseTileU, &m_diffuseTileV, &m_lightTileU, &m_lightTileV, &m_detailScale}) {
        if (std::isfinite(*scale))
            continue;
        *scale = 1.0;
        repaired = "a scale was no finite number and is 1";
    }
    if (m_blendType < BLEND_PLAIN || m_blendType > BLEND_DETAIL) {
        m_blendType = BLEND_PLAIN;
        repaired += repaired.empty() ? "" : "; ";
        repaired += "the blend type was none and is 0";
    }
    if (!repaired.empty())
        reportRepair("was changed: " + repaired);
}

/// False, and the load report tells of it, where one is not to be had.
bool CN_Material::takeTextures(const RecordNames& names) {
    string missing;
    const auto find = [&](const CString& name, bool readFile) {
        CN_Texture* texture = findTexture(name);
        if (!texture && readFile && m_list && m_list->add(name.GetString(), false))
            texture = findTexture(name);
        if (!texture)
            missing += (missing.empty() ? "" : ", ") + ("\"" + toString(name) + "\"");
        return texture;
    };

    TextureVector frames;
    bool hasNameless = false;
    for (const CString& name : names.diffuse) {
        hasNameless |= name.IsEmpty();
        frames.push_back(name.IsEmpty() ? nullptr : find(name, false));
    }
    if (hasNameless) {
        AfxMessageBox("Invalid material found, ignoring...", MB_ICONEXCLAMATION);
        reportRepair("was dropped: one of its diffuse textures has no name");
        // They lose this reference with the material, as those of any that is dropped.
        replaceDiffuseTextures(std::move(frames));
        return false;
    }
    m_diffuseScaled = true;
    setDiffuseTextures(frames);
    const auto take = [&](CN_Texture*& slot, const CString& name, bool readFile) {
        changeTexture(slot, name.IsEmpty() ? nullptr : find(name, readFile));
        return slot != nullptr;
    };
    m_lightScaled = take(m_lightTexture, names.light, false);
    m_detailScaled = take(m_detailTexture, names.detail, false);
    take(m_reflectionTexture, names.reflection, true);
    take(m_glossTexture, names.gloss, true);
    if (!missing.empty())
        reportRepair("was dropped: the level lacks " + missing);
    return missing.empty();
}

} // namespace cairn
