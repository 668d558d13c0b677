#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

void CN_Mesh::triangulizeAll(bool convexify) {
    for (CN_Polygon& polygon : m_polygonList)
        polygon.triangulize(convexify);
}

void CN_Mesh::flipFaces() {
    for (CN_Polygon& polygon : m_polygonList)
        polygon.flip(true);
    handleOwnHierarchy();
    invalidateObject(true);
    m_facesFlipped = !m_facesFlipped;
    setGeometryDirty();
}

} // namespace cairn
