#include "cairn/document/change_scope.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/mesh/polygon_copies.h"
#include "cairn/geometry/vertex_finder.h"
#include "cairn/math/snapping.h"

namespace cairn {

namespace {

/// Makes polygons of one mesh polygons of another that stands elsewhere in the world.
class Joining {
  public:
    Joining(CN_Mesh& mesh, const CN_Mesh& other) : m_mesh(mesh), m_other(other), m_vertices(mesh) {}

    /// Appends the polygon's shape and looks.
    void append(const CN_Polygon& source) {
        CN_Polygon& copy = *m_mesh.addPolygon();
        takeOverPlane(copy, source);
        source.getUVSpaces().forEach([this, &copy](int key, const CN_UVSpace& space) {
            copy.accessUVSpaces()[key] = space;
            move(copy.editUVSpace(key));
        });
        copy.setNumVertices(source.numVertices());
        copy.setNumHoles(source.getNumHoles());
        copy.setMaterial(source.getMaterial());
        for (const CN_Edge& edge : source.getEdgeList()) {
            const int start = m_vertices.findOrAdd(placeOf(edge.getLocal(0)));
            copy.addEdge(start, m_vertices.findOrAdd(placeOf(edge.getLocal(1))), false);
        }
        CN_copyLightmapMapping(copy, source);
        move(copy.accessLightmapMapping().getPhysicalSpace());
        copy.triangulize(true);
    }
    /// Makes the copy what the source was to others.
    void takeOverPlace(CN_Polygon& copy, CN_Polygon& source) const {
        if (CN_Polygon* const partner = source.getExitDestination()) {
            CN_LevelEntityPortal* const portal = source.getLevelEntityPortal();
            copy.setPolyMode(PT_EXIT);
            copy.setExitDestination(partner);
            partner->setExitDestination(&copy);
            if (portal)
                portal->setPortalPolygon(&copy);
        }
        if (CN_LevelEntityRadiosityLight* const light = source.getRadiosityLight())
            light->setRadiosityPolygon(&copy);
        for (CN_LevelEntityPolygonGroup* const group : CN_Polygon::Groups(source.getGroups()))
            if (m_mesh.getPolygonGroups().contains(group)) {
                group->removePolygon(&source);
                group->addPolygon(&copy);
            }
    }

  private:
    using Vector = CN_Mesh::Vector;

    Vector placeOf(const Vector& local) const { return m_mesh.worldToObject(m_other.worldTransform(local)); }
    Vector turned(const Vector& direction) const {
        return direction * m_other.getWorldRotation() * m_mesh.getInvWorldRotation();
    }
    void move(CN_Polygon::PlanarSpace& space) const {
        space.setMatrix(space.getMatrix() * m_other.getWorldRotation() * m_mesh.getInvWorldRotation());
        space.setPoint(placeOf(space.getPoint()));
    }
    void takeOverPlane(CN_Polygon& copy, const CN_Polygon& source) const {
        constexpr double ALONG_AXIS = 0.9999;
        Vector normal = turned(source.getNormal()), point = placeOf(source.getPointOnPlane());
        if (maxAbsComponent(normal) > ALONG_AXIS)
            snapPlane(normal, point);
        copy.setNormal(normal);
        copy.setWorldNormal(normal * m_mesh.getWorldRotation());
        copy.setReferenceNormal(turned(source.getReferenceNormal()));
        copy.setPointOnPlane(point);
    }

    CN_Mesh& m_mesh;
    const CN_Mesh& m_other;
    CN_VertexFinder m_vertices;
};

} // namespace

void CN_Mesh::join(CN_Mesh* other) {
    if (!other || other == this)
        throw new F_Exception("A mesh is joined with another mesh");
    if (getDocument() && other->getDocument() && getDocument() != other->getDocument())
        throw new F_Exception("Meshes of two documents cannot be joined");
    const int polygons = m_polygonList.count(), vertices = m_vertexList.count();
    const Vector boundingMin = m_boundingMin, boundingMax = m_boundingMax;
    Joining joining(*this, *other);
    try {
        for (const CN_Polygon& source : other->m_polygonList)
            joining.append(source);
    } catch (...) {
        CN_takeBack(*this, polygons, vertices);
        m_boundingMin = boundingMin;
        m_boundingMax = boundingMax;
        throw;
    }
    const CN_ChangeScope change(getDocument());
    int place = polygons;
    for (CN_Polygon& source : other->m_polygonList)
        joining.takeOverPlace(m_polygonList[place++], source);
    calculateBoundingBox(); // with the places of new vertices in the world
}

} // namespace cairn
