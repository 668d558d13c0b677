#include "host/map_import.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/name_validator.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/foundation/exception.h"
#include "host/entity_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <vector>

namespace cairn::host {

namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

/// What a class of the map becomes: the first row whose prefix the class begins with.
struct ClassRule {
    std::string_view prefix;
    int kind;
};
constexpr ClassRule CLASS_RULES[] = {
    {"light", CN_KIND_DYN_POINTLIGHT},
    {"item_", CN_KIND_ITEM},
    {"weapon_", CN_KIND_ITEM},
    {"ammo_", CN_KIND_ITEM},
    {"key_", CN_KIND_ITEM},
    {"holdable_", CN_KIND_ITEM},
    {"monster_", CN_KIND_ENEMY},
    {"trigger_", CN_KIND_TRIGGER},
    {"info_node", CN_KIND_AI_NODE},
    {"", CN_KIND_WAYPOINT},
};

int kindOf(std::string_view className) {
    return std::find_if(std::begin(CLASS_RULES), std::end(CLASS_RULES),
                        [&](const ClassRule& rule) { return className.starts_with(rule.prefix); })
        ->kind;
}

/// A map's X forward, Y left, Z up in our X right, Y up, Z forward. It mirrors: their space is right-handed.
Vector fromMap(const Vector& v) { return {-v.y, v.z, v.x}; }

struct Turn {
    double sine, cosine;
};
/// Exact at whole quarters, so that the usual angles give clean matrices.
Turn turnOf(double degrees) {
    const double within = std::fmod(degrees, 360.0);
    const double quarters = within / 90.0;
    if (quarters == std::floor(quarters)) {
        constexpr Turn EXACT[] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
        return EXACT[static_cast<std::size_t>(quarters + 4) % 4];
    }
    const double radians = within * std::numbers::pi / 180.0;
    return {std::sin(radians), std::cos(radians)};
}

/// The rotation of a map's pitch (downwards), yaw (to the left) and roll, in degrees: our rows are where right, up and
/// forward go.
Matrix rotationOf(double pitch, double yaw, double roll) {
    const auto [sp, cp] = turnOf(pitch);
    const auto [sy, cy] = turnOf(yaw);
    const auto [sr, cr] = turnOf(roll);
    const Vector forward(cp * cy, cp * sy, -sp);
    const Vector right(cr * sy - sr * sp * cy, -sr * sp * sy - cr * cy, -sr * cp);
    const Vector up(cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp);
    return {fromMap(right), fromMap(up), fromMap(forward)};
}

/// Makes the entities of one map.
class MapImporter {
  public:
    MapImporter(const MapFile& map, double scale, CN_Document& document)
        : m_map(map), m_scale(scale), m_document(document) {}

    MapImportSummary import() {
        m_start = findPlayerStart();
        m_summary.brushes = m_map.total();
        for (const MapEntity& entity : m_map.entities)
            importEntity(entity);
        return m_summary;
    }

  private:
    const MapEntity* findPlayerStart() const {
        for (const std::string_view className : {"info_player_start", "info_player_deathmatch"})
            for (const MapEntity& entity : m_map.entities)
                if (classOf(entity) == className && !entity.counts.any())
                    return &entity;
        return nullptr;
    }
    std::string_view classOf(const MapEntity& entity) const { return m_map.value(entity, "classname"); }

    void importEntity(const MapEntity& entity) {
        for (const char* key : {"targetname", "target"})
            m_summary.links += m_map.find(entity, key) ? 1u : 0u;
        const std::string_view className = classOf(entity);
        if (className == "worldspawn")
            return;
        if (entity.counts.any()) {
            ++m_summary.brushEntities;
            return;
        }
        if (&entity == m_start) {
            place(entity, *m_document.accessPlayer());
            m_summary.playerPlaced = true;
            if (className == "info_player_start")
                return;
        }
        create(entity, kindOf(className));
    }

    void create(const MapEntity& entity, int kind) {
        const std::string_view className = classOf(entity);
        std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, &m_document));
        if (!made)
            throw new F_Exception(fmt::format("line {}: a {} cannot be made", entity.line, kindName(kind)));
        made->setName(toCString(toEntityName(className)), false);
        if (kind == CN_KIND_ITEM || kind == CN_KIND_ENEMY)
            static_cast<CN_UISphereEntity&>(*made).setSharedDBName(string(className), true);
        if (auto* light = dynamic_cast<CN_LevelEntityDynPointlight*>(made.get()))
            setLight(entity, *light);
        CN_LevelEntity& placed = *made;
        m_document.accessLevel()->add(made.release(), false);
        place(entity, placed);
        ++m_summary.made[kind];
    }

    /// Gives the entity its place and direction; it must stand in the tree.
    void place(const MapEntity& entity, CN_LevelEntity& placed) {
        Vector position;
        if (const MapKey* origin = m_map.find(entity, "origin")) {
            double n[3];
            if (readMapNumbers(origin->value, n, 3))
                position = fromMap({n[0] * m_scale, n[1] * m_scale, n[2] * m_scale});
            else
                throw new F_Exception(fmt::format("line {}: an origin must be three numbers", origin->line));
            if (!position.isFinite())
                throw new F_Exception(fmt::format("line {}: an origin is too far away", origin->line));
        }
        placed.setPosition(position);
        if (placed.getEntityId() != CN_KIND_DYN_POINTLIGHT) // it shines to all sides
            if (const std::optional<Matrix> rotation = rotationFor(entity))
                placed.setRotation(*rotation);
    }

    std::optional<Matrix> rotationFor(const MapEntity& entity) {
        double n[3];
        for (const char* key : {"angles", "mangle"})
            if (readKey(entity, key, n, 3))
                return rotationOf(n[0], n[1], n[2]);
        if (!readKey(entity, "angle", n, 1))
            return std::nullopt;
        constexpr double UP = -1, DOWN = -2; // two values with a meaning of their own
        if (n[0] == UP || n[0] == DOWN)
            return rotationOf(n[0] == UP ? -90 : 90, 0, 0);
        return rotationOf(0, n[0], 0);
    }

    void setLight(const MapEntity& entity, CN_LevelEntityDynPointlight& light) {
        constexpr double USUAL_LIGHT = 300;
        CN_DynPointlightProperties properties = light.getDynLightProperties();
        double n[4] = {255, 255, 255, USUAL_LIGHT};
        // "_light" may be four numbers: a colour and the value.
        const MapKey* four = m_map.find(entity, "_light");
        if (four && readMapNumbers(four->value, n, 4))
            properties.color = toColor(n);
        else if (!readKey(entity, "light", &n[3], 1) && !readKey(entity, "_light", &n[3], 1))
            n[3] = USUAL_LIGHT;
        properties.intensity = toFloat(n[3] / USUAL_LIGHT);
        properties.falloff = toFloat(std::abs(n[3]) * m_scale);
        if (readKey(entity, "_color", n, 3))
            properties.color = toColor(n);
        light.setDynLightProperties(properties);
    }
    /// Three channels, from 0 to 1 or, where one is beyond, to 255.
    static I_FColor toColor(const double* n) {
        const double unit = std::max({n[0], n[1], n[2]}) <= 1 ? 255 : 1;
        return {toFloat(n[0] * unit), toFloat(n[1] * unit), toFloat(n[2] * unit)};
    }
    static float toFloat(double number) {
        constexpr double LARGEST = std::numeric_limits<float>::max();
        return static_cast<float>(std::clamp(number, -LARGEST, LARGEST));
    }

    /// The numbers of a key; false where it is not there, or is something else, which is remembered.
    bool readKey(const MapEntity& entity, std::string_view key, double* numbers, int count) {
        const MapKey* pair = m_map.find(entity, key);
        if (!pair || pair->value.empty())
            return false;
        if (readMapNumbers(pair->value, numbers, count))
            return true;
        if (m_summary.oddValues++ == 0)
            m_summary.firstOddLine = pair->line;
        return false;
    }

    const MapFile& m_map;
    double m_scale;
    CN_Document& m_document;
    const MapEntity* m_start = nullptr; ///< not owned: gives the player its place, null for none
    MapImportSummary m_summary;
};

std::string counted(std::size_t number, const char* one, const char* many) {
    return fmt::format("{} {}", number, number == 1 ? one : many);
}

} // namespace

MapImportSummary importMap(const MapFile& map, double scale, CN_Document& document) {
    return MapImporter(map, scale, document).import();
}

std::string toEntityName(std::string_view className) {
    constexpr std::size_t LONGEST = 40;
    std::string name(className.substr(0, LONGEST));
    for (char& c : name)
        if (!asciiIsAlnum(c) && c != '+' && c != '-' && c != '_')
            c = '_';
    if (name.empty())
        name = "unnamed";
    if (!asciiIsAlnum(name[0]))
        name.insert(0, "e");
    // What is still refused is a reserved word.
    return CN_NameValidator::instance()->isValidEntityName(string(name)) ? name : name + "_";
}

std::string MapImportSummary::text() const {
    std::size_t total = 0;
    std::string kinds;
    for (const auto& [kind, number] : made) {
        total += number;
        kinds += fmt::format("{}{} {}", kinds.empty() ? "" : ", ", number, kindName(kind));
    }
    std::string text =
        fmt::format("imported {}{}, player {}", counted(total, "entity", "entities"),
                    kinds.empty() ? "" : fmt::format(" ({})", kinds), playerPlaced ? "placed" : "at the origin");
    std::vector<std::string> left;
    if (brushes.brushes > 0)
        left.push_back(fmt::format("{} ({})", counted(brushes.brushes, "brush", "brushes"),
                                   counted(brushes.faces(), "face", "faces")));
    if (brushes.patches > 0)
        left.push_back(counted(brushes.patches, "patch", "patches"));
    if (brushEntities > 0)
        left.push_back(counted(brushEntities, "brush entity", "brush entities"));
    if (links > 0)
        left.push_back(counted(links, "targetname or target", "targetnames and targets"));
    if (!left.empty())
        text += fmt::format("; not yet imported: {}", fmt::join(left, ", "));
    if (brushes.standardFaces > 0 && brushes.valveFaces > 0)
        text +=
            fmt::format("; faces in two forms: {} standard, {} Valve 220", brushes.standardFaces, brushes.valveFaces);
    if (oddValues > 0)
        text += fmt::format("; {} passed over, the first on line {}", counted(oddValues, "odd value", "odd values"),
                            firstOddLine);
    return text;
}

} // namespace cairn::host
