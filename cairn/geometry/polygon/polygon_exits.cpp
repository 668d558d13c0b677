#include "cairn/entities/portal.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/exit_edges.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using PlanarSpace = M_PlanarSpace3Template<double>;

constexpr double SAME_CORNER = 1e-6; // distance at which a contour takes a vertex that is there

/// The plane and the texture space that an exit's polygon has.
struct ExitPlane {
    Vector normal, worldNormal, pointOnPlane;
    PlanarSpace space;
};

/// That of a space in the world for a polygon of the mesh, with `turned` seen from behind. Throws where there is none.
ExitPlane planeOf(const PlanarSpace& world, const CN_Mesh& mesh, bool turned) {
    constexpr double ALONG_AXIS = 0.9999;
    ExitPlane plane;
    plane.worldNormal = world.getNormal();
    plane.normal = mesh.vectorWorldToObject(plane.worldNormal);
    const Vector origin = mesh.worldToObject(world.getPoint());
    plane.pointOnPlane = origin;
    if (maxAbsComponent(plane.normal) > ALONG_AXIS)
        snapPlane(plane.normal, plane.pointOnPlane);
    Matrix axes = world.getMatrix() * mesh.getInvWorldRotation();
    if (!axes.isFinite() || !plane.normal.isFinite() || !origin.isFinite())
        throw new F_Exception("An exit's plane is not finite");
    if (turned) {
        plane.normal = -plane.normal;
        plane.worldNormal = -plane.worldNormal;
        // The axes stay left-handed.
        axes.row(0) = -axes.row(0);
        axes.row(2) = -axes.row(2);
    }
    plane.space = PlanarSpace(axes, origin, world.getOffset());
    return plane;
}

/// The mesh's vertices at the places, in their order: those that `CN_Mesh::addVertexCheck` finds or makes.
std::vector<int> findVertices(CN_Mesh& mesh, const std::vector<Vector>& places) {
    constexpr std::size_t FEW = 16; // for which a walk of the vertices each is as quick
    std::vector<int> found;
    found.reserve(places.size());
    CN_Mesh::VertexList& vertices = mesh.accessVertexList();
    if (places.size() <= FEW) {
        for (const Vector& place : places)
            found.push_back(vertices.indexOf(mesh.addVertexCheck(place, SAME_CORNER)));
        return found;
    }
    std::vector<CN_PointTree::Entry> entries;
    for (const CN_Vertex& vertex : vertices)
        entries.push_back({vertex.local, static_cast<int>(entries.size())});
    CN_PointTree tree(std::move(entries));
    for (const Vector& place : places) {
        constexpr int NONE = std::numeric_limits<int>::max();
        int first = NONE;
        // The tree looks along a line; one that is long beside the rounding of the place.
        const Vector beside(4 * SAME_CORNER + 1e-9 * maxAbsComponent(place), 0, 0);
        tree.visitNear(place - beside, place + beside, 2 * beside.x, [&](const CN_PointTree::Entry& entry, double) {
            if (entry.number < first && (entry.point - place).length() < SAME_CORNER)
                first = entry.number;
        });
        if (first == NONE) {
            first = vertices.count();
            tree.insert({mesh.addVertex(place)->local, first});
        }
        found.push_back(first);
    }
    return found;
}

} // namespace

void CN_Polygon::setExitDestination(CN_Polygon* partner) {
    if (partner == m_exitDestination)
        return;
    // An exit into its own mesh is no wall of it.
    const bool ledBack = m_exitDestination && m_exitDestination->m_parent == m_parent;
    if (m_parent && (ledBack || (partner && partner->m_parent == m_parent)))
        m_parent->setBSPDirty();
    std::uint32_t place = 0;
    if (partner) { // what may fail comes first
        std::vector<CN_Polygon*>& incoming = partner->accessLists().incomingExits;
        place = static_cast<std::uint32_t>(incoming.size());
        incoming.push_back(this);
    }
    if (m_exitDestination) {
        // The last one takes its place.
        std::vector<CN_Polygon*>& incoming = m_exitDestination->m_lists->incomingExits;
        incoming.back()->m_incomingPlace = m_incomingPlace;
        incoming[m_incomingPlace] = incoming.back();
        incoming.pop_back();
    }
    m_incomingPlace = place;
    m_exitDestination = partner;
}

void CN_Polygon::forgetExits() {
    setExitDestination(nullptr);
    if (!m_lists)
        return;
    for (CN_Polygon* const other : m_lists->incomingExits)
        other->m_exitDestination = nullptr;
    m_lists->incomingExits.clear();
}

CN_Mesh* CN_Polygon::getExitDestinationMesh() const {
    return m_exitDestination ? m_exitDestination->getParent() : nullptr;
}

istring CN_Polygon::getExitName() const {
    const CN_LevelEntityPortal* const portal = getLevelEntityPortal();
    return portal ? toIString(portal->getName()) : istring();
}

void CN_Polygon::sealExit(CN_Material* material) {
    m_polyMode = PT_SOLID;
    if (material) {
        if (!m_material)
            setMaterial(material);
        markMappingDirty();
    }
    setExitDestination(nullptr);
    m_exitDestinationIndex = NON_EXIT_INDEX;
    setAttachedEntity(nullptr);
}

void CN_Polygon::createExitPolygon(const F_DLListInit<Vector>& corners, bool forward, bool flipSide,
                                   const PlanarSpace* space) {
    CN_Mesh& mesh = requireMesh();
    const bool turned = forward == flipSide;
    const ExitPlane plane = planeOf(*space, mesh, turned);
    std::vector<Vector> places(corners.begin(), corners.end());
    for (const Vector& place : places)
        if (!place.isFinite())
            throw new F_Exception("A corner of an exit's contour is not finite");
    if (!forward)
        std::reverse(places.begin(), places.end());

    m_normal = plane.normal;
    m_worldNormal = plane.worldNormal;
    m_pointOnPlane = plane.pointOnPlane;
    const std::vector<int> vertices = findVertices(mesh, places);
    for (std::size_t i = 0; i < vertices.size(); ++i)
        addEdge(vertices[i], vertices[(i + 1) % vertices.size()], false);
    m_uvSpaces.forEach([&plane](int, CN_UVSpace& uv) {
        uv = CN_UVSpace();
        uv.space = plane.space;
    });
    m_uvCalculated = false;
    markUVDirty();
    mesh.setGeometryDirty();
    m_numVertices = static_cast<int>(places.size());
    m_numHoles = 0;
    m_additionalPoint = nullptr;
    m_selected = m_visited = false;
    setMaterial(nullptr);
    triangulize(true);
}

bool CN_Polygon::jumpable(const CN_Polygon* other) const {
    if (!neighbor(other))
        return false;
    const std::vector<const CN_Edge*> exitEdges = CN_findExitEdges(requireMesh(), this, other);
    for (const CN_Edge& edge : m_edgeList)
        for (const CN_Edge& theirs : other->m_edgeList)
            if (CN_isOpenAcross(edge, theirs, exitEdges))
                return true;
    return false;
}

/// A load that waits to bind the exit forgets the polygon.
void CN_Polygon::leaveDeserializer() {
    CN_ExitDestinationPointerDeserializer::instance()->forget(this);
    m_exitDestinationIndex = NON_EXIT_INDEX;
}

} // namespace cairn
