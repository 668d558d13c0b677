#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double SHARED_TOLERANCE = 0.001; // of an end from the other edge's line, and the least length that is shared

/// An edge in one of the two spaces it has.
struct Stretch {
    Vector start, end;
};

/// What `CN_Edge::sharesSpace` and `sharesSpaceLocal` do: `normal` is that of the first edge's polygon in their space.
bool shareSpace(const Stretch& edge, const Stretch& other, bool same, const Vector& normal, Vector& point,
                Vector& vector) {
    if (!(CN_lineDistance(other.start, edge.start, edge.end) < SHARED_TOLERANCE) ||
        !(CN_lineDistance(other.end, edge.start, edge.end) < SHARED_TOLERANCE))
        return false;
    const Vector along = (edge.end - edge.start).normalized();
    const M_Matrix3Template<double> frame(along, normal, normal.cross(along));
    if (!frame.isInvertible())
        return false;
    if (same) {
        point = edge.start;
        vector = edge.end - edge.start;
        return true;
    }
    // Places along the edge.
    const M_Matrix3Template<double> inverse = frame.inverse();
    const auto place = [&](const Vector& p) { return ((p - edge.start) * inverse).x; };
    const double end = place(edge.end), a = place(other.start), b = place(other.end);
    const double low = std::max(std::min(0.0, end), std::min(a, b));
    const double high = std::min(std::max(0.0, end), std::max(a, b));
    if (!(high - low > SHARED_TOLERANCE))
        return false;
    const Vector first = Vector(low, 0, 0) * frame, second = Vector(high, 0, 0) * frame;
    point = first + edge.start;
    vector = second - first;
    return true;
}

/// Finds polygons that share a stretch of an edge, among those that it is given, and fills their shared edge lists.
///
/// Of two edges that share a stretch one has an end beside the other. So ends are kept by place, and each edge is held against
/// the edges that have an end beside it.
class NeighborSearch {
  public:
    /// The next polygon of the mesh's list.
    void add(CN_Polygon& polygon) {
        const auto place = static_cast<std::uint32_t>(m_polygons.size());
        m_polygons.push_back(&polygon);
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            for (const int end : {0, 1})
                m_ends.push_back({edge.getWorld(end), static_cast<int>(m_sides.size())});
            m_sides.push_back({&edge, place});
        }
    }
    /// Fills the list of one polygon, or with null all lists.
    void fill(const CN_Polygon* only) {
        m_only = only;
        const CN_PointTree tree(std::move(m_ends));
        std::vector<int> beside;
        for (const Side& side : m_sides) {
            beside.clear();
            findBeside(tree, side, beside);
            std::sort(beside.begin(), beside.end());
            beside.erase(std::unique(beside.begin(), beside.end()), beside.end());
            for (const int number : beside) {
                const Side& other = m_sides[static_cast<std::size_t>(number)];
                enter(side, other);
                enter(other, side);
            }
        }
        writeLists();
    }

  private:
    struct Side {
        const CN_Edge* edge;
        std::uint32_t polygon; ///< its place in `m_polygons`
    };

    /// The edges that have an end so near to the side that they may share a stretch with it.
    void findBeside(const CN_PointTree& tree, const Side& side, std::vector<int>& found) const {
        const Vector &from = side.edge->getWorld(0), &to = side.edge->getWorld(1);
        const Vector along = (to - from).normalized();
        const double near = SHARED_TOLERANCE + CN_roundingAlong(from, to);
        // Where the normal leans, what lies off the line is moved along it.
        constexpr double STEEPEST = 1e6;
        const Vector& normal = m_polygons[side.polygon]->getWorldNormal();
        const double across = normal.cross(along).length();
        const double lean = across > 0 ? std::min(std::abs(normal.dot(along)) / across, STEEPEST) : 0;
        const Vector beyond = along * (2 * near * (1 + lean));
        tree.visitNear(from - beyond, to + beyond, near,
                       [&found](const CN_PointTree::Entry& end, double) { found.push_back(end.number); });
    }
    /// Puts the other's polygon down for the list of the side's, where it belongs there.
    void enter(const Side& side, const Side& other) {
        CN_Polygon &own = *m_polygons[side.polygon], &theirs = *m_polygons[other.polygon];
        if (&own == &theirs || (m_only && &own != m_only))
            return;
        const std::uint64_t pair = std::uint64_t{side.polygon} << 32 | other.polygon;
        Vector point, vector;
        if (!m_known.contains(pair) && own.bbIntersect(&theirs) && other.edge->sharesSpace(side.edge, point, vector))
            m_known.insert(pair);
    }
    void writeLists() const {
        for (CN_Polygon* const polygon : m_polygons)
            if ((!m_only || polygon == m_only) && !polygon->getSharedEdgeList().empty())
                polygon->accessSharedEdgeList().clear();
        std::vector<std::uint64_t> pairs(m_known.begin(), m_known.end());
        std::sort(pairs.begin(), pairs.end());
        for (const std::uint64_t pair : pairs)
            m_polygons[pair >> 32]->accessSharedEdgeList().add(m_polygons[static_cast<std::uint32_t>(pair)]);
    }

    const CN_Polygon* m_only = nullptr;        ///< not owned: see `fill`
    std::vector<CN_Polygon*> m_polygons;       ///< not owned
    std::vector<Side> m_sides;                 ///< of all polygons, in the order of their lists
    std::vector<CN_PointTree::Entry> m_ends;   ///< numbers are places in `m_sides`
    std::unordered_set<std::uint64_t> m_known; ///< a polygon's place, and that of one for its list
};

} // namespace

bool CN_Edge::operator==(const CN_Edge& other) const {
    const Vector &a = getWorld(0), &b = getWorld(1), &c = other.getWorld(0), &d = other.getWorld(1);
    return (a == c && b == d) || (a == d && b == c);
}

bool CN_Edge::sharesSpace(const CN_Edge* other, Vector& point, Vector& vector) const {
    return shareSpace({getWorld(0), getWorld(1)}, {other->getWorld(0), other->getWorld(1)}, *this == *other,
                      m_parent->getWorldNormal(), point, vector);
}

// That edges are the same is asked in the world here, too.
bool CN_Edge::sharesSpaceLocal(const CN_Edge* other, Vector& point, Vector& vector) const {
    return shareSpace({getLocal(0), getLocal(1)}, {other->getLocal(0), other->getLocal(1)}, *this == *other,
                      m_parent->getNormal(), point, vector);
}

// The margin and the bounds are of single precision, so that boxes of one place agree to the bit.
void CN_Polygon::buildBoundingBox(bool local) {
    constexpr float MARGIN = 0.1F, LARGEST = std::numeric_limits<float>::max();
    float least[3] = {LARGEST, LARGEST, LARGEST}, largest[3] = {-LARGEST, -LARGEST, -LARGEST};
    for (const CN_Edge& edge : m_edgeList) {
        const Vector& corner = local ? edge.getLocal(0) : edge.getWorld(0);
        for (int axis = 0; axis < 3; ++axis) {
            const float place = CN_toFloat(corner[axis]);
            least[axis] = std::min(least[axis], place);
            largest[axis] = std::max(largest[axis], place);
        }
    }
    constexpr double WIDER = static_cast<double>(MARGIN);
    m_boundingBox = {{static_cast<double>(least[0]) - WIDER, static_cast<double>(least[1]) - WIDER,
                      static_cast<double>(least[2]) - WIDER},
                     {static_cast<double>(largest[0]) + WIDER, static_cast<double>(largest[1]) + WIDER,
                      static_cast<double>(largest[2]) + WIDER}};
}

bool CN_Polygon::bbIntersect(const CN_Polygon* other) const { return m_boundingBox.intersects(other->m_boundingBox); }

bool CN_Polygon::findCommonEdgeSegment(const CN_Polygon* other, Vector& point, Vector& vector) const {
    for (const CN_Edge& edge : m_edgeList)
        for (const CN_Edge& theirs : other->m_edgeList)
            if (edge.sharesSpace(&theirs, point, vector))
                return true;
    return false;
}

void CN_Polygon::createSharedEdgeList() {
    NeighborSearch search;
    for (CN_Polygon& other : requireMesh().accessPolygonList())
        if (&other == this || bbIntersect(&other))
            search.add(other);
    search.fill(this);
}

void CN_Mesh::createSharedEdgeLists() {
    NeighborSearch search;
    for (CN_Polygon& polygon : m_polygonList)
        search.add(polygon);
    search.fill(nullptr);
}

} // namespace cairn
