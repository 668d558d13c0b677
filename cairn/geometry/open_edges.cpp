#include "cairn/geometry/open_edges.h"

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

/// Makes one point of corners that lie within a distance of each other: the one that comes first.
class CornerWeld {
  public:
    explicit CornerWeld(double radius) : m_radius(radius) {}

    const std::vector<Vector>& points() const { return m_points; }

    /// The number of the point at that place, a new one where there is none yet.
    int pointAt(const Vector& place) {
        const Cell cell{along(place.x), along(place.y), along(place.z)};
        int nearest = findIn(cell, place);
        for (int i = 0; i < 27 && nearest < 0; ++i)
            nearest = findIn({neighbor(cell.x, i % 3), neighbor(cell.y, i / 3 % 3), neighbor(cell.z, i / 9)}, place);
        if (nearest >= 0)
            return nearest;
        const int made = static_cast<int>(m_points.size());
        m_points.push_back(place);
        const auto [first, isNew] = m_cells.try_emplace(cell, made);
        m_nextInCell.push_back(isNew ? -1 : std::exchange(first->second, made));
        return made;
    }

  private:
    struct Cell {
        std::uint64_t x, y, z;
        bool operator==(const Cell&) const = default;
    };
    struct CellHash {
        std::size_t operator()(const Cell& c) const {
            std::uint64_t h = c.x;
            h = (h ^ (h >> 32)) * 0x9E3779B97F4A7C15u + c.y;
            h = (h ^ (h >> 29)) * 0xBF58476D1CE4E5B9u + c.z;
            return static_cast<std::size_t>((h ^ (h >> 32)) * 0x94D049BB133111EBu);
        }
    };

    /// The number of the cell along an axis. Beyond what doubles resolve only equal coordinates are near, and each has a
    /// cell of its own.
    std::uint64_t along(double coordinate) const {
        constexpr double RESOLVED = 4503599627370496; // 2^52
        const double cell = std::floor(coordinate / m_radius);
        return std::abs(cell) < RESOLVED ? static_cast<std::uint64_t>(static_cast<std::int64_t>(cell))
                                         : std::bit_cast<std::uint64_t>(coordinate);
    }
    static std::uint64_t neighbor(std::uint64_t cell, int step) { return cell + static_cast<std::uint64_t>(step) - 1; }

    int findIn(const Cell& cell, const Vector& place) const {
        const auto found = m_cells.find(cell);
        int point = found == m_cells.end() ? -1 : found->second;
        while (point >= 0 && !((m_points[static_cast<std::size_t>(point)] - place).length() <= m_radius))
            point = m_nextInCell[static_cast<std::size_t>(point)];
        return point;
    }

    double m_radius;
    std::vector<Vector> m_points;
    std::unordered_map<Cell, int, CellHash> m_cells; ///< the point of the cell that was made last
    std::vector<int> m_nextInCell;                   ///< for each point the one before it in its cell, -1 for none
};

/// An edge, or a piece of one, between two welded points.
struct Side {
    int from, to;
    int polygon; ///< its place in the mesh's list
    bool operator<(const Side& other) const {
        return std::tie(from, to, polygon) < std::tie(other.from, other.to, other.polygon);
    }
    bool operator==(const Side& other) const = default;
};

/// Counts sides by their ends.
class SideTable {
  public:
    explicit SideTable(std::vector<Side> sides) : m_sides(std::move(sides)) {
        std::sort(m_sides.begin(), m_sides.end());
    }

    /// How many sides of other polygons run back along it.
    std::ptrdiff_t countPartners(const Side& side) const {
        return count(side.to, side.from, FIRST, LAST) - count(side.to, side.from, side.polygon, side.polygon);
    }
    /// True where it has exactly one partner, and that one has it alone.
    bool isPaired(const Side& side) const {
        return countPartners(side) == 1 && count(side.from, side.to, FIRST, LAST) == 1 &&
               count(side.to, side.from, FIRST, LAST) == 1;
    }

  private:
    static constexpr int FIRST = 0, LAST = std::numeric_limits<int>::max(); // of all polygons

    /// The sides between those ends of the polygons from `first` to `last`.
    std::ptrdiff_t count(int from, int to, int first, int last) const {
        return std::upper_bound(m_sides.begin(), m_sides.end(), Side{from, to, last}) -
               std::lower_bound(m_sides.begin(), m_sides.end(), Side{from, to, first});
    }

    std::vector<Side> m_sides; ///< sorted
};

/// The working sets of one search.
class OpenEdgeSearch {
  public:
    OpenEdgeSearch(const CN_Mesh& mesh, double slack)
        : m_mesh(mesh), m_scale(findScale(mesh)), m_slack(std::max(slack * m_scale, LEAST_SLACK)), m_weld(m_slack) {}

    std::vector<CN_OpenEdge> find() {
        std::vector<Side> sides = collect();
        if (sides.empty())
            addAllTooShort();
        // Nearly all sides of a sound mesh run from corner to corner as their partners do.
        const SideTable whole(sides);
        std::erase_if(sides, [&](const Side& side) { return whole.isPaired(side); });
        // The others may still be met by several that lie along them.
        const std::vector<Side> pieces = cut(sides);
        const SideTable table(pieces);
        for (const Side& piece : pieces)
            if (const auto partners = static_cast<int>(table.countPartners(piece)); partners != 1)
                add(piece, partners);
        return std::move(m_open);
    }

  private:
    static constexpr double LEAST_SLACK = 1e-12;  // cells of corners need a size
    static constexpr double STRAIGHT = 1 - 1e-9;  // cosine between pieces of one line
    static constexpr double LARGE_PLACE = 1e+100; // the squares of places below are numbers

    /// What places are multiplied by, a power of two: 1 but for places so large that their squares are infinite.
    static double findScale(const CN_Mesh& mesh) {
        double largest = 0;
        for (const CN_Vertex& vertex : mesh.getVertexList())
            for (int axis = 0; axis < 3; ++axis)
                largest = std::max(largest, std::abs(vertex.local[axis]));
        return largest < LARGE_PLACE ? 1.0 : std::ldexp(1.0, -std::ilogb(largest));
    }

    /// Edges that are all too short to be looked at close nothing: the first of them stands for all.
    void addAllTooShort() {
        for (const CN_Polygon& polygon : m_mesh.getPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                if (isVertex(edge.index(0)) && isVertex(edge.index(1))) {
                    m_open.push_back({&polygon, edge.getLocal(0), edge.getLocal(1), 0});
                    return;
                }
    }

    bool isVertex(int index) const { return index >= 0 && index < m_mesh.getVertexList().count(); }

    std::vector<Side> collect() {
        std::vector<Side> sides;
        const CN_Mesh::VertexList& vertices = m_mesh.getVertexList();
        std::vector<int> points(static_cast<std::size_t>(vertices.count()), -1); // of the vertices that are in use
        const auto pointOf = [&](int index) {
            int& point = points[static_cast<std::size_t>(index)];
            if (point < 0)
                point = m_weld.pointAt(vertices[index].local * m_scale);
            return point;
        };
        int place = 0;
        for (const CN_Polygon& polygon : m_mesh.getPolygonList()) {
            for (const CN_Edge& edge : polygon.getEdgeList())
                if (isVertex(edge.index(0)) && isVertex(edge.index(1))) {
                    const Side side{pointOf(edge.index(0)), pointOf(edge.index(1)), place};
                    if (side.from != side.to)
                        sides.push_back(side);
                }
            ++place;
        }
        return sides;
    }

    /// Cuts sides where ends of others lie on them. In a closed mesh no stretch belongs to more than two of them, so that
    /// the pieces are few and soon found: beyond such numbers sides stay whole.
    std::vector<Side> cut(const std::vector<Side>& sides) const {
        std::vector<int> ends;
        for (const Side& side : sides) {
            ends.push_back(side.from);
            ends.push_back(side.to);
        }
        std::sort(ends.begin(), ends.end());
        ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
        std::vector<CN_PointTree::Entry> entries;
        entries.reserve(ends.size());
        for (const int end : ends)
            entries.push_back({place(end), end});
        const CN_PointTree tree(std::move(entries));

        constexpr std::size_t PIECES_A_SIDE = 16, LOOKS = 64; // looks of the search for each side and each end
        std::size_t piecesLeft = PIECES_A_SIDE * sides.size(), work = LOOKS * (sides.size() + ends.size());
        std::vector<Side> pieces;
        std::vector<std::pair<double, int>> cuts;
        for (const Side& side : sides) {
            cuts.clear();
            const auto keep = [&](const CN_PointTree::Entry& end, double t) {
                if (end.number != side.from && end.number != side.to)
                    cuts.emplace_back(t, end.number);
            };
            const bool wasSearched =
                piecesLeft > 0 && tree.visitNear(place(side.from), place(side.to), m_slack, work, keep);
            const bool fits = cuts.size() < piecesLeft;
            piecesLeft -= std::min(piecesLeft, cuts.size() + 1);
            if (!wasSearched || !fits)
                cuts.clear();
            std::sort(cuts.begin(), cuts.end());
            int from = side.from;
            for (const auto& [t, point] : cuts) {
                pieces.push_back({from, point, side.polygon});
                from = point;
            }
            pieces.push_back({from, side.to, side.polygon});
        }
        return pieces;
    }

    /// Pieces of one side that follow each other and have as many partners are one stretch.
    void add(const Side& piece, int partners) {
        const CN_Polygon* const polygon = &m_mesh.getPolygonList()[piece.polygon];
        const Vector from = place(piece.from) / m_scale, to = place(piece.to) / m_scale;
        if (!m_open.empty()) {
            CN_OpenEdge& last = m_open.back();
            const Vector before = (last.to - last.from).normalized(), next = (to - from).normalized();
            if (last.polygon == polygon && last.partners == partners && last.to == from &&
                before.dot(next) >= STRAIGHT) {
                last.to = to;
                return;
            }
        }
        m_open.push_back({polygon, from, to, partners});
    }
    const Vector& place(int point) const { return m_weld.points()[static_cast<std::size_t>(point)]; }

    const CN_Mesh& m_mesh;
    double m_scale; ///< of the welded points
    double m_slack; ///< of the welded points
    CornerWeld m_weld;
    std::vector<CN_OpenEdge> m_open;
};

} // namespace

std::vector<CN_OpenEdge> CN_findOpenEdges(const CN_Mesh& mesh, double slack) {
    return OpenEdgeSearch(mesh, slack).find();
}

} // namespace cairn
