#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/imaging/color.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace cairn::host {

/// The value of a property, of the alternative that belongs to the property's type. The alpha of a colour is without meaning.
using PropertyValue = std::variant<bool, int, double, std::string, I_FColor, CN_LevelEntity::Vector>;

enum class PropertyType { SWITCH, WHOLE, NUMBER, TEXT, BYTE_COLOR, COLOR, VECTOR };

/// Kinds of entities, a bit each.
using KindSet = std::uint32_t;
constexpr KindSet kindSet(std::initializer_list<CN_EntityKind> kinds) {
    KindSet set = 0;
    for (const CN_EntityKind kind : kinds)
        set |= KindSet{1} << (kind - CN_KIND_MESH);
    return set;
}
inline constexpr KindSet ALL_KINDS = ~KindSet{0};

/// What the numbers of a value may be, both ends included: the number itself, channels of a colour, coordinates.
struct ValueRange {
    double least = std::numeric_limits<double>::lowest();
    double most = std::numeric_limits<double>::max();
};
inline constexpr ValueRange NOT_NEGATIVE = {.least = 0};

/// A setting of an entity that a level file keeps.
struct EntityProperty {
    std::string_view name; ///< small letters with hyphens
    KindSet kinds;         ///< that have it
    PropertyType type;
    ValueRange range;
    std::string_view help;
    PropertyValue (*get)(const CN_LevelEntity& entity);
    void (*set)(CN_LevelEntity& entity, const PropertyValue& value);
    /// Why this entity cannot take a value of the right type and range, empty where it can; null where every one can.
    std::string (*refuse)(const CN_LevelEntity& entity, const PropertyValue& value) = nullptr;
    /// Brings up to date what hangs on the value; null for nothing.
    void (*follow)(CN_LevelEntity& entity) = nullptr;

    bool isOf(int entityId) const {
        const auto bit = static_cast<unsigned>(entityId - CN_KIND_MESH);
        return bit < 32 && (kinds >> bit & 1) != 0;
    }
    /// True for one of the settings that all kinds have, but for the player perhaps.
    bool isGeneral() const { return (kinds | kindSet({CN_KIND_PLAYER})) == ALL_KINDS; }
};

/// All properties, the general ones first. Names are unique within a kind.
const std::vector<EntityProperty>& entityProperties();

/// The property of that name, in any case, that the entity's kind has. Throws an `EditRefusal` that lists those it has.
const EntityProperty& requireProperty(const CN_LevelEntity& entity, const std::string& name);

/// What a property takes, in words: "on|off", "a number from 0 to 180".
std::string describeValue(const EntityProperty& property);
/// The value that a word stands for. Throws an `EditRefusal` that tells what the property takes.
PropertyValue readValue(const EntityProperty& property, const std::string& word);
/// Gives the entity, which has the property, the value, and marks it as changed. Throws an `EditRefusal` where it cannot take
/// it; nothing has changed then.
void setProperty(CN_LevelEntity& entity, const EntityProperty& property, const PropertyValue& value);

/// The rows of `entityProperties` by subject.
/// @{
std::span<const EntityProperty> generalProperties();
std::span<const EntityProperty> meshProperties();   ///< entity_properties_mesh.cpp
std::span<const EntityProperty> sphereProperties(); ///< entity_properties_kinds.cpp
std::span<const EntityProperty>
regionProperties(); ///< entity_properties_kinds.cpp: portals, groups, lights on polygons, boxes
/// @}

} // namespace cairn::host
