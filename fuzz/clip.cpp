#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/platform/handlers.h"
#include "fuzz/support/one_polygon.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

// Any two areas clip: what they share and what is left of the first add up to the first, and the result becomes polygons.
//
// The first byte tells how the others are read: as whole numbers on a small grid, or as any doubles.

namespace {

using namespace cairn;

double areaOf(const gpc_polygon& polygon) {
    double twice = 0;
    for (int c = 0; c < polygon.num_contours; ++c) {
        const gpc_vertex_list& contour = polygon.contour[c];
        for (int i = 0; i < contour.num_vertices; ++i) {
            const gpc_vertex &a = contour.vertex[i], &b = contour.vertex[i + 1 < contour.num_vertices ? i + 1 : 0];
            twice -= a.x * b.y - a.y * b.x;
        }
    }
    return twice / 2;
}

void writePolygons(const gpc_polygon& contours) {
    fuzz::OnePolygon source;
    CN_2DPolygon planar(source.polygon, 1e-5);
    planar.createFrom(&contours);
    CN_2DPolygon again = planar;
    again.connectLassos2();
    planar.triangulate();
    for (CN_Polygon* const polygon : planar.outputPolygons(source.mesh, 0, true)) {
        if (polygon->numVertices() != polygon->getEdgeList().count())
            std::abort();
        polygon->triangulize(false);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const bool onGrid = data[0] % 2 == 0;
    const std::size_t step = onGrid ? 2 : 2 * sizeof(double);
    gpc_polygon operands[2];
    std::vector<gpc_vertex> corners;
    int operand = 0;
    const auto addContour = [&] {
        const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
        gpc_add_contour(&operands[operand], &contour, operands[operand].num_contours % 2);
        corners.clear();
    };
    for (std::size_t at = 1; at + step < size && at < 4000; at += step + 1) {
        if (data[at] == 0xFF || data[at] == 0xFE)
            addContour();
        if (data[at] == 0xFE)
            operand = 1;
        gpc_vertex corner{};
        if (onGrid)
            corner = {data[at + 1] % 16 / 4.0, data[at + 2] % 16 / 4.0};
        else
            std::memcpy(&corner, data + at + 1, sizeof corner);
        corners.push_back(corner);
    }
    addContour();

    gpc_polygon whole, shared, rest, either;
    const gpc_polygon none;
    gpc_polygon_clip(GPC_UNION, &operands[0], &none, &whole);
    gpc_polygon_clip(GPC_INT, &operands[0], &operands[1], &shared);
    gpc_polygon_clip(GPC_DIFF, &operands[0], &operands[1], &rest);
    gpc_polygon_clip(GPC_UNION, &operands[0], &operands[1], &either);
    // On the grid the extent is at most 4, and cut points are as good as exact.
    if (onGrid && std::fabs(areaOf(whole) - areaOf(shared) - areaOf(rest)) > 1e-9)
        std::abort();
    writePolygons(shared);
    writePolygons(either);
    return 0;
}
