#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// Which kinds of entities the kinds hold, where several hold the same. `onCanAdd` of each kind asks here.
///
/// | parent                                         | children                  |
/// |------------------------------------------------|---------------------------|
/// | level                                          | 100, 104..111, 116..120   |
/// | mesh                                           | 100, 104..114, 117..120   |
/// | enemy, FSM, item, prefab, trigger, triangle mesh | 100, 104..111, 117..119 |
/// | prefab content                                 | 100, 105..111, 117..119   |
/// | volume lighting box                            | 120                       |
/// | all others                                     | none                      |
///
/// No kind holds a prefab content: it comes to its prefab another way.

/// The kinds that stand nearly everywhere, a prefab among them only with `prefabs`.
constexpr bool CN_isOrdinaryChild(int id, bool prefabs = true) {
    const int first = prefabs ? CN_KIND_PREFAB : CN_KIND_FSM;
    return id == CN_KIND_MESH || (id >= first && id <= CN_KIND_DYN_POINTLIGHT) ||
           (id >= CN_KIND_TRIMESH && id <= CN_KIND_FLARE);
}

constexpr bool CN_isChildOfMesh(int id) {
    return CN_isOrdinaryChild(id) || (id >= CN_KIND_POLYGON_GROUP && id <= CN_KIND_PORTAL) ||
           id == CN_KIND_VOL_LIGHTING_BOX;
}

constexpr bool CN_isChildOfLevel(int id) {
    return CN_isOrdinaryChild(id) || id == CN_KIND_PLAYER || id == CN_KIND_VOL_LIGHTING_BOX;
}

} // namespace cairn
