#include "cairn/geometry/planar/planar_picture.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/platform/handlers.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/one_polygon.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

// Any outline triangulates to triangles that end at its edges and cover no more than it encloses, or to none, and leaves the
// mesh usable.
//
// The first byte tells how the others are read: as corners of small whole numbers, of small numbers with a shift of scale, or
// of any doubles; a corner with a certain mark starts another loop.

namespace {

using namespace cairn;

/// Numbers on a grid of 16, small ones of any scale, or any.
struct Bytes : fuzz::Bytes {
    using fuzz::Bytes::Bytes;
    double number(int kind) {
        if (kind == 0)
            return next() % 16;
        if (kind == 1) {
            const int digit = next() % 4;
            return std::ldexp(digit, -(next() % 64));
        }
        return fuzz::Bytes::number();
    }
};

/// Holds the triangles of a planar polygon against its edges, in coordinates of at most 1.
class Cover {
  public:
    explicit Cover(const CN_2DPolygon& planar) : m_planar(planar), m_points(planar.getVertices()) {
        double extent = 0;
        for (const Point& p : m_points)
            extent = std::max({extent, std::fabs(p.x), std::fabs(p.y)});
        if (extent > 0 && std::isfinite(extent))
            for (Point& p : m_points)
                p = {std::scalbn(p.x, -std::ilogb(extent) - 1), std::scalbn(p.y, -std::ilogb(extent) - 1)};
        for (const CN_2DEdge& edge : planar.getEdges())
            m_edges.emplace(edge.index(0), edge.index(1));
    }

    void check() {
        const std::vector<int>& corners = m_planar.getTriangles();
        double area = 0;
        for (std::size_t i = 0; i < corners.size(); i += 3) {
            const double right = rightArea(corners[i], corners[i + 1], corners[i + 2]);
            require(right >= -ROUNDING); // runs as the edges do
            area += right;
            for (std::size_t k = 0; k < 3; ++k) // no two overlap along a side
                require(m_sides.emplace(corners[i + k], corners[i + (k + 1) % 3]).second);
        }
        if (corners.empty())
            return;
        // Where the triangles end, an edge runs that way: what they cover lies to the right of it.
        for (const auto& [from, to] : m_sides)
            require(m_sides.count({to, from}) || liesOnEdge(from, to));
        require(area <= enclosedArea() + ROUNDING * static_cast<double>(corners.size()));
    }

  private:
    using Point = CN_2DPolygon::Point;
    using Side = std::pair<int, int>;

    static constexpr double ROUNDING = 1e-12; // of areas in a square of 2 x 2

    static void require(bool holds) {
        if (!holds)
            std::abort();
    }
    const Point& at(int place) const { return m_points[static_cast<std::size_t>(place)]; }
    double rightArea(int a, int b, int c) const { return (at(c) - at(a)).cross(at(b) - at(a)) / 2; }

    /// True also where the side is a part of an edge, which a vertex on it splits.
    bool liesOnEdge(int from, int to) const {
        return m_edges.count({from, to}) || std::any_of(m_edges.begin(), m_edges.end(), [&](const Side& edge) {
                   return std::fabs(rightArea(edge.first, edge.second, from)) <= ROUNDING &&
                          std::fabs(rightArea(edge.first, edge.second, to)) <= ROUNDING &&
                          (at(edge.second) - at(edge.first)).dot(at(to) - at(from)) > 0;
               });
    }

    /// The area that lies to the right of the edges next to it, on its left and on its right: between two heights of
    /// vertices, edges that do not cross lie side by side. What coincides but for rounding may lie either way.
    double enclosedArea() const {
        std::vector<double> heights;
        for (const Point& p : m_points)
            heights.push_back(p.y);
        std::sort(heights.begin(), heights.end());
        double area = 0;
        for (std::size_t i = 1; i < heights.size(); ++i)
            area += (heights[i] - heights[i - 1]) * enclosedWidth(heights[i - 1], heights[i]);
        return area;
    }

    double enclosedWidth(double low, double high) const {
        constexpr double SAME = 1e-13;
        std::vector<std::pair<double, bool>> crossings; // where, and whether the edge runs upwards
        for (const auto& [from, to] : m_edges) {
            const Point &a = at(from), &b = at(to);
            if (std::min(a.y, b.y) <= low && std::max(a.y, b.y) >= high && a.y != b.y)
                crossings.emplace_back(a.x + ((low + high) / 2 - a.y) / (b.y - a.y) * (b.x - a.x), b.y > a.y);
        }
        std::sort(crossings.begin(), crossings.end());
        const auto crossesAt = [&](double x, bool upwards) {
            return std::any_of(crossings.begin(), crossings.end(), [&](const std::pair<double, bool>& crossing) {
                return crossing.second == upwards && std::fabs(crossing.first - x) <= SAME;
            });
        };
        double width = 0;
        for (std::size_t i = 1; i < crossings.size(); ++i) {
            const double left = crossings[i - 1].first, right = crossings[i].first;
            if (crossesAt(left, true) && crossesAt(right, false))
                width += right - left;
        }
        return width;
    }

    const CN_2DPolygon& m_planar;
    std::vector<Point> m_points;
    std::set<Side> m_edges, m_sides; ///< by their ends, as they run
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::OnePolygon level;
    CN_LevelEntityMesh& mesh = *level.mesh;
    CN_Polygon& polygon = *level.polygon;

    Bytes bytes(data, size);
    const int kind = bytes.next() % 3;
    int first = 0;
    const auto closeLoop = [&] {
        const int end = mesh.getVertexList().count();
        for (int i = first; i < end; ++i)
            polygon.addEdge(i, i + 1 < end ? i + 1 : first, false);
        first = end;
    };
    while (!bytes.empty() && mesh.getVertexList().count() < 300) {
        if (bytes.next() == 0xFF)
            closeLoop();
        const double x = bytes.number(kind);
        mesh.addVertex({x, 0, bytes.number(kind)});
    }
    closeLoop();

    CN_2DPolygon planar(&polygon, 1e-5);
    planar.triangulate();
    Cover(planar).check();
    CN_drawPlanarPolygon(planar);
    polygon.triangulize(true);
    polygon.triangulize(false);
    // What else works on outlines bears this one, too.
    polygon.calculateUVCoordinates();
    polygon.updateNormal();
    polygon.linear();
    polygon.createVerticesInTJunctions(1e-3, false);
    polygon.killNullEdges();
    polygon.triangulize(true);
    polygon.calculateUVCoordinates();
    mesh.calculateBoundingBox();
    return 0;
}
