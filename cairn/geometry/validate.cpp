#include "cairn/geometry/validate.h"

#include "cairn/animation/animation_interface.h"
#include "cairn/animation/keyframes.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double UNIT_TOLERANCE = 1e-6; // of a unit vector's length: what a file's rounding and rotations leave
constexpr double MEAN_TOLERANCE = 1e-4; // of a normal's length: means of a weld are not made unit
constexpr double LINE_TOLERANCE = 1e-5; // a polygon within this of a line has no extent
constexpr double SAME_PLANE = 0.9999;   // cosine between the planes of texture spaces that a load takes for one
constexpr double OWN_PLANE = 0.99;      // cosine between a polygon's plane and that of its first texture space
constexpr double AREA_TOLERANCE = 1e-9; // of an area that is a sum of pieces, relative
constexpr double SNAP_TOLERANCE = 1e-5; // corners nearer than this are one for a triangulation
constexpr double LEAST_SLACK = 1e-6;    // of corners that count as one, whatever the planes' tolerance is

/// The findings of one walk.
class Findings {
  public:
    /// `entity` is where the next findings are.
    void enter(const CN_LevelEntity& entity) { m_entity = &entity; }
    void add(const char* code, int polygon, string message) {
        m_list.push_back({code, m_entity, polygon, std::move(message), false});
    }
    void addInternal(const char* code, int polygon, string message) {
        m_list.push_back({code, m_entity, polygon, std::move(message), true});
    }
    std::vector<CN_Finding> take() { return std::move(m_list); }

  private:
    const CN_LevelEntity* m_entity = nullptr; ///< not owned
    std::vector<CN_Finding> m_list;
};

/// Walks the loops of a boundary: `visit(first, last, count)` gets the first and the last edge of each and their number.
template <class Visit> void forEachLoop(const CN_Polygon::EdgeList& edges, Visit&& visit) {
    const CN_Edge *first = nullptr, *last = nullptr;
    int count = 0;
    for (const CN_Edge& edge : edges) {
        if (last && last->index(1) != edge.index(0)) {
            visit(*first, *last, count);
            last = nullptr;
        }
        if (!last) {
            first = &edge;
            count = 0;
        }
        last = &edge;
        ++count;
    }
    if (last)
        visit(*first, *last, count);
}

/// The areas of the loops as vectors, along the side from which each runs counter-clockwise.
std::vector<Vector> findLoopAreas(const CN_Polygon& polygon) {
    std::vector<Vector> areas;
    Vector origin;
    const CN_Edge* before = nullptr;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        if (!before || before->index(1) != edge.index(0)) {
            areas.emplace_back();
            origin = edge.getLocal(0); // small numbers lose less
        }
        areas.back() += (edge.getLocal(0) - origin).cross(edge.getLocal(1) - origin) * 0.5;
        before = &edge;
    }
    return areas;
}

/// The area of a piece as a vector, along the side from which it runs counter-clockwise.
Vector findFanArea(const CN_Triangle& piece) {
    Vector sum;
    for (int i = 2; i < static_cast<int>(piece.getVertices().size()); ++i) {
        const Vector& first = piece.getVertexLocal(0);
        sum += (piece.getVertexLocal(i - 1) - first).cross(piece.getVertexLocal(i) - first);
    }
    return sum * 0.5;
}

/// True where all corners lie on the line of the longest edge.
bool isLinear(const CN_Polygon& polygon) {
    const CN_Edge* longest = nullptr;
    double length = 0;
    for (const CN_Edge& edge : polygon.getEdgeList())
        if (const double l = edge.dir().length(); l > length) {
            longest = &edge;
            length = l;
        }
    if (!longest)
        return true;
    const Vector along = longest->dir() / length;
    return std::all_of(polygon.getEdgeList().begin(), polygon.getEdgeList().end(), [&](const CN_Edge& edge) {
        return (edge.getLocal(0) - longest->getLocal(0)).cross(along).length() < LINE_TOLERANCE;
    });
}

/// Why the polygon bounds no area; empty for one that does, as far as its corners tell.
string degeneracyOf(const CN_Polygon& polygon) {
    if (polygon.getEdgeList().empty())
        return "The polygon has no edges";
    for (const CN_Edge& edge : polygon.getEdgeList())
        if (edge.index(0) == edge.index(1) || edge.getVertex(0) == edge.getVertex(1))
            return formatText("The edge from vertex %d to %d has no length", edge.index(0), edge.index(1));
    string loopFault;
    forEachLoop(polygon.getEdgeList(), [&](const CN_Edge& first, const CN_Edge& last, int count) {
        if (last.index(1) != first.index(0))
            loopFault = formatText("The boundary from vertex %d ends at %d", first.index(0), last.index(1));
        else if (count < 3)
            loopFault = formatText("A loop has %d corners", count);
    });
    if (loopFault.empty() && isLinear(polygon))
        return "All corners lie on one line";
    return loopFault;
}

/// Looks at one mesh.
class MeshValidator {
  public:
    MeshValidator(const CN_Mesh& mesh, double tolerance, Findings& findings)
        : m_mesh(mesh), m_tolerance(tolerance), m_findings(findings) {}

    void validate() {
        m_findings.enter(m_mesh);
        m_children.insert(m_mesh.getChildren().begin(), m_mesh.getChildren().end());
        for (const CN_Polygon& polygon : m_mesh.getPolygonList()) {
            checkPolygon(polygon);
            ++m_place;
        }
        m_place = -1;
        checkClosed();
        checkGroups();
        for (const CN_LevelEntity* child : m_mesh.getChildren())
            checkNode(*child);
    }

  private:
    void add(const char* code, string message) { m_findings.add(code, m_place, std::move(message)); }
    void addInternal(const char* code, string message) { m_findings.addInternal(code, m_place, std::move(message)); }

    void checkPolygon(const CN_Polygon& polygon) {
        checkReferences(polygon);
        checkSpaces(polygon);
        if (!polygon.isExitPolygon() && !polygon.getMaterial() && polygon.getPolyMode() == PT_EXIT)
            add("exit-unpaired", "The exit leads nowhere");
        else if (!polygon.isExitPolygon() && !polygon.getMaterial())
            add("material-missing", "The polygon has no material");
        if (polygon.isExitPolygon() && !polygon.getLevelEntityPortal())
            add("exit-no-portal", "The exit has no portal");
        if (polygon.isExitPolygon() && (polygon.getPolyMode() != PT_EXIT || polygon.getMaterial()))
            add("exit-mode", "The exit is drawn as a wall");
        if (hasParents(polygon) && hasVertices(polygon) && !isDegenerate(polygon))
            checkPlane(polygon);
    }

    bool hasParents(const CN_Polygon& polygon) {
        const auto isOther = [&polygon](const auto& part) { return part.getParent() != &polygon; };
        const auto& edges = polygon.getEdgeList();
        const auto& pieces = polygon.getTriangleList();
        const char* fault = nullptr;
        if (polygon.getParent() != &m_mesh)
            fault = "The polygon names another mesh";
        else if (std::any_of(edges.begin(), edges.end(), isOther))
            fault = "An edge names another polygon";
        else if (std::any_of(pieces.begin(), pieces.end(), isOther))
            fault = "A piece of the triangulation names another polygon";
        if (fault)
            addInternal("polygon-parent", fault);
        return !fault;
    }

    bool isVertex(int index) const { return index >= 0 && index < m_mesh.getVertexList().count(); }

    bool hasVertices(const CN_Polygon& polygon) {
        const auto lacks = [this](int index) {
            if (isVertex(index))
                return false;
            addInternal("polygon-index", formatText("The mesh has no vertex %d", index));
            return true;
        };
        for (const CN_Edge& edge : polygon.getEdgeList())
            if (lacks(edge.index(0)) || lacks(edge.index(1)))
                return false;
        for (const CN_Triangle& piece : polygon.getTriangleList()) {
            if (std::any_of(piece.getVertices().begin(), piece.getVertices().end(), lacks))
                return false;
            checkCoordinates(piece);
        }
        return true;
    }

    void checkCoordinates(const CN_Triangle& piece) {
        const std::size_t corners = piece.getVertices().size();
        for (const auto* coordinates : {&piece.getUV(), &piece.getLightmapUV(), &piece.getDetailUV()})
            if (!coordinates->empty() && coordinates->size() != corners)
                addInternal("polygon-triangle",
                            formatText("A piece of %zu corners has coordinates for %zu", corners, coordinates->size()));
    }

    bool isDegenerate(const CN_Polygon& polygon) {
        string fault = degeneracyOf(polygon);
        if (fault.empty())
            return false;
        add("polygon-degenerate", std::move(fault));
        return true;
    }

    void checkPlane(const CN_Polygon& polygon) {
        const Vector& normal = polygon.getNormal();
        const double length = normal.length();
        if (!(std::abs(length - 1) <= MEAN_TOLERANCE))
            return add("polygon-nonplanar", formatText("The normal has the length %g", length));
        const Vector& reference = polygon.getReferenceNormal();
        if (!(reference == Vector()) && !(std::abs(reference.length() - 1) <= UNIT_TOLERANCE)) // one may be unset
            add("polygon-reference", formatText("The reference normal has the length %g", reference.length()));
        double farthest = 0;
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            const double off = std::abs((edge.getLocal(0) - polygon.getPointOnPlane()).dot(normal));
            if (!(off <= farthest))
                farthest = off;
            if (std::isnan(off)) // nothing is farther
                break;
        }
        if (!(farthest <= m_tolerance))
            add("polygon-nonplanar", formatText("A corner lies %g off the polygon's plane", farthest));
        else
            checkLoops(polygon);
    }

    void checkLoops(const CN_Polygon& polygon) {
        const std::vector<Vector> areas = findLoopAreas(polygon);
        const int holes = static_cast<int>(areas.size()) - 1;
        if (polygon.getNumHoles() < holes)
            add("polygon-holes", formatText("The polygon has %d holes and counts %d", holes, polygon.getNumHoles()));
        const auto runsAlong = [&](const Vector& area) { return area.dot(polygon.getNormal()) > 0; };
        if (!(CN_areaVector(polygon).dot(polygon.getNormal()) > 0))
            add("polygon-winding", "The boundary runs clockwise seen from the side of the normal");
        else if (std::count_if(areas.begin(), areas.end(), runsAlong) > 1) // turning a polygon over puts holes first
            add("polygon-winding", "A hole runs the way the outer loop should");
        else
            checkTriangulation(polygon);
    }

    void checkTriangulation(const CN_Polygon& polygon) {
        const Vector plane = polygon.getUVSpace(0).getMatrix().row(2).normalized();
        if (!(plane.dot(polygon.getNormal()) > OWN_PLANE))
            add("polygon-space-plane", "The first texture space is not in the plane of the polygon");
        if (!polygon.canTriangulize())
            return add("polygon-untriangulated", "The boundary gives no triangles");
        if (polygon.getTriangleList().empty())
            return;
        // Corners that are vertices lie in the plane as those of the boundary do; each may leave its place there.
        double boundary = 0, covered = 0, along = 0;
        for (const CN_Edge& edge : polygon.getEdgeList())
            boundary += edge.dir().length();
        for (const CN_Triangle& piece : polygon.getTriangleList()) {
            covered += piece.area();
            along += findFanArea(piece).dot(polygon.getNormal());
            for (std::size_t i = 0; i < piece.getVertices().size(); ++i)
                if (!(std::abs(polygon.distLocal(piece.getVertexLocal(static_cast<int>(i)))) <= m_tolerance))
                    return add("polygon-untriangulated", "A piece of the triangulation leaves the polygon's plane");
        }
        const double area = CN_areaVector(polygon).length();
        const double slack = AREA_TOLERANCE * area + std::max(m_tolerance, SNAP_TOLERANCE) * boundary;
        if (!(std::abs(covered - area) <= slack))
            add("polygon-untriangulated", formatText("The triangulation covers %g of an area of %g", covered, area));
        else if (!(covered - along <= slack))
            add("polygon-untriangulated", "A piece of the triangulation does not run as the boundary does");
    }

    void checkSpaces(const CN_Polygon& polygon) {
        if (!polygon.getUVSpaces().contains(0))
            addInternal("polygon-space", "The polygon has no first texture space");
        const Vector plane = polygon.getUVSpace(0).getMatrix().row(2).normalized();
        polygon.getUVSpaces().forEach([&](int key, const CN_UVSpace& space) {
            if (!space.space.getInverse().isFinite())
                addInternal("polygon-space", formatText("The texture space %d has no inverse", key));
            else if (key != 0 && !(space.space.getMatrix().row(2).normalized().dot(plane) >= SAME_PLANE))
                add("polygon-space-plane", formatText("The texture space %d is not in the plane of the first", key));
        });
    }

    void checkReferences(const CN_Polygon& polygon) {
        for (const CN_Polygon* neighbor : polygon.getSharedEdgeList())
            if (m_mesh.findPolygonIndex(neighbor) < 0)
                addInternal("polygon-neighbor", "A neighbour is no polygon of the mesh");
        for (CN_LevelEntityPolygonGroup* group : polygon.getGroups())
            if (!m_mesh.getPolygonGroups().contains(group) || !group->isMember(const_cast<CN_Polygon*>(&polygon)))
                addInternal("polygon-group", "The polygon is in a group that does not know it");
        if (const CN_LevelEntity* attached = polygon.getAttachedEntity())
            if (!m_children.contains(attached) || findNodePolygon(*attached) != &polygon)
                addInternal("polygon-attached", "The attached entity does not stand on the polygon");
    }

    static const CN_Polygon* findNodePolygon(const CN_LevelEntity& node) {
        if (const auto* portal = dynamic_cast<const CN_LevelEntityPortal*>(&node))
            return portal->getPortalPolygon();
        if (const auto* light = dynamic_cast<const CN_LevelEntityRadiosityLight*>(&node))
            return light->getRadiosityPolygon();
        return nullptr;
    }

    void checkClosed() {
        const std::vector<CN_OpenEdge> open = CN_findOpenEdges(m_mesh, std::max(m_tolerance, LEAST_SLACK));
        if (open.empty())
            return;
        const CN_OpenEdge& first = open.front();
        add("mesh-open", formatText("The mesh is open in %zu places, first at polygon %d from (%g, %g, %g) to "
                                    "(%g, %g, %g), where %d other polygons follow",
                                    open.size(), m_mesh.findPolygonIndex(first.polygon), first.from.x, first.from.y,
                                    first.from.z, first.to.x, first.to.y, first.to.z, first.partners));
    }

    void checkGroups() {
        std::size_t groups = 0;
        for (CN_LevelEntity* child : m_mesh.getChildren()) {
            auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child);
            if (!group)
                continue;
            ++groups;
            if (!m_mesh.getPolygonGroups().contains(group))
                addInternal("polygon-group", "A group below the mesh is none of its groups");
            for (const CN_Polygon* member : group->getSet())
                if (m_mesh.findPolygonIndex(member) < 0 || !member->getGroups().contains(group))
                    addInternal("polygon-group", "A member of a group does not know it");
        }
        if (groups != m_mesh.getPolygonGroups().size())
            addInternal("polygon-group", "The mesh has groups that do not stand below it");
    }

    /// A portal or light below the mesh.
    void checkNode(const CN_LevelEntity& node) {
        const CN_Polygon* const polygon = findNodePolygon(node);
        const bool isOurs = polygon && m_mesh.findPolygonIndex(polygon) >= 0;
        m_findings.enter(node);
        if (polygon && !isOurs)
            addInternal("polygon-attached", "The entity stands on a polygon of another mesh");
        else if (dynamic_cast<const CN_LevelEntityPortal*>(&node) && !(polygon && polygon->isExitPolygon()))
            add("exit-no-portal", "The portal stands on no exit");
        else if (polygon && dynamic_cast<const CN_LevelEntityPortal*>(&node) && polygon->getAttachedEntity() != &node)
            add("exit-no-portal", "The portal stands on an exit that has another one");
        m_findings.enter(m_mesh);
    }

    const CN_Mesh& m_mesh;
    double m_tolerance;
    Findings& m_findings;
    int m_place = 0; ///< of the polygon that is looked at
    std::unordered_set<const CN_LevelEntity*> m_children;
};

void checkKeyframes(const CN_LevelEntity& entity, Findings& findings) {
    const auto* const animated = dynamic_cast<const CN_AnimationInterface*>(&entity);
    const CN_Keyframes* const keyframes = animated ? animated->getKeyframes() : nullptr;
    if (!keyframes)
        return;
    std::vector<string> names;
    keyframes->getNames(names);
    for (const string& name : names)
        if (keyframes->find(name)->getMatrix().rotation.determinant() == 0)
            findings.add("broken-keyframe", -1, formatText("The keyframe \"%s\" has a broken matrix", name.c_str()));
}

/// Looks at a whole level.
class DocumentValidator {
  public:
    DocumentValidator(const CN_Document& document, double tolerance) : m_document(document), m_tolerance(tolerance) {}

    std::vector<CN_Finding> validate() {
        if (!m_document.getLevel())
            return {};
        CN_ConstPreIterator it = m_document.getLevel()->createConstIterator();
        for (it.begin(); !it.end(); ++it)
            collect(**it);
        for (const CN_LevelEntity* entity : m_entities)
            look(*entity);
        m_findings.enter(*m_document.getLevel());
        checkMaterials();
        checkLightmaps();
        return m_findings.take();
    }

  private:
    struct Users {
        unsigned int polygons = 0, triangleMeshes = 0;
    };

    void collect(const CN_LevelEntity& entity) {
        m_entities.push_back(&entity);
        if (const auto* mesh = dynamic_cast<const CN_Mesh*>(&entity))
            for (const CN_Polygon& polygon : mesh->getPolygonList())
                m_polygons.insert(&polygon);
    }

    void look(const CN_LevelEntity& entity) {
        m_findings.enter(entity);
        checkKeyframes(entity, m_findings);
        if (const auto* mesh = dynamic_cast<const CN_Mesh*>(&entity)) {
            MeshValidator(*mesh, m_tolerance, m_findings).validate();
            int place = 0;
            for (const CN_Polygon& polygon : mesh->getPolygonList())
                look(polygon, place++);
        } else if (const auto* triangleMesh = dynamic_cast<const CN_LevelEntityTriMesh*>(&entity))
            look(*triangleMesh);
    }

    void look(const CN_Polygon& polygon, int place) {
        if (const CN_Polygon* partner = polygon.getExitDestination()) {
            if (!m_polygons.contains(partner))
                m_findings.add("exit-unpaired", place, "The exit's partner is not in the level");
            else if (partner->getExitDestination() != &polygon)
                m_findings.add("exit-unpaired", place, "The exit's partner does not lead back");
        }
        addMaterialUser(polygon.getMaterial());
        if (const unsigned long id = polygon.getLightmapMapping().getLightmapID(); addLightmapUser(id, place))
            ++m_lightmapUsers[id].polygons;
    }

    void look(const CN_LevelEntityTriMesh& mesh) {
        m_hasTriangleMeshes = true;
        for (const CN_TMTriangle& triangle : mesh.getTriangles()) {
            addMaterialUser(triangle.getMaterial());
            if (triangle.getParent() != &mesh)
                m_findings.addInternal("triangle-parent", -1, "A triangle names another mesh");
        }
        if (const unsigned long id = mesh.getLightmapID(); addLightmapUser(id, -1))
            ++m_lightmapUsers[id].triangleMeshes;
    }

    void addMaterialUser(const CN_Material* material) {
        if (material)
            ++m_materialUsers[material];
    }
    /// False for none and, with a finding, for one that is not there.
    bool addLightmapUser(unsigned long id, int polygon) {
        if (id == NO_LIGHTMAP)
            return false;
        if (m_document.getLightmaps()->getLightmap(id))
            return true;
        m_findings.add("lightmap-dangling", polygon, formatText("There is no lightmap %lu", id));
        return false;
    }

    void checkMaterials() {
        for (const CN_MaterialsCategory& category : m_document.getMaterials().getCategories())
            for (const CN_Material* material : category.getMaterials()) {
                const auto found = m_materialUsers.find(material);
                const int users = found == m_materialUsers.end() ? 0 : found->second;
                if (material->getUseCount() != users)
                    m_findings.addInternal("material-count", -1,
                                           formatText("The material \"%s\" counts %d users and has %d",
                                                      material->name().str().c_str(), material->getUseCount(), users));
                m_materialUsers.erase(material);
            }
        if (!m_materialUsers.empty())
            m_findings.addInternal("material-unknown", -1, "A material in use is none of the document's");
    }

    void checkLightmaps() {
        if (!CN_Polygon::s_bLightmapIDsAreValidAtLoadTime)
            return;
        for (const unsigned long id : m_document.getLightmaps()->getLightmapIDs()) {
            const Users users = m_lightmapUsers[id];
            const unsigned int counted = m_document.getLightmaps()->getLightmap(id)->getRefCount();
            // A triangle mesh that goes, or takes another lightmap, leaves its reference behind; a copy of one takes none.
            const bool mayCountMore = users.triangleMeshes > 0 || (m_hasTriangleMeshes && users.polygons == 0);
            if (mayCountMore ? counted < users.polygons : counted != users.polygons)
                m_findings.addInternal("lightmap-count", -1,
                                       formatText("The lightmap %lu counts %u users and has %u", id, counted,
                                                  users.polygons + users.triangleMeshes));
        }
    }

    const CN_Document& m_document;
    double m_tolerance;
    Findings m_findings;
    std::vector<const CN_LevelEntity*> m_entities;    ///< in pre-order
    std::unordered_set<const CN_Polygon*> m_polygons; ///< of the level
    std::unordered_map<const CN_Material*, int> m_materialUsers;
    std::map<unsigned long, Users> m_lightmapUsers; ///< of the lightmaps that are there
    bool m_hasTriangleMeshes = false;               ///< the level has some
};

} // namespace

std::vector<CN_Finding> CN_validateMesh(const CN_Mesh& mesh, double tolerance) {
    Findings findings;
    findings.enter(mesh);
    checkKeyframes(mesh, findings);
    MeshValidator(mesh, tolerance, findings).validate();
    return findings.take();
}

std::vector<CN_Finding> CN_validateDocument(const CN_Document& document, double tolerance) {
    return DocumentValidator(document, tolerance).validate();
}

bool CN_isConsistent(const CN_Document& document) {
    const std::vector<CN_Finding> findings = CN_validateDocument(document, CN_LEVEL_TOLERANCE);
    return std::none_of(findings.begin(), findings.end(), [](const CN_Finding& finding) { return finding.internal; });
}

bool CN_isDegenerate(const CN_Polygon& polygon) { return !degeneracyOf(polygon).empty(); }

M_Vector3Template<double> CN_areaVector(const CN_Polygon& polygon) {
    const CN_Edge* const first = polygon.getEdgeList().first();
    if (!first)
        return {};
    const Vector origin = first->getLocal(0); // small numbers lose less
    Vector sum;
    for (const CN_Edge& edge : polygon.getEdgeList())
        sum += (edge.getLocal(0) - origin).cross(edge.getLocal(1) - origin);
    return sum * 0.5;
}

double CN_volume(const CN_Mesh& mesh) {
    double sum = 0;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        if (const CN_Edge* first = polygon.getEdgeList().first())
            sum += first->getLocal(0).dot(CN_areaVector(polygon));
    return -sum / 3;
}

} // namespace cairn
