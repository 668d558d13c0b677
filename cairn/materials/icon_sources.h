#pragma once

#include "cairn/imaging/image.h"

#include <memory>
#include <unordered_map>

namespace cairn {

class CN_Texture;

/// What icons are made of: the pixels of a texture's image that they show, without the others. While an object lives it
/// keeps them for textures that were asked for, so that the materials of a level that share a texture cost one decode,
/// also in a file that was made to cost many. Textures must neither change nor go meanwhile.
class CN_IconSources {
  public:
    CN_IconSources() : m_outer(s_active) { s_active = this; }
    ~CN_IconSources() { s_active = m_outer; }
    CN_IconSources(const CN_IconSources&) = delete;
    CN_IconSources& operator=(const CN_IconSources&) = delete;

    /// A plain image of at most 64 by 64 pixels of which `CN_Material::createIconImage` makes the same icons of 64 and
    /// of 32 pixels as of the texture's image; null where that does not decode.
    static std::shared_ptr<const I_Image> of(const CN_Texture& texture);

  private:
    /// At 16 KiB each. Beyond them all are dropped.
    static constexpr std::size_t MAX_KEPT = 1024;

    inline static CN_IconSources* s_active = nullptr; ///< not owned: the innermost

    CN_IconSources* m_outer; ///< not owned
    std::unordered_map<const CN_Texture*, std::shared_ptr<const I_Image>> m_kept;
};

} // namespace cairn
