#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/polygon/polygon.h"

namespace cairn {

void CN_Polygon::create_gpc_polygon(gpc_polygon* out, const PlanarSpace& space) {
    gpc_free_polygon(out);
    for (const Lasso& loop : getLassos()) {
        std::vector<gpc_vertex> corners;
        corners.reserve(loop.size());
        for (const CN_Edge* const edge : loop) {
            const M_Vector2Template<double> point = space.toUV(edge->getLocal(0));
            corners.push_back({point.x, point.y});
        }
        const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
        gpc_add_contour(out, &contour, out->num_contours > 0);
    }
}

} // namespace cairn
