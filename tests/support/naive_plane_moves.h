#pragma once

#include "cairn/geometry/mesh/mesh.h"

namespace cairn::test {

/// `CN_Mesh::movePolygonPlaneWorker` as it is told, by walks of lists: false, and vertices and planes are as they were, where
/// the move is refused. For finite numbers, a polygon of the mesh, and world places that are current.
bool naivePlaneMove(CN_Mesh& mesh, CN_Polygon* polygon, double distance, double minEdgeLength, bool rotating,
                    const M_Matrix3Template<double>& matrix, M_Vector3Template<double> center);

} // namespace cairn::test
