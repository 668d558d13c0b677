#include "cairn/foundation/exception.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/geometry/planar/triangulator.h"
#include "cairn/math/fpu_control.h"

#include <cmath>

namespace cairn {

// A majority of random rays would say the same of every sound outline; the signed area says it always.
int CN_2DPolygon::isClockwise() const {
    constexpr double NO_AREA = 1e-12; // in squares of the circumference: below, rounding decides the sign
    if (m_edges.empty())
        return 1;
    // From the first edge's start, so that the edge which would close an open chain counts nothing.
    const Point origin = m_edges.first()->point(0);
    double twice = 0, circumference = 0;
    for (const CN_2DEdge& edge : m_edges) {
        twice += (edge.point(0) - origin).cross(edge.point(1) - origin);
        circumference += edge.length();
    }
    return twice / 2 > NO_AREA * circumference * circumference ? 0 : 1;
}

int CN_2DPolygon::triangulate() {
    [[maybe_unused]] const M_FPUControl precision;
    F_withFoundationExceptions([this] { makeTriangles(); });
    return 1;
}

void CN_2DPolygon::makeTriangles() {
    m_triangles.clear();
    // Vertices in use, in order, get the numbers from 0.
    std::vector<int> number(m_vertices.size(), -1), vertex;
    for (const CN_2DEdge& edge : m_edges)
        for (const int end : {edge.index(0), edge.index(1)})
            number[static_cast<std::size_t>(end)] = 0;
    std::vector<Point> points;
    points.reserve(m_vertices.size());
    vertex.reserve(m_vertices.size());
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        if (number[i] < 0)
            continue;
        number[i] = static_cast<int>(points.size());
        points.push_back(m_vertices[i]);
        vertex.push_back(static_cast<int>(i));
    }
    std::vector<CN_Segment> segments;
    segments.reserve(static_cast<std::size_t>(m_edges.count()));
    for (const CN_2DEdge& edge : m_edges)
        segments.push_back(
            {number[static_cast<std::size_t>(edge.index(0))], number[static_cast<std::size_t>(edge.index(1))]});
    CN_triangulateOutlines(points, segments, m_triangles);
    for (int& corner : m_triangles)
        corner = vertex[static_cast<std::size_t>(corner)];
    m_numTriangles = static_cast<int>(m_triangles.size() / 3);
}

} // namespace cairn
