#include "cairn/document/document.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/vol_lighting_box.h"
#include "host/property_rows.h"

namespace cairn::host {

namespace {

constexpr KindSet ENEMY = kindSet({CN_KIND_ENEMY}), PREFAB = kindSet({CN_KIND_PREFAB}),
                  POINT_LIGHT = kindSet({CN_KIND_DYN_POINTLIGHT}), POLYGON_LIGHT = kindSet({CN_KIND_RADIOSITY_LIGHT}),
                  PORTAL = kindSet({CN_KIND_PORTAL}), GROUP = kindSet({CN_KIND_POLYGON_GROUP}),
                  BOX = kindSet({CN_KIND_VOL_LIGHTING_BOX});
/// The spheres whose records hold the radius, and those whose records hold the content name.
constexpr KindSet SIZED =
    kindSet({CN_KIND_TRIGGER, CN_KIND_ENEMY, CN_KIND_DYN_POINTLIGHT, CN_KIND_FLARE, CN_KIND_PREFAB});
constexpr KindSet OF_CONTENT =
    kindSet({CN_KIND_TRIGGER, CN_KIND_ENEMY, CN_KIND_DYN_POINTLIGHT, CN_KIND_FLARE, CN_KIND_ITEM});

/// The document counts the enemies of the groups that it knows.
void setGroup(CN_LevelEntity& entity, const PropertyValue& value) {
    const istring group = toIString(std::get<std::string>(value));
    entity.getDocument()->accessAICharacterGroups().emplace(group, 0);
    as<CN_LevelEntityEnemy>(entity).setGroup(group);
}

/// A row of a point light's settings.
template <auto Field> constexpr EntityProperty pointLight(RowText text) {
    using Light = CN_LevelEntityDynPointlight;
    text.kinds = POINT_LIGHT;
    return field<Light, &Light::getDynLightProperties, &Light::setDynLightProperties, Field>(text);
}

constexpr EntityProperty SPHERES[] = {
    accessed<CN_UISphereEntity, &CN_UISphereEntity::getRadius, &CN_UISphereEntity::setRadius>(
        {"radius", SIZED, "of the sphere", NOT_NEGATIVE}),
    row<string>(
        {"content", OF_CONTENT, "content name: item, flare, skin of an enemy"},
        [](const CN_LevelEntity& entity) { return toValue(as<CN_UISphereEntity>(entity).getSharedDBName()); },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            as<CN_UISphereEntity>(entity).setSharedDBName(string(std::get<std::string>(value)), true);
        }),
    row<istring>(
        {"group", ENEMY, "characters that messages address together; empty for none"},
        [](const CN_LevelEntity& entity) { return toValue(as<CN_LevelEntityEnemy>(entity).getGroup()); }, setGroup),
    accessed<CN_LevelEntityEnemy, &CN_LevelEntityEnemy::getCustomAnimationName,
             &CN_LevelEntityEnemy::setCustomAnimationName>(
        {"use-animation", ENEMY, "content name; Default for the usual one"}),
    pointLight<&CN_DynPointlightProperties::color>({.name = "color", .help = "of the light", .range = NOT_NEGATIVE}),
    pointLight<&CN_DynPointlightProperties::intensity>({.name = "intensity", .help = "factor on the colour"}),
    pointLight<&CN_DynPointlightProperties::falloff>(
        {.name = "falloff", .help = "distance at which the light ends", .range = NOT_NEGATIVE}),
    accessed<CN_LevelEntityPrefab, &CN_LevelEntityPrefab::isEditable, &CN_LevelEntityPrefab::setEditable>(
        {"editable", PREFAB, "its content may be changed"}),
    accessed<CN_LevelEntityPrefab, &CN_LevelEntityPrefab::getPrefabType, &CN_LevelEntityPrefab::setPrefabType>(
        {"prefab-type", PREFAB, "name of what it was made from"}),
};

constexpr ValueRange CONE = {0, 180}; // degrees

/// A row of a polygon's light.
template <auto Field> constexpr EntityProperty polygonLight(RowText text) {
    using Light = CN_LevelEntityRadiosityLight;
    text.kinds = POLYGON_LIGHT;
    return field<Light, &Light::getRLightProperties, &Light::setRLightProperties, Field>(text);
}

/// A load takes two angles of 0 for those of a record without them. Numbers are compared as the record has them.
template <float (CN_LevelEntityRadiosityLight::*Other)() const>
std::string refuseNoCone(const CN_LevelEntity& entity, const PropertyValue& value) {
    const bool none =
        static_cast<float>(std::get<double>(value)) == 0 && (as<CN_LevelEntityRadiosityLight>(entity).*Other)() == 0;
    return none ? "one of the angles must be above 0" : "";
}

/// A row of a group's settings.
template <auto Field> constexpr EntityProperty group(RowText text) {
    using Group = CN_LevelEntityPolygonGroup;
    text.kinds = GROUP;
    return field<Group, &Group::getPolygroupProperties, &Group::setPolygroupProperties, Field>(text);
}

/// The mesh of a group shades anew.
void shadeMesh(CN_LevelEntity& entity) {
    if (CN_LevelEntity* const mesh = entity.getParent())
        mesh->invalidateObject(true);
}

void renewBox(CN_LevelEntity& entity) {
    as<CN_LevelEntityVolLightingBox>(entity).calculateBoundingBox();
    entity.invalidateObject(true);
}

using R = CN_RLightProperties;
using G = CN_PolygroupProperties;
using Portal = CN_LevelEntityPortal;
using Box = CN_LevelEntityVolLightingBox;

constexpr EntityProperty REGIONS[] = {
    polygonLight<&R::color>({.name = "color", .help = "of the light"}),
    polygonLight<&R::intensity>({.name = "intensity", .help = "of the light"}),
    polygonLight<&R::hotspotAngle>({.name = "hotspot-angle",
                                    .help = "degrees of full light; 0 only where falloff-angle is not",
                                    .range = CONE,
                                    .refuse = refuseNoCone<&CN_LevelEntityRadiosityLight::getFalloffAngle>}),
    polygonLight<&R::falloffAngle>({.name = "falloff-angle",
                                    .help = "degrees beyond which there is no light",
                                    .range = CONE,
                                    .refuse = refuseNoCone<&CN_LevelEntityRadiosityLight::getHotspotAngle>}),
    accessed<Portal, &Portal::isIgnoredInGIS, &Portal::setIgnoreInGIS>({"ignored-in-gis", PORTAL, "for the game"}),
    accessed<Portal, &Portal::isAlwaysClosed, &Portal::setAlwaysClosed>({"always-closed", PORTAL, "for the game"}),
    group<&G::smooth>({.name = "smooth", .help = "shaded as one surface", .follow = shadeMesh}),
    group<&G::smoothGeometry>({.name = "smooth-geometry", .help = "the same for geometry", .follow = shadeMesh}),
    group<&G::maxAngle>({.name = "max-angle", .help = "of smooth geometry", .range = NOT_NEGATIVE}),
    group<&G::edgeLengthLimit>({.name = "edge-length-limit", .help = "of smooth geometry", .range = NOT_NEGATIVE}),
    group<&G::freezeLightmaps>({.name = "freeze-lightmaps", .help = "the polygons keep their lightmaps"}),
    group<&G::extraFlag>({.name = "extra-flag", .help = "for the game"}),
    accessed<Box, &Box::getSize, &Box::setSize>(
        {"size", BOX, "whole lengths along its axes", NOT_NEGATIVE, nullptr, renewBox}),
    accessed<Box, &Box::getResolution, &Box::setResolution>({"resolution", BOX, "of the samples", {1}}),
};

} // namespace

std::span<const EntityProperty> sphereProperties() { return SPHERES; }
std::span<const EntityProperty> regionProperties() { return REGIONS; }

} // namespace cairn::host
