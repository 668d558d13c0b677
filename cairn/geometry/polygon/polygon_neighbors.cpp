#include "cairn/geometry/edges_beside.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_line.h"
#include "cairn/geometry/point_tree.h"
#include "cairn/geometry/polygon/shared_edges.h"
#include "cairn/math/interval2.h"
#include "cairn/math/snapping.h"

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

constexpr double COPLANAR_STEP = 1e-5;    // to which normals and distances of one plane agree
constexpr double PIERCING_MARGIN = 0.001; // by which pieces that only just miss each other still meet
constexpr double LINE_MARGIN = 0.1;       // by which a line is looked at beyond a polygon's corners

/// An edge in one of the two spaces it has.
struct Stretch {
    Vector start, end;
};

/// What `CN_Edge::sharesSpace` and `sharesSpaceLocal` do: `normal` is that of the first edge's polygon in their space.
bool shareSpace(const Stretch& edge, const Stretch& other, bool same, const Vector& normal, Vector& point,
                Vector& vector) {
    if (!(CN_lineDistance(other.start, edge.start, edge.end) < CN_SHARED_TOLERANCE) ||
        !(CN_lineDistance(other.end, edge.start, edge.end) < CN_SHARED_TOLERANCE))
        return false;
    const Vector along = (edge.end - edge.start).normalized();
    if (along == Vector())
        return false;
    if (same) { // whatever the normal is
        point = edge.start;
        vector = edge.end - edge.start;
        return true;
    }
    const M_Matrix3Template<double> frame(along, normal, normal.cross(along));
    if (!frame.isInvertible())
        return false;
    // Places along the edge.
    const M_Matrix3Template<double> inverse = frame.inverse();
    const auto place = [&](const Vector& p) { return ((p - edge.start) * inverse).x; };
    const double end = place(edge.end), a = place(other.start), b = place(other.end);
    const double low = std::max(std::min(0.0, end), std::min(a, b));
    const double high = std::min(std::max(0.0, end), std::max(a, b));
    if (!(high - low > CN_SHARED_TOLERANCE))
        return false;
    const Vector first = Vector(low, 0, 0) * frame, second = Vector(high, 0, 0) * frame;
    point = first + edge.start;
    vector = second - first;
    return true;
}

/// True if the first edge shares a stretch with one that runs back along it.
bool runsBackAlong(const CN_Edge& edge, const CN_Edge& other) {
    Vector point, vector;
    return edge.sharesSpaceLocal(&other, point, vector) && edge.dir().dot(other.dir()) < 0;
}

/// Finds polygons that share a stretch of an edge, among those that it is given.
///
/// Of two edges that share a stretch one has an end beside the other. So ends are kept by place, and each edge is held against
/// the edges that have an end beside it.
class NeighborSearch {
  public:
    /// What makes a polygon belong to another one's list: that it shares a stretch in the world, or is a neighbour.
    enum class Relation { SHARED_EDGE, NEIGHBOR };

    explicit NeighborSearch(Relation relation) : m_relation(relation) {}

    /// The next polygon of the mesh's list.
    void add(CN_Polygon& polygon) {
        const auto place = static_cast<std::uint32_t>(m_polygons.size());
        m_polygons.push_back(&polygon);
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            for (const int end : {0, 1})
                m_ends.push_back({endOf(edge, end), static_cast<int>(m_sides.size())});
            m_sides.push_back({&edge, place});
        }
    }
    /// The pairs of a polygon and one of its list, in the order of both: of one polygon, or with null of all.
    std::vector<std::pair<CN_Polygon*, CN_Polygon*>> find(const CN_Polygon* only) {
        m_only = only;
        if (only)
            searchForOne();
        else
            searchForAll();
        std::vector<std::uint64_t> known(m_known.begin(), m_known.end());
        std::sort(known.begin(), known.end());
        std::vector<std::pair<CN_Polygon*, CN_Polygon*>> pairs;
        pairs.reserve(known.size());
        for (const std::uint64_t pair : known)
            pairs.emplace_back(m_polygons[pair >> 32], m_polygons[static_cast<std::uint32_t>(pair)]);
        return pairs;
    }

  private:
    struct Side {
        const CN_Edge* edge;
        std::uint32_t polygon; ///< its place in `m_polygons`
    };

    void searchForAll() {
        const CN_PointTree tree(std::move(m_ends));
        std::vector<int> beside;
        for (const Side& side : m_sides)
            enterBeside(tree, side, beside);
    }
    /// Its own ends lie in a tree by themselves: what others have beside one another is of no interest.
    void searchForOne() {
        std::vector<CN_PointTree::Entry> own, others;
        for (const CN_PointTree::Entry& end : m_ends)
            (isOwn(m_sides[static_cast<std::size_t>(end.number)]) ? own : others).push_back(end);
        const CN_PointTree ownTree(std::move(own)), othersTree(std::move(others));
        std::vector<int> beside;
        for (const Side& side : m_sides)
            enterBeside(isOwn(side) ? othersTree : ownTree, side, beside);
    }
    bool isOwn(const Side& side) const { return m_polygons[side.polygon] == m_only; }
    void enterBeside(const CN_PointTree& tree, const Side& side, std::vector<int>& beside) {
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
    const Vector& endOf(const CN_Edge& edge, int end) const {
        return m_relation == Relation::NEIGHBOR ? edge.getLocal(end) : edge.getWorld(end);
    }
    const Vector& normalOf(const CN_Polygon& polygon) const {
        return m_relation == Relation::NEIGHBOR ? polygon.getNormal() : polygon.getWorldNormal();
    }
    /// The edges that have an end so near to the side that they may share a stretch with it.
    void findBeside(const CN_PointTree& tree, const Side& side, std::vector<int>& found) const {
        CN_findEndsBeside(tree, endOf(*side.edge, 0), endOf(*side.edge, 1), normalOf(*m_polygons[side.polygon]), found);
    }
    /// Puts the other's polygon down for the list of the side's, where it belongs there.
    void enter(const Side& side, const Side& other) {
        CN_Polygon &own = *m_polygons[side.polygon], &theirs = *m_polygons[other.polygon];
        if (&own == &theirs || (m_only && &own != m_only))
            return;
        const std::uint64_t pair = std::uint64_t{side.polygon} << 32 | other.polygon;
        if (!m_known.contains(pair) && own.bbIntersect(&theirs) && isRelated(*side.edge, *other.edge))
            m_known.insert(pair);
    }
    bool isRelated(const CN_Edge& own, const CN_Edge& theirs) const {
        Vector point, vector;
        return m_relation == Relation::NEIGHBOR ? runsBackAlong(own, theirs) : theirs.sharesSpace(&own, point, vector);
    }

    Relation m_relation;
    const CN_Polygon* m_only = nullptr;        ///< not owned: see `find`
    std::vector<CN_Polygon*> m_polygons;       ///< not owned
    std::vector<Side> m_sides;                 ///< of all polygons, in the order of their lists
    std::vector<CN_PointTree::Entry> m_ends;   ///< numbers are places in `m_sides`
    std::unordered_set<std::uint64_t> m_known; ///< a polygon's place, and that of one for its list
};

void clearSharedEdgeList(CN_Polygon& polygon) {
    if (!polygon.getSharedEdgeList().empty())
        polygon.accessSharedEdgeList().clear();
}

/// The stretch of a line that lies beside a polygon's corners, with a margin.
bool findStretch(const CN_Polygon& polygon, const CN_Line& line, Vector& from, Vector& to) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const double along = (edge.getLocal(0) - line.point).dot(line.direction);
        low = std::min(low, along);
        high = std::max(high, along);
    }
    from = line.point + line.direction * (low - LINE_MARGIN);
    to = line.point + line.direction * (high + LINE_MARGIN);
    return from.isFinite() && to.isFinite();
}

/// Where the pieces of a polygon lie along a line, which is looked at from one place to another, widened by the margin.
std::vector<M_Interval2Template<double>> findPieces(const CN_Polygon& polygon, const CN_Line& line, const Vector& from,
                                                    const Vector& to, double margin) {
    std::vector<M_Interval2Template<double>> intervals;
    Vector start, end;
    for (const CN_Triangle& piece : polygon.getTriangleList()) {
        if (!piece.intersectEdge(start, end, from, to, PIERCING_MARGIN))
            continue;
        const double a = (start - line.point).dot(line.direction), b = (end - line.point).dot(line.direction);
        intervals.push_back({std::min(a, b) - margin, std::max(a, b) + margin});
    }
    return intervals;
}

/// Makes one of intervals that overlap or touch; they are in order and apart afterwards.
void merge(std::vector<M_Interval2Template<double>>& intervals) {
    using Interval = M_Interval2Template<double>;
    std::sort(intervals.begin(), intervals.end(),
              [](const Interval& a, const Interval& b) { return a.lower < b.lower; });
    std::size_t kept = 0;
    for (const Interval& next : intervals) {
        if (kept > 0 && next.lower <= intervals[kept - 1].upper)
            intervals[kept - 1].upper = std::max(intervals[kept - 1].upper, next.upper);
        else
            intervals[kept++] = next;
    }
    intervals.resize(kept);
}

} // namespace

bool CN_Edge::operator==(const CN_Edge& other) const {
    const Vector &a = getWorld(0), &b = getWorld(1), &c = other.getWorld(0), &d = other.getWorld(1);
    return (a == c && b == d) || (a == d && b == c);
}

bool CN_Edge::colinear(const CN_Edge& other, double maxAngle) const {
    const Vector mine = dir().normalized(), theirs = other.dir().normalized();
    if (mine == Vector() || theirs == Vector())
        return false;
    return std::acos(std::abs(std::clamp(mine.dot(theirs), -1.0, 1.0))) < maxAngle;
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

bool CN_Polygon::coplanar(const CN_Polygon* other) const {
    const Vector apart =
        requireMesh().worldTransform(m_pointOnPlane) - other->requireMesh().worldTransform(other->m_pointOnPlane);
    return snapToGrid(m_worldNormal.dot(other->m_worldNormal), COPLANAR_STEP) == 1 &&
           snapToGrid(m_worldNormal.dot(apart), COPLANAR_STEP) == 0;
}

bool CN_Polygon::neighbor(const CN_Polygon* other) const {
    if (!bbIntersect(other))
        return false;
    for (const CN_Edge& edge : m_edgeList)
        for (const CN_Edge& theirs : other->m_edgeList)
            if (runsBackAlong(edge, theirs))
                return true;
    return false;
}

bool CN_Polygon::polygonIntersects(const CN_Polygon* other) const {
    CN_Line line;
    Vector from, to;
    if (!bbIntersect(other) || !CN_findPlaneLine(getPlane(), other->getPlane(), line) ||
        !findStretch(*this, line, from, to))
        return false;
    std::vector<M_Interval2Template<double>> mine = findPieces(*this, line, from, to, PIERCING_MARGIN);
    if (mine.empty())
        return false;
    merge(mine);
    for (const M_Interval2Template<double>& theirs : findPieces(*other, line, from, to, 0)) {
        const auto past =
            std::partition_point(mine.begin(), mine.end(), [&theirs](const M_Interval2Template<double>& own) {
                return own.upper <= theirs.lower;
            });
        if (past != mine.end() && past->lower < theirs.upper)
            return true;
    }
    return false;
}

void CN_Polygon::createSharedEdgeList() {
    std::vector<CN_Polygon*> all;
    all.reserve(static_cast<std::size_t>(requireMesh().getPolygonList().count()));
    for (CN_Polygon& other : requireMesh().accessPolygonList())
        if (&other == this || bbIntersect(&other))
            all.push_back(&other);
    CN_createSharedEdgeList(*this, all);
}

void CN_createSharedEdgeList(CN_Polygon& polygon, const std::vector<CN_Polygon*>& near) {
    NeighborSearch search(NeighborSearch::Relation::SHARED_EDGE);
    for (CN_Polygon* const other : near)
        search.add(*other);
    clearSharedEdgeList(polygon);
    for (const auto& [own, neighbor] : search.find(&polygon))
        own->accessSharedEdgeList().add(neighbor);
}

void CN_Mesh::createSharedEdgeLists() {
    NeighborSearch search(NeighborSearch::Relation::SHARED_EDGE);
    for (CN_Polygon& polygon : m_polygonList) {
        search.add(polygon);
        clearSharedEdgeList(polygon);
    }
    for (const auto& [polygon, neighbor] : search.find(nullptr))
        polygon->accessSharedEdgeList().add(neighbor);
}

std::vector<std::pair<CN_Polygon*, CN_Polygon*>> CN_Mesh::findNeighbors() {
    NeighborSearch search(NeighborSearch::Relation::NEIGHBOR);
    for (CN_Polygon& polygon : m_polygonList)
        search.add(polygon);
    return search.find(nullptr);
}

} // namespace cairn
