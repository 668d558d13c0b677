#include "host/entity_facts.h"

#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/lighting/volume_lighting.h"
#include "host/entity_properties.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn::host {

namespace {

using Matrix = M_Matrix3Template<double>;
using Vector = M_Vector3Template<double>;

/// The value as edit commands take it.
std::string toText(const PropertyValue& value) {
    struct Writer {
        std::string operator()(bool on) const { return on ? "on" : "off"; }
        std::string operator()(int number) const { return std::to_string(number); }
        std::string operator()(double number) const { return toNumberText(number); }
        std::string operator()(const std::string& text) const { return text; }
        std::string operator()(const I_FColor& c) const {
            return fmt::format("{},{},{}", toNumberText(c.red), toNumberText(c.green), toNumberText(c.blue));
        }
        std::string operator()(const Vector& v) const {
            return fmt::format("{},{},{}", toNumberText(v.x), toNumberText(v.y), toNumberText(v.z));
        }
    };
    return std::visit(Writer(), value);
}

void describeProperties(const CN_LevelEntity& entity, FactSink& facts) {
    for (const EntityProperty& property : entityProperties())
        if (property.isOf(entity.getEntityId()))
            facts.word(property.name, toText(property.get(entity)));
    if (const auto* const light = dynamic_cast<const CN_LevelEntityRadiosityLight*>(&entity))
        facts.word("color alpha", std::to_string(light->getColor().alpha));
    if (const auto* const light = dynamic_cast<const CN_LevelEntityDynPointlight*>(&entity))
        facts.word("color alpha", toNumberText(light->getDynLightProperties().color.alpha));
}

std::string lightmapText(unsigned long id) { return id == NO_LIGHTMAP ? "none" : std::to_string(id); }

void describeMeshEntity(const CN_LevelEntity& entity, FactSink& facts) {
    if (const auto* const movable = dynamic_cast<const CN_MovableMesh*>(&entity))
        facts.flag("dynamic", movable->isDynamic());
    if (const auto* const mesh = dynamic_cast<const CN_Mesh*>(&entity)) {
        facts.word("polygons", std::to_string(mesh->getPolygonList().count()));
        facts.word("vertices", std::to_string(mesh->getVertexList().count()));
        facts.flag("faces flipped", mesh->areFacesFlipped());
    }
    if (const auto* const mesh = dynamic_cast<const CN_LevelEntityTriMesh*>(&entity)) {
        facts.word("triangles", std::to_string(mesh->getTriangles().size()));
        facts.word("vertices", std::to_string(mesh->getVertices().size()));
        facts.word("lightmap", lightmapText(mesh->getLightmapID()));
    }
    const auto* const lit = dynamic_cast<const CN_LevelEntityMesh*>(&entity);
    if (const CN_VolumeLighting* const lighting = lit ? lit->getVolumeLighting() : nullptr) {
        F_MemoryFile file;
        lighting->save(file);
        facts.bytes("volume lighting", fmt::format("{} grids", lighting->getGridCount()),
                    {static_cast<const char*>(file.getAddress()), file.getSize()});
    }
}

/// The polygons of its parent that an entity stands for.
void describePolygonsOf(const CN_LevelEntity& entity, const Identities& identities, FactSink& facts) {
    const auto* const mesh = dynamic_cast<const CN_Mesh*>(entity.getParent());
    if (!mesh)
        return;
    const CN_Polygon* polygon = nullptr;
    if (const auto* const portal = dynamic_cast<const CN_LevelEntityPortal*>(&entity))
        polygon = portal->getPortalPolygon();
    if (const auto* const light = dynamic_cast<const CN_LevelEntityRadiosityLight*>(&entity))
        polygon = light->getRadiosityPolygon();
    if (polygon)
        facts.keyed("polygon", identities.of(*polygon), std::to_string(mesh->getPolygonList().indexOf(polygon)));
    const auto* const group = dynamic_cast<const CN_LevelEntityPolygonGroup*>(&entity);
    if (!group)
        return;
    std::vector<int> places;
    std::vector<std::string> keys;
    for (const CN_Polygon* const member : group->getSet()) {
        places.push_back(mesh->getPolygonList().indexOf(member));
        keys.push_back(identities.of(*member));
    }
    std::sort(places.begin(), places.end());
    std::sort(keys.begin(), keys.end()); // not in the order of addresses
    std::string key;
    for (const std::string& each : keys)
        key.append(each).append(" ");
    facts.keyed("polygons", key, toRunsText(places));
}

void describeKeyframes(const CN_AnimationInterface& animated, FactSink& facts) {
    if (const CN_Keyframes* const keyframes = animated.getKeyframes())
        for (const CN_Keyframe* frame = keyframes->getFirst(); frame; frame = keyframes->getNext()) {
            const auto& [rows, t] = frame->getMatrix();
            const auto& [a, b, c] = rows.rows;
            facts.numbers(fmt::format("keyframe {}", view(*keyframes->getCurrentKey())),
                          {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z, t.x, t.y, t.z});
        }
}

void describeAnimations(const CN_AnimationInterface& animated, FactSink& facts) {
    const CN_MeshAnimations* const animations = animated.getAnimations();
    if (!animations)
        return;
    for (const CN_MeshAnimation* each = animations->getFirst(); each; each = animations->getNext()) {
        F_MemoryFile curves;
        curves << each->getPositionGraph() << each->getRotationGraph();
        facts.bytes(fmt::format("animation {}", view(*animations->getCurrentKey())),
                    fmt::format("{} to {}, length {}", view(each->getStartFrame()), view(each->getEndFrame()),
                                toNumberText(each->getLength())),
                    {static_cast<const char*>(curves.getAddress()), curves.getSize()});
    }
}

/// For entities that no other level is at hand for: what they refer to does not count, polygons do by their corners.
class NoIdentities : public Identities {
  public:
    std::string of(const CN_LevelEntity&) const override { return {}; }
    std::string of(const CN_Polygon& polygon) const override { return cornersKey(polygon); }
};

} // namespace

void describeSettings(const CN_LevelEntity& entity, const Identities& identities, FactSink& facts) {
    describeProperties(entity, facts);
    describeMeshEntity(entity, facts);
    describePolygonsOf(entity, identities, facts);
    facts.flag("state machine", entity.hasFSM());
    if (const auto* const animated = dynamic_cast<const CN_AnimationInterface*>(&entity))
        describeAnimations(*animated, facts);
}

void describePlace(const CN_LevelEntity& entity, FactSink& facts) {
    const Vector& p = entity.getPosition();
    facts.numbers("position", {p.x, p.y, p.z});
    const auto& [a, b, c] = entity.getRotation().rows;
    facts.numbers("rotation", {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z});
    if (const auto* const animated = dynamic_cast<const CN_AnimationInterface*>(&entity))
        describeKeyframes(*animated, facts);
}

std::uint64_t contentHash(const CN_LevelEntity& entity) {
    const NoIdentities identities;
    FactHash hash;
    describeSettings(entity, identities, hash);
    if (const E_FSM* const machine = entity.getFSM()) {
        describeMachine(*machine, hash);
        forEachMessageList(*machine, [&](const std::string& name, const E_FSM::MessageList& messages) {
            for (const E_FSM::Message& message : messages)
                hash.word(name, messageKey(message, identities));
        });
    }
    if (const auto* const mesh = dynamic_cast<const CN_Mesh*>(&entity))
        for (const CN_Polygon& polygon : mesh->getPolygonList())
            describePolygon(polygon, identities, hash);
    if (const auto* const mesh = dynamic_cast<const CN_LevelEntityTriMesh*>(&entity)) {
        for (const CN_TMVertex& vertex : mesh->getVertices())
            describeVertex(vertex, hash);
        for (const CN_TMTriangle& triangle : mesh->getTriangles())
            describeTriangle(triangle, hash);
    }
    return hash.get();
}

} // namespace cairn::host
