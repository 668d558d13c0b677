#pragma once

#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/math/matrix3.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace cairn::test {

/// Closed rooms as loose pieces that face inward, without a mesh around them.
class Facets {
  public:
    using Vector = CN_Ngon::Vector;
    using Corners = std::vector<Vector>;

    struct Piece {
        Corners corners;
        int polygon;
    };

    const std::vector<Piece>& getPieces() const { return m_pieces; }
    double size() const { return static_cast<double>(m_pieces.size()); }

    /// A convex piece of a new polygon, or of that of the last piece.
    void add(Corners corners, bool continues = false) {
        if (!continues)
            m_polygons.emplace(nullptr);
        m_pieces.push_back({std::move(corners), m_polygons.count() - 1});
    }
    /// A quad in two triangles.
    void addQuad(const Vector& a, const Vector& b, const Vector& c, const Vector& d) {
        add({a, b, c});
        add({a, c, d}, true);
    }
    void transform(const M_Matrix3Template<double>& rotation, const Vector& place) {
        for (Piece& piece : m_pieces)
            for (Vector& corner : piece.corners)
                corner = corner * rotation + place;
    }
    /// Pieces of one polygon have the plane of its first one. The polygons are this object's.
    CN_BSPTree::NgonList ngons() {
        CN_BSPTree::NgonList list;
        CN_Ngon::Plane plane;
        int last = -1;
        for (const auto& [corners, polygon] : m_pieces) {
            CN_Ngon& ngon = list.addNew();
            ngon.accessVertices() = corners;
            ngon.setSourcePolygon(&m_polygons[polygon]);
            if (polygon != last)
                plane = {(corners[1] - corners[0]).cross(corners[2] - corners[0]).normalized(), corners[0]};
            ngon.setPlane(plane);
            last = polygon;
        }
        return list;
    }
    /// The distance from the nearest plane.
    double clearance(const Vector& point) {
        double nearest = 1e300;
        for (const CN_Ngon& ngon : ngons())
            nearest = std::min(nearest, std::fabs(ngon.getPlane().distance(point)));
        return nearest;
    }

  private:
    F_DLListInit<CN_Polygon> m_polygons; ///< of no mesh
    std::vector<Piece> m_pieces;         ///< those of one polygon one after the other
};

/// Rooms of unit cells that are open or not, between lines at given places.
class CellRoom {
  public:
    using Vector = Facets::Vector;

    CellRoom(int nx, int ny, int nz) : m_size{nx, ny, nz} {
        m_open.resize(static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny) * static_cast<std::size_t>(nz));
        for (int axis = 0; axis < 3; ++axis)
            for (int i = 0; i <= m_size[axis]; ++i)
                m_lines[axis].push_back(i);
    }
    void open(int x, int y, int z) { m_open[place(x, y, z)] = true; }
    bool isOpen(int x, int y, int z) const {
        return x >= 0 && y >= 0 && z >= 0 && x < m_size[0] && y < m_size[1] && z < m_size[2] && m_open[place(x, y, z)];
    }
    /// Puts the lines across an axis at those places, in order.
    void setLines(int axis, std::vector<double> places) { m_lines[axis] = std::move(places); }
    int cells(int axis) const { return m_size[axis]; }
    double end(int axis) const { return m_lines[axis].back(); }
    bool isInside(const Vector& point) const {
        int cell[3];
        for (int axis = 0; axis < 3; ++axis)
            cell[axis] = static_cast<int>(std::upper_bound(m_lines[axis].begin(), m_lines[axis].end(), point[axis]) -
                                          m_lines[axis].begin()) -
                         1;
        return isOpen(cell[0], cell[1], cell[2]);
    }
    /// A quad in two triangles for each wall of each open cell.
    Facets facets() const {
        Facets facets;
        for (int z = 0; z < m_size[2]; ++z)
            for (int y = 0; y < m_size[1]; ++y)
                for (int x = 0; x < m_size[0]; ++x)
                    for (int side = 0; side < 6 && isOpen(x, y, z); ++side)
                        addWall(facets, {x, y, z}, side / 2, side % 2);
        return facets;
    }

  private:
    struct Cell {
        int at[3];
    };
    std::size_t place(int x, int y, int z) const {
        return static_cast<std::size_t>((z * m_size[1] + y) * m_size[0] + x);
    }
    void addWall(Facets& facets, Cell cell, int axis, int far) const {
        Cell beside = cell;
        beside.at[axis] += far ? 1 : -1;
        if (isOpen(beside.at[0], beside.at[1], beside.at[2]))
            return;
        const int u = (axis + 1) % 3, v = (axis + 2) % 3;
        const auto corner = [&](int du, int dv) {
            Vector point;
            const auto line = [&](int a, int step) { return m_lines[a][static_cast<std::size_t>(cell.at[a] + step)]; };
            point[axis] = line(axis, far);
            point[u] = line(u, du);
            point[v] = line(v, dv);
            return point;
        };
        if (far)
            facets.addQuad(corner(0, 0), corner(0, 1), corner(1, 1), corner(1, 0));
        else
            facets.addQuad(corner(0, 0), corner(1, 0), corner(1, 1), corner(0, 1));
    }

    int m_size[3];
    std::vector<bool> m_open;
    std::vector<double> m_lines[3];
};

/// One floor of a maze of corridors, some 16 `cells` squared triangles.
inline CellRoom maze(int cells) {
    CellRoom room(2 * cells + 1, 2 * cells + 1, 1);
    std::mt19937 random(11);
    std::vector<std::pair<int, int>> path{{0, 0}};
    room.open(1, 1, 0);
    while (!path.empty()) {
        const auto [x, y] = path.back();
        std::vector<std::pair<int, int>> ways;
        for (const auto& [dx, dy] : {std::pair(1, 0), std::pair(-1, 0), std::pair(0, 1), std::pair(0, -1)}) {
            const int u = x + dx, v = y + dy;
            if (u >= 0 && v >= 0 && u < cells && v < cells && !room.isOpen(2 * u + 1, 2 * v + 1, 0))
                ways.emplace_back(dx, dy);
        }
        if (ways.empty()) {
            path.pop_back();
            continue;
        }
        const auto& [dx, dy] = ways[random() % ways.size()];
        room.open(2 * x + 1 + dx, 2 * y + 1 + dy, 0);
        room.open(2 * (x + dx) + 1, 2 * (y + dy) + 1, 0);
        path.emplace_back(x + dx, y + dy);
    }
    return room;
}

/// A cube of side `m` whose floor is bumpy: 2 m^2 + 4 m + 6 triangles, nearly all in planes of their own.
inline Facets bumpyRoom(int m) {
    std::mt19937 random(13);
    std::uniform_real_distribution<double> height(0, 0.4);
    std::vector<double> heights;
    for (int i = 0; i < (m + 1) * (m + 1); ++i)
        heights.push_back(height(random));
    const auto at = [&](int x, int y) {
        return Facets::Vector(x, y, heights[static_cast<std::size_t>(y * (m + 1) + x)]);
    };
    Facets room;
    for (int y = 0; y < m; ++y)
        for (int x = 0; x < m; ++x) {
            room.add({at(x, y), at(x + 1, y), at(x + 1, y + 1)});
            room.add({at(x, y), at(x + 1, y + 1), at(x, y + 1)});
        }
    const double s = m;
    const Facets::Corners top{{0, 0, s}, {s, 0, s}, {s, s, s}, {0, s, s}};
    room.addQuad(top[0], top[3], top[2], top[1]);
    const auto addWall = [&](std::size_t wall, auto&& foot) {
        const Facets::Vector &a = top[wall], &b = top[(wall + 1) % 4];
        for (int i = 0; i < m; ++i)
            room.add({a, foot(i + 1), foot(i)}, i > 0);
        room.add({a, b, foot(m)}, true);
    };
    addWall(0, [&](int i) { return at(i, 0); });
    addWall(1, [&](int i) { return at(m, i); });
    addWall(2, [&](int i) { return at(m - i, m); });
    addWall(3, [&](int i) { return at(0, m - i); });
    return room;
}

/// A convex room: a ball of radius 10 in quads and, at its poles, triangles.
inline Facets ballRoom(int rings, int segments) {
    const auto at = [&](int ring, int segment) {
        constexpr double PI = 3.141592653589793;
        const double up = PI * ring / rings, round = 2 * PI * (segment % segments) / segments;
        const double radius = ring % rings == 0 ? 0 : 10 * std::sin(up);
        return Facets::Vector(radius * std::cos(round), radius * std::sin(round), 10 * std::cos(up));
    };
    Facets room;
    for (int ring = 0; ring < rings; ++ring)
        for (int segment = 0; segment < segments; ++segment) {
            const Facets::Vector a = at(ring, segment), b = at(ring, segment + 1), c = at(ring + 1, segment + 1),
                                 d = at(ring + 1, segment);
            if (ring == 0)
                room.add({a, c, d});
            else if (ring == rings - 1)
                room.add({a, b, c});
            else
                room.add({a, b, c, d});
        }
    return room;
}

} // namespace cairn::test
