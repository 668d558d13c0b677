#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/weld_clusters.h"
#include "cairn/geometry/welding.h"

#include <map>
#include <set>
#include <vector>

namespace cairn {

namespace {

/// Takes the groups of vertices into a keeper's, as a recursion would that takes a group's vertices one by one and goes on with
/// each that is new at once. Works on what it has read; the table stays.
class GroupMerger {
  public:
    GroupMerger(CN_Mesh& mesh, CN_Vertex& keeper)
        : m_vertices(mesh.accessVertexList()), m_keeper(m_vertices.indexOf(&keeper)), m_group(read(keeper)) {
        for (const int member : m_group)
            mark(member);
    }

    void take(CN_Vertex& first) {
        std::vector<Rest*> open{&restOf(first)};
        while (!open.empty()) {
            Rest& rest = *open.back();
            if (rest.next == rest.group.size()) {
                open.pop_back();
                continue;
            }
            const int member = rest.group[rest.next++];
            if (member == m_keeper || !mark(member))
                continue;
            m_group.push_back(member);
            open.push_back(&restOf(m_vertices[member]));
        }
    }

    /// Gives the keeper what was taken, and takes it from the others.
    void commit(CN_Vertex& keeper) {
        weldGroups[&keeper].swap(m_group);
        for (const auto& [vertex, rest] : m_rests)
            weldGroups.erase(vertex);
    }

  private:
    /// What is left of a vertex's group: that which is met again goes on where it was.
    struct Rest {
        std::vector<int> group;
        std::size_t next = 0;
    };

    static std::vector<int> read(CN_Vertex& vertex) {
        const auto group = weldGroups.find(&vertex);
        return group == weldGroups.end() ? std::vector<int>() : group->second;
    }
    Rest& restOf(CN_Vertex& vertex) {
        const auto [rest, isNew] = m_rests.try_emplace(&vertex);
        if (isNew)
            rest->second.group = read(vertex);
        return rest->second;
    }
    /// True for a member that the group has not yet.
    bool mark(int member) { return m_members.insert(member).second; }

    CN_Mesh::VertexList& m_vertices;
    int m_keeper; ///< the keeper's place
    std::vector<int> m_group;
    std::set<int> m_members; ///< of the group
    std::map<CN_Vertex*, Rest> m_rests;
};

} // namespace

void CN_Mesh::createWeldGroups(double radius) {
    weldGroups.clear();
    std::vector<CN_Vertex*> vertices;
    std::vector<Vector> places;
    vertices.reserve(static_cast<std::size_t>(m_vertexList.count()));
    places.reserve(static_cast<std::size_t>(m_vertexList.count()));
    for (CN_Vertex& vertex : m_vertexList) {
        vertices.push_back(&vertex);
        places.push_back(vertex.local);
    }
    const CN_WeldClusters clusters = CN_findWeldClusters(places, radius, maxWeldGroupSize);
    std::map<CN_Vertex*, std::vector<int>> groups;
    const auto at = [&clusters](std::size_t i) { return clusters.members.begin() + static_cast<std::ptrdiff_t>(i); };
    for (std::size_t i = 0; i + 1 < clusters.begins.size(); ++i) {
        const std::size_t begin = clusters.begins[i], end = clusters.begins[i + 1];
        // Vertices mostly lie in memory in their order.
        groups.emplace_hint(groups.end(), vertices[static_cast<std::size_t>(*at(begin))],
                            std::vector<int>(at(begin), at(end)));
    }
    weldGroups.swap(groups);
    for (const unsigned int size : clusters.records) {
        maxWeldGroupSize = size;
        F_System::verbose("Max weld group size %d\n", static_cast<int>(size));
    }
}

void CN_Mesh::addWeldVertices(CN_Vertex& keeper, CN_Vertex& other) {
    if (&keeper == &other)
        return;
    GroupMerger merger(*this, keeper);
    merger.take(other);
    merger.commit(keeper);
}

} // namespace cairn
