#pragma once

#include "cairn/geometry/mesh/mesh.h"

namespace cairn::test {

/// Adds `count` triangles side by side on the floor, each with corners of its own, and gives the first.
inline CN_Polygon* addTriangles(CN_Mesh& mesh, int count) {
    CN_Polygon* first = nullptr;
    for (int i = 0; i < count; ++i) {
        CN_Polygon* const polygon = mesh.addPolygon();
        const double x = i;
        for (const M_Vector3Template<double>& corner : {M_Vector3Template<double>(x, 0, 0), {x, 0, 1}, {x + 1, 0, 0}})
            polygon->addVertex(corner);
        polygon->constructEdges();
        polygon->setNormal({0, 1, 0});
        polygon->setReferenceNormal({0, 1, 0});
        polygon->updatePointOnPlane();
        first = first ? first : polygon;
    }
    return first;
}

} // namespace cairn::test
