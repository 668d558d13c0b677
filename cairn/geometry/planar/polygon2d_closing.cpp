#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>

namespace cairn {

namespace {

using Point = CN_2DPolygon::Point;

/// True if the point lies inside the triangle, not on a side.
bool isWithin(const Point& point, const Point& a, const Point& b, const Point& c) {
    const double x = (b - a).cross(point - a), y = (c - b).cross(point - b), z = (a - c).cross(point - c);
    return (x > 0 && y > 0 && z > 0) || (x < 0 && y < 0 && z < 0);
}

} // namespace

int CN_2DPolygon::findBestVertex(const CN_2DEdge& edge) const {
    std::vector<int> degrees(m_vertices.size());
    for (const CN_2DEdge& each : m_edges)
        for (const int end : {each.index(0), each.index(1)})
            ++degrees[static_cast<std::size_t>(end)];
    int best = -1;
    double least = 0;
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const int vertex = static_cast<int>(i);
        const Point& corner = m_vertices[i];
        if (degrees[i] == 0 || vertex == edge.index(0) || vertex == edge.index(1) ||
            !(edge.distance(corner) < -m_snapTolerance))
            continue;
        const double sum = (corner - edge.point(0)).length() + (corner - edge.point(1)).length();
        if (best >= 0 && sum >= least)
            continue;
        const bool empty = std::none_of(m_vertices.begin(), m_vertices.end(), [&](const Point& other) {
            return isWithin(other, edge.point(0), edge.point(1), corner);
        });
        if (!empty || intersects(edge.index(0), vertex) || intersects(vertex, edge.index(1)))
            continue;
        best = vertex;
        least = sum;
    }
    return best;
}

bool CN_2DPolygon::shortestPathRecursion(std::vector<CN_2DEdge*>& path, int limit) {
    if (path.empty())
        return false;
    if (path.back()->index(1) == path.front()->index(0))
        return true;
    for (const Link& link : Links(linksFrom(path.back()->index(1)))) {
        if (!link.edge || link.edge->getUsed() || std::find(path.begin(), path.end(), link.edge) != path.end())
            continue;
        if (static_cast<int>(path.size()) + 1 >= limit)
            return false;
        path.push_back(link.edge);
        if (shortestPathRecursion(path, limit))
            return true;
        path.pop_back();
    }
    return false;
}

void CN_2DPolygon::makeTriangle(CN_2DEdge* edge, int vertex) {
    const int from = edge->index(0), to = edge->index(1);
    m_triangles.insert(m_triangles.end(), {from, vertex, to});
    ++m_numTriangles;
    removeEdge(edge);
    for (const auto& [start, end] : {std::pair(from, vertex), std::pair(vertex, to)}) {
        if (CN_2DEdge* const back = this->edge(end, start))
            removeEdge(back);
        else
            addEdge(start, end, nullptr);
    }
}

} // namespace cairn
