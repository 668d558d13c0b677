#include "cairn/geometry/edges_beside.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"
#include "cairn/materials/material.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <unordered_set>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

/// An edge and the place of its polygon in the mesh's list.
struct Side {
    const CN_Edge* edge;
    std::size_t polygon;
};

/// Finds where edges of different polygons share a stretch in the mesh's space, among polygons whose boxes meet.
class ContactSearch {
  public:
    explicit ContactSearch(CN_Mesh& mesh) {
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            for (const CN_Edge& edge : polygon.getEdgeList())
                m_sides.push_back({&edge, m_polygons.size()});
            m_polygons.push_back(&polygon);
        }
    }
    const std::vector<Side>& getSides() const { return m_sides; }

    /// Calls `meet(side)` for sides that share their whole stretch with another one, as two between the same vertices do: most
    /// of those of a mesh that a weld has gone over.
    template <class Meet> void findByCorners(Meet&& meet) const {
        std::vector<std::pair<std::uint64_t, std::size_t>> byCorners; // the vertices of a side, and its place
        byCorners.reserve(m_sides.size());
        for (std::size_t i = 0; i < m_sides.size(); ++i) {
            const auto [from, to] = std::minmax({m_sides[i].edge->index(0), m_sides[i].edge->index(1)});
            byCorners.emplace_back(
                std::uint64_t{static_cast<std::uint32_t>(from)} << 32 | static_cast<std::uint32_t>(to), i);
        }
        std::sort(byCorners.begin(), byCorners.end());
        const auto isPair = [this](const auto& a, const auto& b) {
            return a.first == b.first && shares(a.second, b.second);
        };
        for (std::size_t i = 1; i < byCorners.size(); ++i) {
            if (isPair(byCorners[i - 1], byCorners[i]))
                meet(byCorners[i - 1].second);
            if (isPair(byCorners[i], byCorners[i - 1]))
                meet(byCorners[i].second);
        }
    }

    /// Calls `meet(side, other)` with places of sides of which the first shares a stretch with the second, for those where
    /// `asks(side)` is true; it may be asked and told of the same ones again. Of two edges that share a stretch one has an
    /// end beside the other.
    template <class Asks, class Meet> void find(Asks&& asks, Meet&& meet) const {
        std::vector<std::size_t> all(m_sides.size()), asking;
        std::iota(all.begin(), all.end(), std::size_t{0});
        std::copy_if(all.begin(), all.end(), std::back_inserter(asking), asks);
        if (asking.empty())
            return;
        forEachBeside(asking, treeOfEnds(all), [&](std::size_t side, std::size_t other) {
            if (asks(side) && shares(side, other))
                meet(side, other);
        });
        forEachBeside(all, treeOfEnds(asking), [&](std::size_t other, std::size_t side) {
            if (asks(side) && shares(side, other))
                meet(side, other);
        });
    }

  private:
    const CN_Polygon& polygonOf(std::size_t side) const { return *m_polygons[m_sides[side].polygon]; }
    bool shares(std::size_t a, std::size_t b) const {
        Vector point, vector;
        return m_sides[a].polygon != m_sides[b].polygon && polygonOf(a).bbIntersect(&polygonOf(b)) &&
               m_sides[a].edge->sharesSpaceLocal(m_sides[b].edge, point, vector);
    }

    CN_PointTree treeOfEnds(const std::vector<std::size_t>& sides) const {
        std::vector<CN_PointTree::Entry> ends;
        ends.reserve(2 * sides.size());
        for (const std::size_t side : sides)
            for (const int end : {0, 1})
                ends.push_back({m_sides[side].edge->getLocal(end), static_cast<int>(side)});
        return CN_PointTree(std::move(ends));
    }
    /// Calls `meet` with each of the sides and those that have an end in the tree that lies beside it.
    template <class Meet>
    void forEachBeside(const std::vector<std::size_t>& sides, const CN_PointTree& tree, Meet&& meet) const {
        std::vector<int> beside;
        for (const std::size_t side : sides) {
            const CN_Edge& edge = *m_sides[side].edge;
            beside.clear();
            CN_findEndsBeside(tree, edge.getLocal(0), edge.getLocal(1), polygonOf(side).getNormal(), beside);
            for (const int other : beside)
                meet(side, static_cast<std::size_t>(other));
        }
    }

    std::vector<CN_Polygon*> m_polygons; ///< not owned
    std::vector<Side> m_sides;           ///< of all polygons, in the order of their lists
};

} // namespace

bool CN_Mesh::connected(std::set<CN_Polygon*>* openPolygons) {
    transform();
    for (CN_Polygon& polygon : m_polygonList)
        polygon.buildBoundingBox(true);
    const ContactSearch search(*this);
    std::vector<bool> hasPartner(search.getSides().size());
    search.findByCorners([&hasPartner](std::size_t side) { hasPartner[side] = true; });
    search.find([&hasPartner](std::size_t side) { return !hasPartner[side]; },
                [&hasPartner](std::size_t side, std::size_t) { hasPartner[side] = true; });
    bool isClosed = true;
    for (std::size_t i = 0; i < hasPartner.size(); ++i) {
        if (hasPartner[i])
            continue;
        isClosed = false;
        if (!openPolygons)
            break;
        openPolygons->insert(search.getSides()[i].edge->getParent());
    }
    return isClosed;
}

// What is deleted is no partner for those behind it in the list: of two polygons of which one alone shares an edge with the
// other, it depends on the order whether both go.
int CN_Mesh::deleteFloatingFaces(const std::set<CN_Polygon*>& candidates) {
    std::vector<CN_Polygon*> asked; // by place in the list, null for those that are no candidates
    for (CN_Polygon& polygon : m_polygonList)
        asked.push_back(candidates.contains(&polygon) ? &polygon : nullptr);
    transform();
    std::vector<std::vector<std::size_t>> partners(asked.size());
    {
        const ContactSearch search(*this);
        const std::vector<Side>& sides = search.getSides();
        search.find([&](std::size_t side) { return asked[sides[side].polygon] != nullptr; },
                    [&](std::size_t side, std::size_t other) {
                        partners[sides[side].polygon].push_back(sides[other].polygon);
                    });
    }
    std::vector<bool> isGone(asked.size());
    std::unordered_set<const CN_Polygon*> gone;
    for (std::size_t i = 0; i < asked.size(); ++i)
        if (asked[i] && std::all_of(partners[i].begin(), partners[i].end(),
                                    [&isGone](std::size_t partner) { return isGone[partner]; })) {
            isGone[i] = true;
            gone.insert(asked[i]);
        }
    if (gone.empty())
        return 0;
    dropSharedEdgeLists();
    if (gone.contains(m_lastHitPolygon))
        m_lastHitPolygon = nullptr;
    for (CN_Polygon* const polygon : asked)
        if (gone.contains(polygon)) {
            if (CN_Material* const material = polygon->getMaterial())
                material->decrementUseCount();
            m_polygonList.remove(polygon);
        }
    return static_cast<int>(gone.size());
}

} // namespace cairn
