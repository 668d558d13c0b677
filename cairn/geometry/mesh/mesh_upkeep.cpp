#include "cairn/document/change_scope.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

void CN_Mesh::triangulizeAll(bool convexify) {
    const CN_ChangeScope change(getDocument()); // a polygon that fails has no triangles
    for (CN_Polygon& polygon : m_polygonList)
        polygon.triangulize(convexify);
}

void CN_Mesh::flipFaces() {
    const CN_ChangeScope change(getDocument());
    // All are turned before one is triangulated, which may throw.
    for (CN_Polygon& polygon : m_polygonList)
        polygon.flip(false);
    const auto finish = [this] {
        handleOwnHierarchy();
        invalidateObject(true);
        m_facesFlipped = !m_facesFlipped;
        setGeometryDirty();
    };
    try {
        for (CN_Polygon& polygon : m_polygonList) {
            polygon.accessTriangleList().clear();
            polygon.triangulize(true);
        }
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

} // namespace cairn
