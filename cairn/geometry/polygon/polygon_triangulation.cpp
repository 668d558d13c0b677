#include "cairn/geometry/convex_region.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/ngon.h"
#include "cairn/geometry/planar/polygon2d.h"

#include <compare>
#include <cstdint>
#include <queue>
#include <unordered_map>
#include <vector>

namespace cairn {

namespace {

constexpr double SNAP_TOLERANCE = 1e-5; // corners nearer than this are one for the planar polygon

/// Merges the pieces of a triangulation.
///
/// The rule is a walk that starts anew after every merge: the first piece T in list order, with the first other piece U that
/// fits it. A pair that was refused is refused for ever, as pieces never change. So the pairs that share an edge are kept in
/// the order in which that walk meets them, and each is tried once.
class ConvexMerge {
  public:
    ConvexMerge(CN_Polygon& polygon, CN_Polygon::TriangleList& list)
        : m_polygon(polygon), m_list(list), m_space(polygon.getSpace()) {}

    void run() {
        for (CN_Triangle& triangle : m_list)
            m_pieces.push_back({&triangle, triangle.area()});
        for (int piece = 0; piece < static_cast<int>(m_pieces.size()); ++piece)
            addSides(piece);
        for (int piece = 0; piece < static_cast<int>(m_pieces.size()); ++piece)
            addPairs(piece, false);
        Pair last{-1, -1, 0};
        while (!m_pairs.empty()) {
            const Pair pair = m_pairs.top();
            m_pairs.pop();
            // Of several edges that two pieces share the first one counts.
            const bool isNew = pair.piece != last.piece || pair.other != last.other;
            last = pair;
            if (isNew && fits(pair))
                merge(pair);
        }
    }

  private:
    struct Piece {
        CN_Triangle* triangle; ///< in the list; null once it is part of another
        double area;
    };
    /// Two pieces by number, which is their order in the list, and the first one's corner where an edge they share begins.
    struct Pair {
        int piece, other, corner;
        auto operator<=>(const Pair&) const = default;
    };
    /// An edge of a piece, by its first corner.
    struct Side {
        int piece, corner;
    };

    static std::uint64_t keyOf(int from, int to) {
        return std::uint64_t{static_cast<std::uint32_t>(from)} << 32 | static_cast<std::uint32_t>(to);
    }
    const std::vector<int>& cornersOf(int piece) const {
        return m_pieces[static_cast<std::size_t>(piece)].triangle->getVertices();
    }
    bool isGone(int piece) const { return !m_pieces[static_cast<std::size_t>(piece)].triangle; }

    template <class Visit> void forEachSide(int piece, Visit&& visit) const {
        const std::vector<int>& corners = cornersOf(piece);
        for (std::size_t i = 0; i < corners.size(); ++i)
            visit(static_cast<int>(i), corners[i], corners[(i + 1) % corners.size()]);
    }
    void addSides(int piece) {
        forEachSide(piece, [&](int corner, int from, int to) {
            m_sides.emplace(keyOf(from, to), Side{piece, corner});
        });
    }
    /// The pairs of a piece with its neighbours; with `bothWays` theirs with it, too.
    void addPairs(int piece, bool bothWays) {
        forEachSide(piece, [&](int corner, int from, int to) {
            const auto [first, end] = m_sides.equal_range(keyOf(to, from));
            for (auto it = first; it != end; ++it) {
                const Side& side = it->second;
                if (side.piece == piece || isGone(side.piece))
                    continue;
                m_pairs.push({piece, side.piece, corner});
                if (bothWays)
                    m_pairs.push({side.piece, piece, side.corner});
            }
        });
    }

    // The sum of areas keeps pieces without any apart.
    bool fits(const Pair& pair) {
        if (isGone(pair.piece) || isGone(pair.other))
            return false;
        const auto areaOf = [this](int piece) { return m_pieces[static_cast<std::size_t>(piece)].area; };
        return areaOf(pair.piece) + areaOf(pair.other) > 0 &&
               CN_formsConvexRegion(cornersOf(pair.piece), cornersOf(pair.other), pair.corner,
                                    [this](int index) { return pointOf(index); });
    }
    const M_Vector2Template<double>& pointOf(int index) {
        const auto [point, isNew] = m_points.try_emplace(index);
        if (isNew)
            point->second = m_space.toUV(m_polygon.getParent()->getVertexList()[index].local);
        return point->second;
    }

    void merge(const Pair& pair) {
        CN_Triangle& made = m_list.emplace();
        made.setParent(&m_polygon);
        CN_Triangle*& a = m_pieces[static_cast<std::size_t>(pair.piece)].triangle;
        CN_Triangle*& b = m_pieces[static_cast<std::size_t>(pair.other)].triangle;
        made.unify(*a, *b);
        m_list.remove(a);
        m_list.remove(b);
        a = b = nullptr;
        const int number = static_cast<int>(m_pieces.size());
        m_pieces.push_back({&made, made.area()});
        addSides(number);
        addPairs(number, true);
    }

    CN_Polygon& m_polygon;
    CN_Polygon::TriangleList& m_list;
    CN_Polygon::PlanarSpace m_space;
    std::vector<Piece> m_pieces;                                          ///< by number
    std::unordered_multimap<std::uint64_t, Side> m_sides;                 ///< by the vertices they run between
    std::unordered_map<int, M_Vector2Template<double>> m_points;          ///< of vertices, in the polygon's plane
    std::priority_queue<Pair, std::vector<Pair>, std::greater<>> m_pairs; ///< not tried yet
};

} // namespace

const CN_Polygon::NgonList& CN_Polygon::getNgonList() const { return lists().ngonList; }

CN_Polygon::NgonList& CN_Polygon::accessNgonList() { return accessLists().ngonList; }

/// Makes a planar polygon of the boundary, whatever pieces a classification has left.
CN_2DPolygon CN_Polygon::makePlanar() {
    if (!m_lists || m_lists->ngonList.empty())
        return {this, SNAP_TOLERANCE};
    struct Aside {
        NgonList& list;
        NgonList kept;
        explicit Aside(NgonList& l) : list(l) { list.swap(kept); }
        ~Aside() { list.swap(kept); }
    } const aside(m_lists->ngonList);
    return {this, SNAP_TOLERANCE};
}

void CN_Polygon::triangulize(bool convexify) {
    if (lists().vertexBuffer.empty() && m_edgeList.empty())
        return;
    if (!lists().vertexBuffer.empty())
        constructEdges();
    m_triangleList.clear();
    CN_2DPolygon planar = makePlanar();
    if (planar.isClockwise() == 0) {
        if (m_polygonIndex != NO_INDEX)
            AfxMessageBox(formatText("Poly %d was non-clockwise!", static_cast<int>(m_polygonIndex)));
        dump();
        flipVertexOrder();
        planar = makePlanar();
    }
    if (planar.valid())
        planar.triangulate();
    if (!planar.valid() || planar.getNumTriangles() == 0) {
        dump();
        AfxMessageBox(formatText("Triangulation error (poly %d); invalid geometry. Undo last change!",
                                 static_cast<int>(m_polygonIndex)));
        return;
    }
    const std::vector<int>& corners = planar.getTriangles();
    const auto count = static_cast<std::size_t>(planar.getNumTriangles());
    for (std::size_t i = 0; i < count; ++i) {
        CN_Triangle& triangle = m_triangleList.emplace();
        triangle.setParent(this);
        triangle.accessVertices() = {planar.ref(corners[3 * i]), planar.ref(corners[3 * i + 1]),
                                     planar.ref(corners[3 * i + 2])};
    }
    if (convexify)
        this->convexify();
}

bool CN_Polygon::canTriangulize() const {
    if (m_edgeList.empty())
        return false;
    try {
        CN_2DPolygon planar = const_cast<CN_Polygon*>(this)->makePlanar(); // which leaves the polygon as it was
        if (!planar.valid() || planar.isClockwise() == 0)
            return false;
        planar.triangulate();
        return planar.getNumTriangles() > 0;
    } catch (M_PlanarSpace3Exception_Singular* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

void CN_Polygon::convexify() {
    if (m_lists)
        m_lists->ngonList.clear();
    if (m_triangleList.count() > 1)
        ConvexMerge(*this, m_triangleList).run();
}

double CN_Polygon::calcArea() const {
    double sum = 0;
    for (const CN_Triangle& triangle : m_triangleList)
        sum += triangle.area();
    return sum;
}

} // namespace cairn
