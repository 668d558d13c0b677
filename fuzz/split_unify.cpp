#include "cairn/foundation/exception.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/one_polygon.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

// Any polygon is cut by any plane into pieces that add up to it and become one again, or is refused; all questions of points,
// stretches and neighbours have an answer.
//
// The first byte tells how the others are read: as whole numbers on a small grid, or as any doubles. The plane comes first,
// then the corners of loops, of which a certain mark starts another one.

namespace {

using namespace cairn;
using Vector = M_Vector3Template<double>;
using Polygons = std::vector<CN_Polygon*>;

/// Numbers on a grid of 16, or any.
struct Bytes : fuzz::Bytes {
    using fuzz::Bytes::Bytes;
    double number(bool onGrid) { return onGrid ? next() % 16 : fuzz::Bytes::number(); }
    Vector vector(bool onGrid) {
        const double x = number(onGrid), y = number(onGrid);
        return {x, y, number(onGrid)};
    }
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

double areaOf(const Polygons& polygons) {
    double sum = 0;
    for (const CN_Polygon* const polygon : polygons)
        sum += CN_areaVector(*polygon).y;
    return sum;
}

void addLoops(Bytes& bytes, bool onGrid, CN_LevelEntityMesh& mesh, CN_Polygon& polygon) {
    int first = 0;
    const auto closeLoop = [&] {
        const int end = mesh.getVertexList().count();
        for (int i = first; i < end; ++i)
            polygon.addEdge(i, i + 1 < end ? i + 1 : first, false);
        first = end;
    };
    while (!bytes.empty() && mesh.getVertexList().count() < 100) {
        if (bytes.next() == 0xFF)
            closeLoop();
        const double x = bytes.number(onGrid);
        mesh.addVertex({x, 0, bytes.number(onGrid)});
    }
    closeLoop();
    polygon.setWorldNormal(polygon.getNormal());
    polygon.updatePointOnPlane();
}

void ask(const Polygons& polygons, const Vector& from, const Vector& to) {
    for (CN_Polygon* const polygon : polygons) {
        polygon->triangulize(true);
        polygon->buildBoundingBox(true);
        // What lies inside lies there or on the outline.
        require(!polygon->pointInPoly(polygon->getPointOnPlane(), true) ||
                polygon->vertexIsInPolygon(&polygon->getPointOnPlane()) || !polygon->getPointOnPlane().isFinite() ||
                std::fabs(polygon->distLocal(polygon->getEdgeList().first()->getLocal(0))) > 5e-5);
        polygon->vertexIsInPolygon(&from);
        polygon->pointSkinsPolygon(from);
        polygon->rangeIntersects(from, to - from);
        Vector a, b;
        for (const CN_Triangle& piece : polygon->getTriangleList())
            piece.intersectEdge(a, b, from, to, 0.001);
        for (const CN_Polygon* const other : polygons) {
            polygon->polygonIntersects(other);
            polygon->sharesEdges(other);
            polygon->neighbor(other);
            polygon->canUnify(other);
        }
    }
}

/// Polygons of sound loops that cover what the polygon covers.
Polygons cleaned(CN_LevelEntityMesh& mesh, CN_Polygon& polygon) {
    CN_Polygon carrier(&mesh), nothing(&mesh);
    nothing.setNormal({0, 1, 0});
    return carrier.buildFrom(&polygon, &nothing);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::OnePolygon level;
    CN_LevelEntityMesh& mesh = *level.mesh;
    Bytes bytes(data, size);
    const bool onGrid = bytes.next() % 2 == 0;
    const Vector shift = onGrid ? Vector(8, 8, 8) : Vector();
    const Vector normal = (bytes.vector(onGrid) - shift).normalized(), point = bytes.vector(onGrid);
    try {
        addLoops(bytes, onGrid, mesh, *level.polygon);
        const Polygons sources = cleaned(mesh, *level.polygon);
        for (CN_Polygon* const source : sources) {
            Polygons behind, front;
            source->split({normal, point}, &mesh, &behind, &front, false);
            Polygons pieces = behind;
            pieces.insert(pieces.end(), front.begin(), front.end());
            // Corners that lie within 1e-5 of each other or of a line are merged, of at most 100 edges in a square of 16 x 16.
            constexpr double MERGED = 0.05;
            // Loops of outlines that covered themselves several times may run over each other still: they have no area to
            // compare with.
            source->triangulize(true);
            const double area = areaOf({source});
            const bool isComparable = onGrid && std::fabs(source->calcArea() - area) < MERGED;
            if (isComparable && !pieces.empty())
                require(std::fabs(areaOf(pieces) - area) < MERGED);
            if (behind.size() == 1 && front.size() == 1) {
                CN_Polygon carrier(&mesh);
                const Polygons united = carrier.buildFrom(behind[0], front[0]);
                require(!isComparable || std::fabs(areaOf(united) - areaOf(pieces)) < MERGED);
            }
            ask(pieces, point, source->getPointOnPlane());
        }
        ask(sources, point, {1, 0, 1});
        mesh.findNeighbors();
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
    }
    return 0;
}
