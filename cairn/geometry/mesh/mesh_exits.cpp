#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>

namespace cairn {

bool CN_Mesh::hasExits() const {
    return std::any_of(m_polygonList.begin(), m_polygonList.end(), [this](const CN_Polygon& polygon) {
        return polygon.isExitPolygon() && polygon.getExitDestinationMesh() != this;
    });
}

std::vector<const CN_Polygon*> CN_Mesh::getExitList() const {
    std::vector<const CN_Polygon*> exits;
    for (const CN_Polygon& polygon : m_polygonList)
        if (polygon.isExitPolygon())
            exits.push_back(&polygon);
    return exits;
}

const CN_Polygon* CN_Mesh::findExit(const istring& name) const {
    for (const CN_Polygon& polygon : m_polygonList)
        if (polygon.isExitPolygon() && polygon.getExitName() == name)
            return &polygon;
    return nullptr;
}

CN_Polygon* CN_Mesh::findExit(const istring& name) {
    return const_cast<CN_Polygon*>(static_cast<const CN_Mesh*>(this)->findExit(name));
}

} // namespace cairn
