#include "cairn/animation/keyframes.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/trigger.h"
#include "host/entity_text.h"
#include "host/property_rows.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn::host {

namespace {

constexpr KindSet MESHES = kindSet({CN_KIND_MESH, CN_KIND_TRIMESH});
constexpr KindSet TRIGGERS = kindSet({CN_KIND_MESH, CN_KIND_TRIGGER});

std::string named(const CN_LevelEntity& entity) { return toShownText(qualifiedName(entity)); }

/// A row of a mesh's settings.
template <auto Field> constexpr EntityProperty setting(RowText text) {
    text.kinds = MESHES;
    return field<CN_MovableMesh, &CN_MovableMesh::getMeshProperties, &CN_MovableMesh::setMeshProperties, Field>(text);
}

/// A load makes every mesh with exits collide.
std::string refuseOffWithExits(const CN_LevelEntity& entity, const PropertyValue& value) {
    const auto* const mesh = dynamic_cast<const CN_Mesh*>(&entity);
    if (!mesh || std::get<bool>(value))
        return {};
    const auto& polygons = mesh->getPolygonList();
    const bool hasExit = std::any_of(polygons.begin(), polygons.end(),
                                     [](const CN_Polygon& polygon) { return polygon.isExitPolygon(); });
    return hasExit ? fmt::format("\"{}\" has exits: it always collides", named(entity)) : "";
}

/// A load takes the material of a mesh that stands still away.
std::string refuseForStatic(const CN_LevelEntity& entity, const PropertyValue&) {
    return as<CN_MovableMesh>(entity).isDynamic() ? "" : fmt::format("\"{}\" is not dynamic", named(entity));
}

std::string refuseUnknownKeyframe(const CN_LevelEntity& entity, const PropertyValue& value) {
    const auto& mesh = as<CN_MovableMesh>(entity);
    const std::string& name = std::get<std::string>(value);
    if (!mesh.isDynamic() || !mesh.getKeyframes())
        return refuseForStatic(entity, value);
    return mesh.getKeyframes()->find(string(name))
               ? ""
               : fmt::format("\"{}\" has no keyframe \"{}\"", named(entity), toShownText(name));
}

/// The settings of a trigger of either kind, null for a mesh that is none.
const CN_TriggerProperties* triggerOf(const CN_LevelEntity& entity) {
    const auto* const trigger = dynamic_cast<const CN_LevelEntityTrigger*>(&entity);
    return trigger ? &trigger->getTriggerProperties() : as<CN_Mesh>(entity).getTriggerProperties();
}

std::string refuseForNoTrigger(const CN_LevelEntity& entity, const PropertyValue&) {
    return triggerOf(entity) ? ""
                             : fmt::format("\"{}\" is no trigger; the property trigger makes it one", named(entity));
}

/// A row of a trigger's settings. A mesh that is none has the values it would start with.
template <auto Field> constexpr EntityProperty triggerSetting(RowText text) {
    using T = std::decay_t<std::invoke_result_t<decltype(Field), const CN_TriggerProperties&>>;
    text.kinds = TRIGGERS;
    text.refuse = refuseForNoTrigger;
    return row<T>(
        text,
        [](const CN_LevelEntity& entity) {
            const CN_TriggerProperties* const properties = triggerOf(entity);
            return toValue<T>((properties ? *properties : CN_TriggerProperties()).*Field);
        },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            CN_TriggerProperties properties = *triggerOf(entity);
            assign(properties.*Field, value);
            if (auto* const trigger = dynamic_cast<CN_LevelEntityTrigger*>(&entity))
                trigger->setTriggerProperties(properties);
            else
                as<CN_Mesh>(entity).setTriggerProperties(&properties);
        });
}

/// A mesh that is a trigger has a machine that hears of it. One that is none any more keeps what it has.
void setTrigger(CN_LevelEntity& entity, const PropertyValue& value) {
    auto& mesh = as<CN_Mesh>(entity);
    if (mesh.isTrigger() == std::get<bool>(value))
        return;
    const CN_TriggerProperties fresh;
    mesh.setTriggerProperties(mesh.isTrigger() ? nullptr : &fresh);
    if (mesh.isTrigger())
        mesh.createFSM();
}

using P = CN_MeshProperties;
using T = CN_TriggerProperties;
using M = CN_MovableMesh;

constexpr EntityProperty ROWS[] = {
    setting<&P::lightDynamic>({.name = "light-dynamic", .help = "lit although it is dynamic"}),
    setting<&P::collideA>(
        {.name = "collide-a", .help = "kind of collision; on with exits", .refuse = refuseOffWithExits}),
    setting<&P::collideB>({.name = "collide-b", .help = "as collide-a", .refuse = refuseOffWithExits}),
    setting<&P::collideC>({.name = "collide-c", .help = "as collide-a", .refuse = refuseOffWithExits}),
    row<bool>(
        {"bounding-box-hull", MESHES, "the game collides with its box alone, where it is no room nor below a mesh"},
        [](const CN_LevelEntity& entity) {
            return toValue(as<M>(entity).getMeshProperties().getBoundingBoxHull(nullptr));
        },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            as<M>(entity).accessMeshProperties().setBoundingBoxHull(std::get<bool>(value));
        }),
    setting<&P::physicalMaterial>(
        {.name = "physical-material",
         .help = "content name; of dynamic meshes; empty for the default",
         .refuse = refuseForStatic,
         .follow = [](CN_LevelEntity& entity) { as<M>(entity).accessMeshProperties().setAndCheckPhysicalMaterial(); }}),
    setting<&P::secondaryName>({.name = "secondary-name", .help = "for the game"}),
    setting<&P::meshFlagA>({.name = "mesh-flag-a", .help = "for the game, as those below"}),
    setting<&P::meshFlagB>({.name = "mesh-flag-b"}),
    setting<&P::meshFlagC>({.name = "mesh-flag-c"}),
    setting<&P::meshFlagD>({.name = "mesh-flag-d"}),
    setting<&P::meshFlagE>({.name = "mesh-flag-e"}),
    setting<&P::meshFlagF>({.name = "mesh-flag-f"}),
    setting<&P::meshFlagG>({.name = "mesh-flag-g"}),
    setting<&P::meshFlagH>({.name = "mesh-flag-h"}),
    setting<&P::meshFlagI>({.name = "mesh-flag-i"}),
    accessed<M, &M::getCurrentKeyframe, &M::gotoKeyframe>(
        {"keyframe", MESHES, "puts a dynamic mesh there", {}, refuseUnknownKeyframe}),
    accessed<M, &M::getDefaultKeyframe, &M::setDefaultKeyframe>(
        {"default-keyframe", MESHES, "where a dynamic mesh rests", {}, refuseUnknownKeyframe}),
    accessed<M, &M::getLightingKeyframe, &M::setLightingKeyframe>(
        {"lighting-keyframe", MESHES, "where a dynamic mesh is lit", {}, refuseUnknownKeyframe}),
    accessed<CN_LevelEntityTriMesh, &CN_LevelEntityTriMesh::getSourceObjectName,
             &CN_LevelEntityTriMesh::setSourceObjectName>(
        {"source-object", kindSet({CN_KIND_TRIMESH}), "object that it was in the modelling tool"}),
    accessed<CN_LevelEntityTriMesh, &CN_LevelEntityTriMesh::getSourceFileName,
             &CN_LevelEntityTriMesh::setSourceFileName>(
        {"source-file", kindSet({CN_KIND_TRIMESH}), "file that it came from"}),
    row<bool>(
        {"trigger", kindSet({CN_KIND_MESH}), "sets off its state machine, as the settings below say"},
        [](const CN_LevelEntity& entity) { return toValue(as<CN_Mesh>(entity).isTrigger()); }, setTrigger),
    triggerSetting<&T::playerTrigger>({.name = "player-trigger", .help = "the player sets it off"}),
    triggerSetting<&T::useTrigger>({.name = "use-trigger", .help = "being used sets it off"}),
    triggerSetting<&T::enemyTrigger>({.name = "enemy-trigger", .help = "enemies set it off"}),
    triggerSetting<&T::bulletTrigger>({.name = "bullet-trigger", .help = "shots set it off"}),
    triggerSetting<&T::lookAtTrigger>({.name = "look-at-trigger", .help = "being looked at sets it off"}),
    triggerSetting<&T::visibilityTrigger>({.name = "visibility-trigger", .help = "being seen sets it off"}),
    triggerSetting<&T::animationName>({.name = "use-animation", .help = "content name; Default for the usual one"}),
};

} // namespace

std::span<const EntityProperty> meshProperties() { return ROWS; }

} // namespace cairn::host
