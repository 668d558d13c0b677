#include "cairn/document/change_scope.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/mesh/weld_surroundings.h"
#include "cairn/geometry/plane_matcher.h"
#include "cairn/geometry/welding.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

/// Empties the tables of a weld, however it ends.
struct TableGuard {
    TableGuard() { polygonReplacements.clear(); }
    ~TableGuard() {
        weldGroups.clear();
        polygonReplacements.clear();
    }
    TableGuard(const TableGuard&) = delete;
    TableGuard& operator=(const TableGuard&) = delete;
};

/// What a weld makes of a mesh: worked out in full, and put into it by steps that do not fail.
class Weld {
  public:
    Weld(CN_Mesh& mesh, double radius) : m_mesh(mesh), m_radius(radius) {}

    /// False where the mesh has too few clusters to weld.
    bool plan() {
        constexpr std::size_t TOO_FEW = 3;
        readGroups();
        if (m_keepers.size() <= TOO_FEW)
            return false;
        planPlanes();
        planVertices();
        return true;
    }

    void commit() {
        std::size_t place = 0;
        for (CN_Polygon& polygon : m_mesh.accessPolygonList()) {
            polygon.setNormal(m_planes[place].getNormal());
            polygon.setWorldNormal(polygon.getNormal() * m_mesh.getWorldRotation());
            polygon.setPointOnPlane(m_planes[place].getPoint());
            moveUVSpaces(polygon);
            polygon.setUVCalculated(false);
            polygon.markUVDirty();
            for (CN_Edge& edge : polygon.accessEdgeList())
                edge.set(m_remap[static_cast<std::size_t>(edge.index(0))],
                         m_remap[static_cast<std::size_t>(edge.index(1))]);
            for (CN_Triangle& triangle : polygon.accessTriangleList())
                for (int& corner : triangle.accessVertices())
                    corner = m_remap[static_cast<std::size_t>(corner)];
            ++place;
        }
        for (const auto& [corner, vertex] : m_buffered)
            *corner = vertex;
        m_mesh.accessVertexList().swap(m_vertices);
        m_mesh.setGeometryDirty();
    }

  private:
    /// The groups by vertex. One that names what is not there is of another time.
    void readGroups() {
        const int count = m_mesh.getVertexList().count();
        int index = 0;
        for (CN_Vertex& vertex : m_mesh.accessVertexList()) {
            const auto group = weldGroups.find(&vertex);
            if (group != weldGroups.end() && !group->second.empty()) {
                m_keepers.push_back(index);
                m_groups.push_back(&group->second);
                for (const int member : group->second)
                    if (member < 0 || member >= count)
                        throwBadListIndex(member, count);
            }
            ++index;
        }
    }

    void planPlanes() {
        CN_PlaneMatcher matcher(m_radius);
        const std::vector<std::pair<int, bool>> groups = matcher.addAll(m_mesh);
        std::vector<Plane> finals;
        CN_Mesh::s_createFinalPlanes(matcher.getGroups(), finals);
        for (const auto& [group, isFlipped] : groups) {
            const Plane& plane = finals[static_cast<std::size_t>(group)];
            m_planes.emplace_back(isFlipped ? -plane.getNormal() : plane.getNormal(), plane.getPoint());
        }
    }

    void planVertices() {
        markUsed();
        std::vector<const Vector*> places;
        for (const CN_Vertex& vertex : m_mesh.getVertexList())
            places.push_back(&vertex.local);
        m_remap.assign(places.size(), -1);
        const CN_WeldSurroundings surroundings(m_mesh, m_planes, m_keepers, m_radius);
        for (std::size_t i = 0; i < m_keepers.size(); ++i) {
            const std::vector<int>& group = *m_groups[i];
            const std::vector<int> nearby = surroundings.find(m_keepers[i], group);
            if (nearby.empty())
                continue;
            for (const int member : group)
                m_remap[static_cast<std::size_t>(member)] = m_vertices.count();
            addVertex(surroundings.fit(nearby, group));
        }
        // Nothing tells where these should go.
        for (std::size_t i = 0; i < places.size(); ++i)
            if (m_used[i] && m_remap[i] < 0) {
                m_remap[i] = m_vertices.count();
                addVertex(*places[i]);
            }
        for (const auto& [corner, index] : m_bufferedIndices)
            m_buffered.emplace_back(corner, &m_vertices[m_remap[static_cast<std::size_t>(index)]]);
    }

    void addVertex(const Vector& place) {
        CN_Vertex& vertex = m_vertices.emplace();
        vertex.local = place;
        vertex.world = m_mesh.worldTransform(place);
    }

    /// Notes what edges, pieces and corners that are being collected name. Throws where that is not there.
    void markUsed() {
        const int count = m_mesh.getVertexList().count();
        m_used.assign(static_cast<std::size_t>(count), false);
        const auto mark = [&](int index) {
            if (index < 0 || index >= count)
                throwBadListIndex(index, count);
            m_used[static_cast<std::size_t>(index)] = true;
        };
        for (CN_Polygon& polygon : m_mesh.accessPolygonList()) {
            for (const CN_Edge& edge : polygon.getEdgeList()) {
                mark(edge.index(0));
                mark(edge.index(1));
            }
            for (const CN_Triangle& triangle : polygon.getTriangleList())
                for (const int corner : triangle.getVertices())
                    mark(corner);
            for (CN_Vertex* const& corner : polygon.getVertexBuffer())
                if (const int index = m_mesh.getVertexList().indexOf(corner); index >= 0) {
                    mark(index);
                    m_bufferedIndices.emplace_back(const_cast<CN_Vertex**>(&corner), index);
                }
        }
    }

    /// The spaces 0 to 2 that are there begin at the plane's point now; what they give for a place stays. One without inverse
    /// is left alone.
    static void moveUVSpaces(CN_Polygon& polygon) {
        constexpr int LAST_KEY = 2;
        const Vector& point = polygon.getPointOnPlane();
        polygon.accessUVSpaces().forEach([&point](int key, CN_UVSpace& uv) {
            const M_Vector2Template<double> offset = uv.space.toUV(point);
            if (key > LAST_KEY || !std::isfinite(offset.x) || !std::isfinite(offset.y))
                return;
            uv.space.setOffset(offset);
            uv.space.setPoint(point);
        });
    }

    CN_Mesh& m_mesh;
    double m_radius;
    std::vector<int> m_keepers;                                 ///< the first vertex of each cluster
    std::vector<const std::vector<int>*> m_groups;              ///< not owned: theirs
    std::vector<bool> m_used;                                   ///< by vertex: something names it
    std::vector<Plane> m_planes;                                ///< of the polygons, by place
    CN_Mesh::VertexList m_vertices;                             ///< the new ones
    std::vector<int> m_remap;                                   ///< of each old vertex its new place, or -1
    std::vector<std::pair<CN_Vertex**, int>> m_bufferedIndices; ///< collected corners and their old places
    std::vector<std::pair<CN_Vertex**, CN_Vertex*>> m_buffered; ///< and what they become
};

/// Takes vertices out that no edge and no piece names any more.
void dropUnusedVertices(CN_Mesh& mesh) {
    std::vector<int> remap(static_cast<std::size_t>(mesh.getVertexList().count()), -1);
    const auto forEachIndex = [&](auto&& visit) {
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            for (CN_Edge& edge : polygon.accessEdgeList()) {
                visit(edge.index(0));
                visit(edge.index(1));
            }
            for (CN_Triangle& triangle : polygon.accessTriangleList())
                for (int& corner : triangle.accessVertices())
                    visit(corner);
        }
    };
    constexpr int USED = 0;
    forEachIndex([&remap](int index) { remap[static_cast<std::size_t>(index)] = USED; });
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        for (const CN_Vertex* const corner : polygon.getVertexBuffer())
            if (const int index = mesh.getVertexList().indexOf(corner); index >= 0)
                remap[static_cast<std::size_t>(index)] = USED;
    std::size_t old = 0;
    int kept = 0;
    for (CN_Vertex& vertex : mesh.accessVertexList()) {
        if (remap[old] == USED)
            remap[old] = kept++;
        else
            mesh.accessVertexList().remove(&vertex);
        ++old;
    }
    if (kept < static_cast<int>(remap.size()))
        forEachIndex([&remap](int& index) { index = remap[static_cast<std::size_t>(index)]; });
}

} // namespace

void CN_Mesh::weldVertices(double radius, CString& report) {
    const TableGuard guard;
    const int before = m_vertexList.count();
    Weld weld(*this, radius);
    if (!weld.plan())
        return;
    const CN_ChangeScope change(getDocument());
    weld.commit();
    dropSharedEdgeLists();
    for (CN_Polygon& polygon : m_polygonList)
        polygon.killNullEdges();
    constexpr int LEAST_EDGES = 3;
    int killed = 0;
    for (CN_Polygon& polygon : m_polygonList)
        if (polygon.getEdgeList().count() < LEAST_EDGES || polygon.linear()) {
            dropPolygon(&polygon);
            ++killed;
        }
    for (CN_Polygon& polygon : m_polygonList)
        polygon.calculateUVCoordinates();
    handleOwnHierarchy();
    dropUnusedVertices(*this);
    invalidateObject(true);
    report.Format("Mesh fix (%s); %d original verts, %d now, killed %d polys", getName().GetString(), before,
                  m_vertexList.count(), killed);
}

void CN_Mesh::temporaryCreateWeldGroupsAndWeldVertices(double groupRadius, double weldRadius, CString& report) {
    createWeldGroups(groupRadius);
    weldVertices(weldRadius, report);
}

} // namespace cairn
