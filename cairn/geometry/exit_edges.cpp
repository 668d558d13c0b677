#include "cairn/geometry/exit_edges.h"

#include "cairn/geometry/edges_beside.h"
#include "cairn/geometry/free_stretch.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

/// True for a polygon whose edges may stand between `a` and `b`.
bool maySeparate(const CN_Polygon& exit, const CN_Polygon* a, const CN_Polygon* b) {
    const CN_Polygon* const partner = exit.getExitDestination();
    return partner && &exit != a && &exit != b && partner != a && partner != b;
}

bool runsAlong(const CN_Edge& edge, const CN_Edge& other) {
    Vector point, vector;
    return edge.sharesSpaceLocal(&other, point, vector);
}

/// What `CN_isOpenAcross` asks, where it is known that each of the exit edges runs along one of the two.
bool isOpen(const CN_Edge& a, const CN_Edge& b, const std::vector<const CN_Edge*>& exitEdges) {
    constexpr double LEAST_OPENING = 0.001;
    Vector point, vector;
    if (!a.sharesSpaceLocal(&b, point, vector))
        return false;
    if (exitEdges.empty())
        return true; // however short the edges are
    const Vector origin = a.getLocal(0), along = a.dir().normalized();
    const auto place = [&](const Vector& p) { return along.dot(p - origin); };
    CN_FreeStretch stretch(place(point), place(point + vector));
    for (const CN_Edge* const edge : exitEdges)
        stretch.subtract(place(edge->getLocal(0)), place(edge->getLocal(1)));
    return CN_FreeStretch::lengthOf(stretch.getFree()) >= LEAST_OPENING;
}

/// Finds the pairs of a mesh's polygons that can be passed between.
///
/// Each edge is held against those that have an end beside it, as of two edges that share a stretch one has. What shares one
/// is kept, both ways, as the relation depends on who asks.
class PassageSearch {
  public:
    explicit PassageSearch(CN_Mesh& mesh) {
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            for (const CN_Edge& edge : polygon.getEdgeList())
                m_sides.push_back({&edge, m_polygons.size(), {}});
            m_polygons.push_back(&polygon);
        }
    }
    /// The pairs, in the order of both polygons.
    std::vector<std::pair<CN_Polygon*, CN_Polygon*>> find() {
        findContacts();
        for (const Contact& contact : m_contacts)
            if (m_neighbors.contains(pairOf(contact)) && !m_passages.contains(pairOf(contact)) && isOpenAt(contact))
                m_passages.insert(pairOf(contact));
        std::vector<std::uint64_t> passages(m_passages.begin(), m_passages.end());
        std::sort(passages.begin(), passages.end());
        std::vector<std::pair<CN_Polygon*, CN_Polygon*>> pairs;
        pairs.reserve(passages.size());
        for (const std::uint64_t pair : passages)
            pairs.emplace_back(m_polygons[pair >> 32], m_polygons[static_cast<std::uint32_t>(pair)]);
        return pairs;
    }

  private:
    struct Side {
        const CN_Edge* edge;
        std::size_t polygon;               ///< its place in `m_polygons`
        std::vector<const CN_Edge*> exits; ///< of exit polygons, that run along it
    };
    /// Two sides by their places, of which the first runs along the second.
    struct Contact {
        std::size_t side, other;
    };

    std::uint64_t pairOf(const Contact& contact) const {
        return std::uint64_t{m_sides[contact.side].polygon} << 32 | m_sides[contact.other].polygon;
    }

    void findContacts() {
        std::vector<CN_PointTree::Entry> ends;
        ends.reserve(2 * m_sides.size());
        for (std::size_t i = 0; i < m_sides.size(); ++i)
            for (const int end : {0, 1})
                ends.push_back({m_sides[i].edge->getLocal(end), static_cast<int>(i)});
        const CN_PointTree tree(std::move(ends));
        std::vector<int> beside;
        for (std::size_t i = 0; i < m_sides.size(); ++i) {
            const CN_Edge& edge = *m_sides[i].edge;
            beside.clear();
            CN_findEndsBeside(tree, edge.getLocal(0), edge.getLocal(1), m_polygons[m_sides[i].polygon]->getNormal(),
                              beside);
            std::sort(beside.begin(), beside.end());
            beside.erase(std::unique(beside.begin(), beside.end()), beside.end());
            for (const int other : beside)
                meet(i, static_cast<std::size_t>(other));
        }
        std::sort(m_contacts.begin(), m_contacts.end(), [](const Contact& a, const Contact& b) {
            return a.side != b.side ? a.side < b.side : a.other < b.other;
        });
        const auto same = [](const Contact& a, const Contact& b) { return a.side == b.side && a.other == b.other; };
        m_contacts.erase(std::unique(m_contacts.begin(), m_contacts.end(), same), m_contacts.end());
        for (const Contact& contact : m_contacts)
            enter(contact);
    }
    void meet(std::size_t first, std::size_t second) {
        if (m_sides[first].polygon == m_sides[second].polygon)
            return;
        for (const Contact& contact : {Contact{first, second}, Contact{second, first}})
            if (runsAlong(*m_sides[contact.side].edge, *m_sides[contact.other].edge))
                m_contacts.push_back(contact);
    }
    void enter(const Contact& contact) {
        const Side& side = m_sides[contact.side];
        Side& other = m_sides[contact.other];
        if (m_polygons[side.polygon]->isExitPolygon())
            other.exits.push_back(side.edge);
        if (side.edge->dir().dot(other.edge->dir()) < 0 && !m_neighbors.contains(pairOf(contact)) &&
            m_polygons[side.polygon]->bbIntersect(m_polygons[other.polygon]))
            m_neighbors.insert(pairOf(contact));
    }
    bool isOpenAt(const Contact& contact) const {
        const Side &side = m_sides[contact.side], &other = m_sides[contact.other];
        std::vector<const CN_Edge*> exits;
        for (const Side* const each : {&side, &other})
            for (const CN_Edge* const exit : each->exits)
                if (maySeparate(*exit->getParent(), m_polygons[side.polygon], m_polygons[other.polygon]))
                    exits.push_back(exit);
        return isOpen(*side.edge, *other.edge, exits);
    }

    std::vector<CN_Polygon*> m_polygons;           ///< not owned
    std::vector<Side> m_sides;                     ///< of all polygons, in the order of their lists
    std::vector<Contact> m_contacts;               ///< in the order of both, between different polygons
    std::unordered_set<std::uint64_t> m_neighbors; ///< pairs of polygons by their places
    std::unordered_set<std::uint64_t> m_passages;  ///< those of them that can be passed between
};

} // namespace

std::vector<const CN_Edge*> CN_findExitEdges(const CN_Mesh& mesh, const CN_Polygon* a, const CN_Polygon* b) {
    std::vector<const CN_Edge*> edges;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        if (maySeparate(polygon, a, b))
            for (const CN_Edge& edge : polygon.getEdgeList())
                edges.push_back(&edge);
    return edges;
}

bool CN_isOpenAcross(const CN_Edge& a, const CN_Edge& b, const std::vector<const CN_Edge*>& exitEdges) {
    if (!runsAlong(a, b))
        return false;
    std::vector<const CN_Edge*> along;
    for (const CN_Edge* const edge : exitEdges)
        if (runsAlong(*edge, a) || runsAlong(*edge, b))
            along.push_back(edge);
    return isOpen(a, b, along);
}

std::vector<std::pair<CN_Polygon*, CN_Polygon*>> CN_Mesh::findPassages() { return PassageSearch(*this).find(); }

} // namespace cairn
