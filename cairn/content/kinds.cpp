#include "cairn/content/kinds.h"

#include <algorithm>
#include <cstddef>

namespace cairn {

namespace {

using enum Y_SharedDBKind;

constexpr Y_SharedDBKindInfo KINDS[] = {
    {CAMERA_PATH, "camera-path", "camera_path", nullptr},
    {STORY_PAGE, "story-page", "story_page", nullptr},
    {LEVEL, "level", "level", nullptr},
    {MESSAGE_BATCH, "message-batch", "message_batch", nullptr},
    {MUSIC, "music", "music", nullptr},
    {PARTICLE, "particle", "particle", nullptr},
    {PROJECTILE, "projectile", "projectile", nullptr},
    {WEAPON, "weapon", "weapon", nullptr},
    {SKIN, "skin", "skin", nullptr},
    {SOUND_CATEGORY, "sound-category", "sound_category", nullptr},
    {SOUND_ENVIRONMENT, "sound-environment", "sound_environment", nullptr},
    {LEVEL_ITEM, "level-item", "level_item", nullptr},
    {STORY_EVENT, "story-event", "story_event", nullptr},
    {FLARE, "flare", "flare", nullptr},
    {PHYSICAL_MATERIAL, "physical-material", "physical_material", nullptr},
    {SURFACE_MATERIAL, "surface-material", "surface_material", nullptr},
    {SKELETON, "skeleton", "skeleton", nullptr},
    {UPPER_BODY_BONE, "upper-body-bone", "upper_body_bone", "skeleton"},
    {LOWER_BODY_BONE, "lower-body-bone", "lower_body_bone", "skeleton"},
    {ANIMATION, "animation", "animation", "skin"},
};

constexpr bool standInOrder() {
    for (std::size_t i = 0; i < std::size(KINDS); ++i)
        if (static_cast<std::size_t>(KINDS[i].kind) != i)
            return false;
    return true;
}
static_assert(standInOrder());

} // namespace

std::span<const Y_SharedDBKindInfo> getSharedDBKinds() { return KINDS; }

const Y_SharedDBKindInfo& getSharedDBKindInfo(Y_SharedDBKind kind) { return KINDS[static_cast<std::size_t>(kind)]; }

const Y_SharedDBKindInfo* findSharedDBKind(std::string_view name) {
    const auto found = std::ranges::find_if(KINDS, [&](const Y_SharedDBKindInfo& info) { return info.name == name; });
    return found != std::end(KINDS) ? &*found : nullptr;
}

} // namespace cairn
