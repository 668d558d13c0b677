#include "tests/support/naive_upkeep.h"

#include <limits>

namespace cairn::test {

namespace {

using Vector = M_Vector3Template<double>;

bool mergeFirst(CN_Polygon& polygon, F_DLListInit<CN_Triangle>& pieces) {
    for (CN_Triangle* t = pieces.first(); t; t = pieces.next(t))
        for (CN_Triangle* u = pieces.first(); u; u = pieces.next(u))
            if (t != u && t->formsConvexRegion(*u) && t->area() + u->area() > 0) {
                CN_Triangle& made = pieces.addNew();
                made.setParent(&polygon);
                made.unify(*t, *u);
                pieces.remove(t);
                pieces.remove(u);
                return true;
            }
    return false;
}

double distanceFromLine(const Vector& p, const Vector& a, const Vector& b) {
    return (p - a).cross(b - a).length() / (b - a).length();
}

/// The first corner of another polygon on the edge: how far along, or infinity.
double firstCorner(const CN_Polygon& polygon, const CN_Edge& edge, double tolerance, bool useBoundingBoxes) {
    const Vector start = edge.getLocal(0), end = edge.getLocal(1), unit = (end - start).normalized();
    const double length = (end - start).length();
    double nearest = std::numeric_limits<double>::infinity();
    for (const CN_Polygon& other : polygon.getParent()->getPolygonList()) {
        if (&other == &polygon || (useBoundingBoxes && !polygon.bbIntersect(&other)))
            continue;
        for (const CN_Edge& theirs : other.getEdgeList()) {
            const Vector& corner = theirs.getLocal(0);
            const double d = (corner - start).dot(unit);
            if (distanceFromLine(corner, start, end) < tolerance && d > 2 * tolerance && d < length - 2 * tolerance &&
                d < nearest)
                nearest = d;
        }
    }
    return nearest;
}

} // namespace

std::vector<std::vector<int>> naiveConvexPieces(const CN_Polygon& polygon) {
    F_DLListInit<CN_Triangle> pieces = polygon.getTriangleList();
    while (mergeFirst(const_cast<CN_Polygon&>(polygon), pieces)) {
    }
    std::vector<std::vector<int>> corners;
    for (const CN_Triangle& piece : pieces)
        corners.push_back(piece.getVertices());
    return corners;
}

void naiveTJunctions(CN_Polygon& polygon, double tolerance, bool useBoundingBoxes) {
    CN_Mesh& mesh = *polygon.accessParent();
    polygon.optimizeRedundantVertices();
    bool anyInserted = false;
    for (CN_Edge* edge = polygon.accessEdgeList().first(); edge;) {
        const double d = firstCorner(polygon, *edge, tolerance, useBoundingBoxes);
        if (d == std::numeric_limits<double>::infinity()) {
            edge = polygon.accessEdgeList().next(edge);
            continue;
        }
        const Vector point = edge->getLocal(0) + edge->dir().normalized() * d;
        const int made = mesh.getVertexList().count();
        mesh.addVertex()->local = point;
        polygon.accessEdgeList().emplaceBefore(edge, edge->index(0), made).setParent(&polygon);
        edge->index(0) = made;
        anyInserted = true;
    }
    if (!anyInserted)
        return;
    mesh.handleOwnHierarchy();
    polygon.triangulize(true);
    polygon.calculateUVCoordinates();
    mesh.invalidateObject(true);
}

void naiveTJunctions(CN_Mesh& mesh, double tolerance) {
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        polygon.buildBoundingBox(true);
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        naiveTJunctions(polygon, tolerance, true);
}

std::vector<int> naiveSharedEdgeList(const CN_Polygon& polygon) {
    std::vector<int> found;
    int place = 0;
    Vector point, vector;
    for (const CN_Polygon& other : polygon.getParent()->getPolygonList()) {
        if (&other != &polygon && polygon.bbIntersect(&other) && other.findCommonEdgeSegment(&polygon, point, vector))
            found.push_back(place);
        ++place;
    }
    return found;
}

} // namespace cairn::test
