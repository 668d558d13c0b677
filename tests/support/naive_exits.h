#pragma once

#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

/// Exits and smooth normals as they are told: walks of all polygons, free lists that each stretch is taken off in turn, sums
/// over all vertices. What the library does faster is held against them.
namespace cairn::test {

/// Intervals that one is subtracted from in turn.
class NaiveFreeList {
  public:
    NaiveFreeList(double a, double b) : m_free{{std::min(a, b), std::max(a, b)}} {}
    void subtract(double a, double b) {
        const double low = std::min(a, b), high = std::max(a, b);
        std::vector<std::pair<double, double>> rest;
        for (const auto& [from, to] : m_free) {
            if (high <= from || low >= to) {
                rest.emplace_back(from, to);
                continue;
            }
            if (from < low)
                rest.emplace_back(from, low);
            if (high < to)
                rest.emplace_back(high, to);
        }
        m_free = rest;
    }
    double length() const {
        double sum = 0;
        for (const auto& [from, to] : m_free)
            sum += to - from;
        return sum;
    }

  private:
    std::vector<std::pair<double, double>> m_free; ///< in order and apart
};

inline bool naiveEdgesAreJumpable(const CN_Mesh& mesh, const CN_Edge& a, const CN_Edge& b) {
    M_Vector3Template<double> point, vector, p, v;
    if (!a.sharesSpaceLocal(&b, point, vector))
        return false;
    const auto origin = a.getLocal(0), along = (a.getLocal(1) - a.getLocal(0)).normalized();
    NaiveFreeList free((point - origin).dot(along), (point + vector - origin).dot(along));
    const std::set<const CN_Polygon*> own{a.getParent(), b.getParent()};
    for (const CN_Polygon& exit : mesh.getPolygonList()) {
        if (!exit.isExitPolygon() || own.contains(&exit) || own.contains(exit.getExitDestination()))
            continue;
        for (const CN_Edge& x : exit.getEdgeList()) {
            if (!x.sharesSpaceLocal(&a, p, v) && !x.sharesSpaceLocal(&b, p, v))
                continue;
            free.subtract((x.getLocal(0) - origin).dot(along), (x.getLocal(1) - origin).dot(along));
            if (free.length() < 0.001)
                return false;
        }
    }
    return true;
}

inline bool naiveJumpable(const CN_Polygon& a, const CN_Polygon& b) {
    if (!a.neighbor(&b))
        return false;
    for (const CN_Edge& edge : a.getEdgeList())
        for (const CN_Edge& other : b.getEdgeList())
            if (naiveEdgesAreJumpable(*a.getParent(), edge, other))
                return true;
    return false;
}

/// The normals at the vertices, and by piece at its corners, with groups searched anew for each polygon.
struct NaiveNormals {
    std::map<CN_Polygon*, std::map<int, M_Vector3Template<double>>> ofPolygons;
    std::map<CN_Triangle*, std::vector<M_Vector3Template<double>>> ofPieces;
};
inline NaiveNormals naiveNormals(CN_Mesh& mesh, bool geometry) {
    using Vector = M_Vector3Template<double>;
    NaiveNormals result;
    std::set<CN_Polygon*> done;
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        if (done.contains(&polygon))
            continue;
        const std::set<CN_Polygon*> all = mesh.getAllPolysToSmooth(&polygon, geometry);
        std::vector<Vector> atStarts(static_cast<std::size_t>(mesh.getVertexList().count())), atCorners = atStarts;
        const auto add = [](std::vector<Vector>& sums, int vertex, const Vector& normal) {
            Vector& sum = sums.at(static_cast<std::size_t>(vertex));
            if ((sum + normal).length() > 0)
                sum += normal;
        };
        for (CN_Polygon& each : mesh.accessPolygonList()) {
            if (!all.contains(&each))
                continue;
            for (const CN_Edge& edge : each.getEdgeList())
                add(atStarts, edge.index(0), each.getNormal());
            std::set<int> seen;
            for (const CN_Triangle& piece : each.getTriangleList())
                for (const int corner : piece.getVertices())
                    if (seen.insert(corner).second)
                        add(atCorners, corner, each.getNormal());
        }
        std::map<int, Vector> normals;
        for (std::size_t i = 0; i < atStarts.size(); ++i)
            if (atStarts[i].length() > 0)
                normals[static_cast<int>(i)] = atStarts[i].normalized();
        for (CN_Polygon* const each : all) {
            result.ofPolygons.emplace(each, normals);
            for (CN_Triangle& piece : each->accessTriangleList()) {
                std::vector<Vector> corners;
                for (const int corner : piece.getVertices())
                    corners.push_back(atCorners[static_cast<std::size_t>(corner)].normalized());
                result.ofPieces.emplace(&piece, corners);
            }
            done.insert(each);
        }
    }
    return result;
}

} // namespace cairn::test
