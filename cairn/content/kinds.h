#pragma once

#include <span>
#include <string_view>

namespace cairn {

/// What a content database holds names of.
enum class Y_SharedDBKind : int {
    CAMERA_PATH,
    STORY_PAGE,
    LEVEL,
    MESSAGE_BATCH,
    MUSIC,
    PARTICLE,
    PROJECTILE,
    WEAPON,
    SKIN,
    SOUND_CATEGORY,
    SOUND_ENVIRONMENT,
    LEVEL_ITEM,
    STORY_EVENT,
    FLARE,
    PHYSICAL_MATERIAL,
    SURFACE_MATERIAL,
    SKELETON,
    UPPER_BODY_BONE,
    LOWER_BODY_BONE,
    ANIMATION,
};

/// What is to be known of a kind: its word for people and its table in the file.
struct Y_SharedDBKindInfo {
    Y_SharedDBKind kind;
    const char* name;  ///< singular, words joined by hyphens: "level-item"
    const char* table; ///< in the file; the kind's word with underscores
    const char* owner; ///< the table whose rows this kind's rows belong to, also the name of the column that says so;
                       ///< null where they stand by themselves
};

/// All kinds, in the order of `Y_SharedDBKind`; valid for ever.
std::span<const Y_SharedDBKindInfo> getSharedDBKinds();
const Y_SharedDBKindInfo& getSharedDBKindInfo(Y_SharedDBKind kind);
/// The kind of this word, with case; null where there is none.
const Y_SharedDBKindInfo* findSharedDBKind(std::string_view name);

} // namespace cairn
