#pragma once

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_move.h"

#include <gtest/gtest.h>

#include <vector>

namespace cairn::test {

/// A plane move of a polygon by its place in the mesh.
struct Move {
    int polygon;
    double distance, minEdgeLength;
    bool rotating;
    M_Matrix3Template<double> matrix;
    M_Vector3Template<double> center;
};

/// In the mesh's list.
inline std::vector<int> placesOf(const CN_Mesh& mesh, const F_DLList<CN_Polygon*>& polygons) {
    std::vector<int> places;
    for (const CN_Polygon* const polygon : polygons)
        places.push_back(mesh.findPolygonIndex(polygon));
    return places;
}

/// That no bit of plane, texture and triangulation differs.
inline void expectSame(const CN_Polygon& a, const CN_Polygon& b) {
    EXPECT_EQ(a.getNormal(), b.getNormal());
    EXPECT_EQ(a.getPointOnPlane(), b.getPointOnPlane());
    EXPECT_EQ(a.getUVSpaces().size(), b.getUVSpaces().size());
    for (const int key : {0, 1, 2}) {
        EXPECT_EQ(a.getUVSpace(key).getMatrix(), b.getUVSpace(key).getMatrix());
        EXPECT_EQ(a.getUVSpace(key).getPoint(), b.getUVSpace(key).getPoint());
        EXPECT_EQ(a.getUVSpace(key).getOffset(), b.getUVSpace(key).getOffset());
    }
    EXPECT_EQ(a.isUVDirty(), b.isUVDirty());
    EXPECT_EQ(a.isUVCalculated(), b.isUVCalculated());
    EXPECT_EQ(a.isMappingDirty(), b.isMappingDirty());
    ASSERT_EQ(a.getTriangleList().count(), b.getTriangleList().count());
    const CN_Triangle* theirs = b.getTriangleList().first();
    for (const CN_Triangle& piece : a.getTriangleList()) {
        EXPECT_EQ(piece.getVertices(), theirs->getVertices());
        EXPECT_EQ(piece.getUV(), theirs->getUV());
        EXPECT_EQ(piece.getLightmapUV(), theirs->getLightmapUV());
        theirs = b.getTriangleList().next(theirs);
    }
}

inline void expectSame(const CN_Mesh& a, const CN_Mesh& b) {
    ASSERT_EQ(a.getVertexList().count(), b.getVertexList().count());
    for (int i = 0; i < a.getVertexList().count(); ++i)
        EXPECT_EQ(a.getVertexList()[i].local, b.getVertexList()[i].local) << i;
    EXPECT_EQ(a.isGeometryDirty(), b.isGeometryDirty());
    EXPECT_EQ(a.isBSPDirty(), b.isBSPDirty());
    EXPECT_EQ(a.isUVDirty(), b.isUVDirty());
    EXPECT_EQ(a.isMappingDirty(), b.isMappingDirty());
    for (int i = 0; i < a.getPolygonList().count(); ++i) {
        SCOPED_TRACE(i);
        expectSame(a.getPolygonList()[i], b.getPolygonList()[i]);
    }
}

inline CN_PlaneMoveRefusal apply(CN_Mesh& mesh, const Move& move) {
    return mesh.tryMovePolygonPlane(&mesh.accessPolygonList()[move.polygon], move.distance, move.minEdgeLength,
                                    move.rotating, move.matrix, move.center);
}

} // namespace cairn::test
