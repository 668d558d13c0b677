#pragma once

#include "cairn/imaging/image.h"

#include <map>
#include <memory>
#include <tuple>
#include <unordered_map>

namespace cairn {

class CN_Texture;

/// The icons of a material. Once made they never change: materials that look alike share them.
struct CN_MaterialIcons {
    std::unique_ptr<I_Image> thumb; ///< of 64 by 64 pixels, with its bitmap
    std::unique_ptr<I_Image> list;  ///< of 32 by 32 pixels, likewise
    I_FColor average;               ///< mean colour of `list`, without its overlays
};

/// All that a material's icons depend on.
struct CN_IconLook {
    const CN_Texture* texture = nullptr; ///< not owned
    const I_Image* crossHair = nullptr;  ///< not owned: the overlay, null where it is not shown
    const I_Image* animation = nullptr;  ///< not owned: likewise
    bool isAlpha = false;

    bool operator<(const CN_IconLook& other) const {
        return std::tie(texture, crossHair, animation, isAlpha) <
               std::tie(other.texture, other.crossHair, other.animation, other.isAlpha);
    }
};

/// What icons are made of: the pixels of a texture's image that they show, without the others. While an object lives it
/// keeps them for textures that were asked for, so that the materials of a level that share a texture cost one decode,
/// also in a file that was made to cost many, and it knows the icons that were made and are still had. Textures and
/// overlays must neither change nor go meanwhile.
class CN_IconSources {
  public:
    CN_IconSources() : m_outer(s_active) { s_active = this; }
    ~CN_IconSources() { s_active = m_outer; }
    CN_IconSources(const CN_IconSources&) = delete;
    CN_IconSources& operator=(const CN_IconSources&) = delete;

    /// A plain image of at most 64 by 64 pixels of which `CN_Material::createIconImage` makes the same icons of 64 and
    /// of 32 pixels as of the texture's image; null where that does not decode.
    static std::shared_ptr<const I_Image> of(const CN_Texture& texture);
    /// The icons that some material got for that look, or null.
    static std::shared_ptr<const CN_MaterialIcons> findIcons(const CN_IconLook& look);
    /// Remembers icons for as long as some material has them.
    static void rememberIcons(const CN_IconLook& look, const std::shared_ptr<const CN_MaterialIcons>& icons);

  private:
    /// At 16 KiB each. Beyond them all are dropped.
    static constexpr std::size_t MAX_KEPT = 1024;

    inline static CN_IconSources* s_active = nullptr; ///< not owned: the innermost

    CN_IconSources* m_outer; ///< not owned
    std::unordered_map<const CN_Texture*, std::shared_ptr<const I_Image>> m_kept;
    std::map<CN_IconLook, std::weak_ptr<const CN_MaterialIcons>> m_icons;
};

} // namespace cairn
