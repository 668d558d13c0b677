#include "host/map_import.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"
#include "host/brush_solid.h"
#include "host/entity_text.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <span>
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

/// Classes whose brushes move in the game, by how they begin.
constexpr std::string_view MOVING_CLASSES[] = {"func_door",     "func_plat",  "func_train",    "func_button",
                                               "func_rotat",    "func_bob",   "func_pendulum", "func_movewall",
                                               "func_elevator", "func_mover", "func_water",    "func_tank",
                                               "func_push",     "momentary_", "rotate_object"};

bool begins(std::string_view className, std::string_view prefix) { return className.starts_with(prefix); }
bool moves(std::string_view className) {
    return std::any_of(std::begin(MOVING_CLASSES), std::end(MOVING_CLASSES),
                       [&](std::string_view prefix) { return begins(className, prefix); });
}

/// The two axes of a texture on a face, along its width and its height, as the standard form takes them: those of the side of
/// a block that the face looks to most, the first of them where two are alike. Published with the compilers of the
/// format.
struct StandardAxes {
    Vector normal, width, height;
};
const StandardAxes STANDARD_AXES[] = {
    {{0, 0, 1}, {1, 0, 0}, {0, -1, 0}},  {{0, 0, -1}, {1, 0, 0}, {0, -1, 0}}, {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}},
    {{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}},  {{0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
};

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

/// The axes of a face's texture in the map's space, a texel long along each, turned as the face says.
void standardAxes(const MapFace& face, const Vector& normal, Vector axes[2]) {
    const StandardAxes* best = STANDARD_AXES;
    for (const StandardAxes& axis : STANDARD_AXES)
        if (axis.normal.dot(normal) > best->normal.dot(normal))
            best = &axis;
    // The turn is in the plane of the two axes as coordinates count in it, which an axis that runs downwards mirrors.
    const auto [sine, cosine] = turnOf(face.rotation);
    const Vector across = best->width;
    const Vector up(std::abs(best->height.x), std::abs(best->height.y), std::abs(best->height.z));
    const auto turned = [&, sine = sine, cosine = cosine](const Vector& axis) {
        const double s = axis.dot(across), t = axis.dot(up);
        return across * (cosine * s - sine * t) + up * (sine * s + cosine * t);
    };
    axes[0] = turned(best->width);
    axes[1] = turned(best->height);
}

/// Makes the entities of one map.
class MapImporter {
  public:
    MapImporter(const MapFile& map, double scale, ImportMaterials& materials, CN_Document& document)
        : m_map(map), m_scale(scale), m_materials(materials), m_document(document) {}

    MapImportSummary import() {
        m_start = findPlayerStart();
        m_summary.brushes = m_map.total();
        for (const MapEntity& entity : m_map.entities)
            importEntity(entity);
        for (const MapBrush& brush : m_map.looseOnes)
            importWorldBrush(brush);
        numberPolygons(m_document);
        m_summary.links = m_links.bind();
        m_summary.materials = m_materials.getCounts();
        return std::move(m_summary);
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
        const std::string_view className = classOf(entity);
        if (className == "worldspawn") {
            for (const MapBrush& brush : brushesOf(entity))
                importWorldBrush(brush);
            return;
        }
        if (entity.counts.any()) {
            importBrushEntity(entity, className);
            return;
        }
        if (&entity == m_start) {
            place(entity, *m_document.accessPlayer());
            m_links.add(m_map, entity, *m_document.accessPlayer());
            m_summary.playerPlaced = true;
            if (className == "info_player_start")
                return;
        }
        create(entity, kindOf(className));
    }

    std::span<const MapBrush> brushesOf(const MapEntity& entity) const {
        return {m_map.brushes.data() + entity.firstBrush, entity.counts.brushes};
    }

    void importWorldBrush(const MapBrush& brush) {
        if (const std::optional<ImportMesh> mesh = makeMesh(brush, m_worldBrushes++))
            addBrush(*mesh, *m_document.accessLevel());
    }

    /// A brush is closed by its making; one whose corners a level cannot tell apart is told.
    CN_LevelEntityMesh& addBrush(const ImportMesh& mesh, CN_LevelEntity& parent) {
        CN_LevelEntityMesh& made = addImportMesh(mesh, parent, m_summary.meshes);
        if (!CN_findOpenEdges(made, CN_LEVEL_TOLERANCE).empty()) {
            ++m_summary.thinBrushes;
            if (m_summary.findings.size() < MapImportSummary::MAX_FINDINGS)
                m_summary.findings.push_back(
                    {mesh.line, "a brush is so thin or small that a level takes its mesh for open"});
        }
        return made;
    }

    void importBrushEntity(const MapEntity& entity, std::string_view className) {
        std::vector<ImportMesh> meshes;
        std::size_t number = 0;
        for (const MapBrush& brush : brushesOf(entity))
            if (std::optional<ImportMesh> mesh = makeMesh(brush, number++))
                meshes.push_back(std::move(*mesh));
        CN_LevelEntity& machine = add(entity, CN_KIND_FSM);
        ++m_summary.brushEntities;
        machine.setPosition(m_map.find(entity, "origin") ? originOf(entity) : middleOf(meshes));
        machine.handleOwnHierarchy();
        std::vector<CN_LevelEntity*> touched;
        for (const ImportMesh& mesh : meshes) {
            CN_LevelEntityMesh& made = addBrush(mesh, machine);
            if (begins(className, "trigger_")) {
                CN_TriggerProperties properties;
                properties.playerTrigger = true;
                made.setTriggerProperties(&properties);
                made.createFSM();
                touched.push_back(&made);
            } else if (moves(className))
                made.makeDynamic(true);
        }
        m_links.add(m_map, entity, machine, std::move(touched));
    }
    static Vector middleOf(const std::vector<ImportMesh>& meshes) {
        std::vector<Vector> corners;
        for (const ImportMesh& mesh : meshes)
            corners.insert(corners.end(), mesh.corners.begin(), mesh.corners.end());
        return gridMiddle(corners);
    }

    /// The solid of a brush in our space; none, which is told, where it has none.
    std::optional<ImportMesh> makeMesh(const MapBrush& brush, std::size_t number) {
        const std::span<const MapFace> faces(m_map.faces.data() + brush.firstFace, brush.faceCount);
        if (brush.faceCount > MAX_BRUSH_FACES) {
            loseBrush(brush, fmt::format("it has more than {} faces", MAX_BRUSH_FACES));
            return std::nullopt;
        }
        // Near the origin numbers are at their finest; whole steps there and back lose nothing.
        const Vector middle = middleOf(faces);
        std::vector<BrushPlane> planes(faces.size());
        for (std::size_t i = 0; i < faces.size(); ++i) {
            const Vector points[3] = {pointOf(faces[i], 0) - middle, pointOf(faces[i], 1) - middle,
                                      pointOf(faces[i], 2) - middle};
            if (std::any_of(points, points + 3, isBeyondBrushes)) {
                loseBrush(
                    brush,
                    fmt::format("a point of its face on line {} lies more than {} units from the middle of them all",
                                faces[i].line, BRUSH_EXTENT));
                return std::nullopt;
            }
            if (!makeBrushPlane(points, planes[i])) {
                loseBrush(brush, fmt::format("the points of its face on line {} give no plane", faces[i].line));
                return std::nullopt;
            }
        }
        const BrushSolid solid = intersectHalfSpaces(planes);
        if (!solid.isSolid()) {
            loseBrush(brush, solid.fault);
            return std::nullopt;
        }
        m_summary.idleFaces += solid.idle.size();
        ImportMesh mesh;
        mesh.line = brush.line;
        mesh.name = fmt::format("Brush{}", number);
        for (const Vector& corner : solid.corners)
            mesh.corners.push_back(fromMap((corner + middle) * m_scale));
        for (const BrushSolid::Face& face : solid.faces)
            mesh.faces.push_back(makeFace(faces[face.plane], planes[face.plane].normal, face.corners));
        return mesh;
    }
    static Vector pointOf(const MapFace& face, int i) {
        return {face.points[i][0], face.points[i][1], face.points[i][2]};
    }
    static Vector middleOf(std::span<const MapFace> faces) {
        Vector sum;
        for (const MapFace& face : faces)
            for (int i = 0; i < 3; ++i)
                sum += pointOf(face, i) / (3 * static_cast<double>(faces.size()));
        return {std::floor(sum.x), std::floor(sum.y), std::floor(sum.z)};
    }

    void loseBrush(const MapBrush& brush, const std::string& why) {
        ++m_summary.lostBrushes;
        if (m_summary.findings.size() < MapImportSummary::MAX_FINDINGS)
            m_summary.findings.push_back({brush.line, "a brush is not imported: " + why});
    }

    ImportFace makeFace(const MapFace& source, const Vector& normal, const std::vector<std::uint32_t>& corners) {
        ImportFace face;
        face.line = source.line;
        face.corners.assign(corners.rbegin(), corners.rend()); // the way into our space mirrors
        face.normal = fromMap(normal);
        CN_Material& material = m_materials.get(source.texture);
        face.material = &material;
        face.mapping = mappingOf(source, normal, material);
        return face;
    }

    /// A map's axes give texels; repeats are as many as the texture has.
    ImportMapping mappingOf(const MapFace& face, const Vector& normal, const CN_Material& material) const {
        Vector axes[2];
        if (face.valve)
            for (int i = 0; i < 2; ++i)
                axes[i] = {face.axes[i][0], face.axes[i][1], face.axes[i][2]};
        else
            standardAxes(face, normal, axes);
        const CN_Texture* const texture = material.getTexture();
        const double size[2] = {texture ? std::max(texture->getWidth(), 1) : 1.0,
                                texture ? std::max(texture->getHeight(), 1) : 1.0};
        const auto axis = [&](int i) {
            const double texel = face.scale[i] == 0 ? 1 : face.scale[i]; // 0 means the usual
            return fromMap(axes[i]) / (texel * size[i] * m_scale);
        };
        return {axis(0), axis(1), {face.offset[0] / size[0], face.offset[1] / size[1]}};
    }

    void create(const MapEntity& entity, int kind) {
        CN_LevelEntity& made = add(entity, kind);
        place(entity, made);
        m_links.add(m_map, entity, made);
        ++m_summary.made[kind];
    }

    /// A new entity of that kind below the root, with the name of the class.
    CN_LevelEntity& add(const MapEntity& entity, int kind) {
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
        m_document.accessLevel()->addOwned(std::move(made), false);
        return placed;
    }

    /// Gives the entity its place and direction; it must stand in the tree.
    void place(const MapEntity& entity, CN_LevelEntity& placed) {
        placed.setPosition(originOf(entity));
        if (placed.getEntityId() != CN_KIND_DYN_POINTLIGHT) // it shines to all sides
            if (const std::optional<Matrix> rotation = rotationFor(entity))
                placed.setRotation(*rotation);
    }

    /// The place that an entity's `origin` names, our origin where it has none.
    Vector originOf(const MapEntity& entity) const {
        const MapKey* const origin = m_map.find(entity, "origin");
        if (!origin)
            return {};
        double n[3];
        if (!readMapNumbers(origin->value, n, 3))
            throw new F_Exception(fmt::format("line {}: an origin must be three numbers", origin->line));
        const Vector position = fromMap({n[0] * m_scale, n[1] * m_scale, n[2] * m_scale});
        if (!position.isFinite())
            throw new F_Exception(fmt::format("line {}: an origin is too far away", origin->line));
        return position;
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
    ImportMaterials& m_materials;
    CN_Document& m_document;
    std::size_t m_worldBrushes = 0;     ///< so far: their numbers
    const MapEntity* m_start = nullptr; ///< not owned: gives the player its place, null for none
    MapLinks m_links;
    MapImportSummary m_summary;
};

} // namespace

MapImportSummary importMap(const MapFile& map, double scale, ImportMaterials& materials, CN_Document& document) {
    return MapImporter(map, scale, materials, document).import();
}

MapImportSummary importMap(const MapFile& map, double scale, CN_Document& document) {
    const ImportImages none;
    ImportMaterials materials(document, "map", 1 / scale, none);
    return importMap(map, scale, materials, document);
}

std::string meshText(const ImportMeshCounts& meshes, const ImportMaterials::Counts& materials) {
    std::string text;
    if (const std::size_t number = materials.found + materials.generated; number > 0)
        text += fmt::format("; {}, {} with a generated image", counted(number, "material", "materials"),
                            materials.generated);
    if (materials.undecoded > 0)
        text +=
            fmt::format("; {}, the first is \"{}\"",
                        counted(materials.undecoded, "image that cannot be decoded", "images that cannot be decoded"),
                        toShownText(materials.firstUndecoded));
    if (meshes.unmapped > 0)
        text += fmt::format("; {} the usual axes for textures that span no plane, or repeat too finely or coarsely",
                            counted(meshes.unmapped, "polygon has", "polygons have"));
    if (meshes.degenerate > 0)
        text += fmt::format("; {} too thin or small to be an area of a level, the first on line {}",
                            counted(meshes.degenerate, "polygon is", "polygons are"), meshes.firstDegenerateLine);
    if (meshes.untriangulated > 0)
        text += fmt::format("; {}", counted(meshes.untriangulated, "polygon could not be triangulated",
                                            "polygons could not be triangulated"));
    return text;
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
    if (meshes.meshes > 0)
        text += fmt::format("; {} of {}", counted(meshes.polygons, "polygon", "polygons"),
                            counted(meshes.meshes, "brush", "brushes"));
    if (brushEntities > 0)
        text += fmt::format(", {} with brushes", counted(brushEntities, "entity", "entities"));
    text += meshText(meshes, materials);
    if (links.messages > 0)
        text += fmt::format("; {} for targets", counted(links.messages, "message", "messages"));
    if (links.unbound > 0)
        text += fmt::format(
            "; {}", counted(links.unbound, "target that nothing is named by", "targets that nothing is named by"));
    if (lostBrushes > 0)
        text += fmt::format("; {} not imported", counted(lostBrushes, "brush", "brushes"));
    if (thinBrushes > 0)
        text += fmt::format("; {} too thin or small to be closed", counted(thinBrushes, "brush is", "brushes are"));
    if (idleFaces > 0)
        text +=
            fmt::format("; {} left out", counted(idleFaces, "face that bounds nothing", "faces that bound nothing"));
    std::vector<std::string> left;
    if (brushes.patches > 0)
        left.push_back(counted(brushes.patches, "patch", "patches"));
    if (links.kills > 0)
        left.push_back(counted(links.kills, "killtarget", "killtargets"));
    if (!left.empty())
        text += fmt::format("; not imported: {}", fmt::join(left, ", "));
    if (brushes.standardFaces > 0 && brushes.valveFaces > 0)
        text +=
            fmt::format("; faces in two forms: {} standard, {} Valve 220", brushes.standardFaces, brushes.valveFaces);
    if (oddValues > 0)
        text += fmt::format("; {} passed over, the first on line {}", counted(oddValues, "odd value", "odd values"),
                            firstOddLine);
    return text;
}

} // namespace cairn::host
