#include "tests/support/mesh_edits.h"

#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "cairn/math/snapping.h"
#include "cairn/platform/handlers.h"

#include <algorithm>
#include <cmath>

namespace cairn::test {

namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

constexpr const char* NAMES[] = {"push",        "tilt",  "weld",  "mirror", "scale",    "flip", "recenter",
                                 "t-junctions", "split", "unify", "join",   "separate", "place"};
constexpr double STEP = 1.0 / 64;
std::string savedBytes(CN_Document& document) {
    F_MemoryFile file;
    document.save(file);
    return {static_cast<const char*>(file.getAddress()), file.getSize()};
}

/// What a host does after an edit.
void refresh(CN_LevelEntityMesh& mesh) {
    mesh.handleOwnHierarchy();
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        polygon.calculateUVCoordinates();
        polygon.buildBoundingBox(true);
    }
    mesh.calculateBoundingBox();
}

Vector unit(const MeshEdit& edit) {
    Vector axis;
    axis[edit.other % 3] = edit.a < 0 ? -1 : 1;
    return axis;
}

} // namespace

std::vector<ShelfMesh> editableMeshes() {
    std::vector<ShelfMesh> meshes;
    for (const ShelfMesh& shelf : meshShelf())
        if (shelf.polygons > 0 && shelf.polygons < 100 && shelf.tolerance < 1e-6 && shelf.name != "twoRooms")
            meshes.push_back(shelf);
    return meshes;
}

// Cells that touch along an edge alone are not closed.
MeshEditing::MeshEditing(const ShelfMesh& shelf, double tolerance)
    : m_mesh(shelf.build(*m_document)), m_tolerance(tolerance) {
    shareCorners();
    refresh(*m_mesh);
    m_closed = CN_findOpenEdges(*m_mesh, tolerance).empty();
}

std::string MeshEditing::apply(const MeshEdit& edit) {
    const std::string before = savedBytes(*m_document);
    if (!change(edit)) {
        ++m_refusals;
        return savedBytes(*m_document) == before ? "" : "what was refused has changed the level";
    }
    for (CN_LevelEntity* const child : m_document->accessLevel()->getChildren())
        if (auto* const mesh = dynamic_cast<CN_LevelEntityMesh*>(child))
            refresh(*mesh);
    return findFault();
}

bool MeshEditing::change(const MeshEdit& edit) {
    CN_Mesh::PolygonList& polygons = m_mesh->accessPolygonList();
    if (polygons.empty())
        return false;
    CN_Polygon& polygon = polygons[edit.polygon % polygons.count()];
    const Vector sizes(edit.a, edit.b, edit.c);
    switch (edit.kind) {
    case MeshEdit::PUSH:
        return m_mesh->movePolygonPlaneWorker(&polygon, edit.a * STEP, 0.05, false, Matrix(), {});
    case MeshEdit::TILT: {
        const CN_Edge& axis = polygon.accessEdgeList()[edit.other % polygon.getEdgeList().count()];
        const Vector from = axis.getLocal(0), to = axis.getLocal(1);
        return m_mesh->rotatePolygonPlane(&polygon, from, to, edit.a * 0.002, 0.05);
    }
    case MeshEdit::WELD:
        weld(std::min(0.01, leastEdge() / 3));
        return true;
    case MeshEdit::MIRROR:
        m_mesh->mirror({unit(edit), sizes * STEP}, edit.c < 0);
        return true;
    case MeshEdit::SCALE: {
        const auto factor = [](int size) { return (size < -64 ? -1 : 1) * (1 + std::abs(size % 64) / 256.0); };
        if (m_mesh->getBoundingRadius() > 100 || isNextToAxis())
            return false;
        m_mesh->scale({}, {factor(edit.a), factor(edit.b), factor(edit.c)}, nullptr);
        m_mesh->reworkVerticesWithoutWelding(); // planes along an axis have gone to the grid
        return true;
    }
    case MeshEdit::FLIP:
        m_mesh->flipFaces();
        return true;
    case MeshEdit::RECENTER:
        m_mesh->relocateCenter(edit.a < 0 ? 0 : 0.125);
        return true;
    case MeshEdit::T_JUNCTIONS:
        shareCorners();
        return true;
    case MeshEdit::SPLIT:
        return split(polygon, edit);
    case MeshEdit::UNIFY:
        return unite(edit);
    case MeshEdit::JOIN:
        return join(edit);
    case MeshEdit::SEPARATE:
        return separate(polygon);
    case MeshEdit::PLACE:
        m_mesh->setPosition(sizes * 0.125);
        m_mesh->setRotation(Matrix::rotationY((edit.polygon % 4) * std::acos(-1.0) / 2));
        return true;
    case MeshEdit::KINDS:
        break;
    }
    return false;
}

bool MeshEditing::split(CN_Polygon& polygon, const MeshEdit& edit) {
    constexpr int MOST = 60; // a long script makes no huge mesh
    if (m_mesh->getPolygonList().count() > MOST)
        return false;
    Vector middle;
    for (const CN_Edge& edge : polygon.getEdgeList())
        middle += edge.getLocal(0) / polygon.getEdgeList().count();
    const Vector along = polygon.accessEdgeList()[edit.other % polygon.getEdgeList().count()].dir().normalized();
    const M_Plane3Template<double> plane(along, middle + along * (edit.a * STEP / 8));
    double low = 0, high = 0;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        low = std::min(low, plane.distance(edge.getLocal(0)));
        high = std::max(high, plane.distance(edge.getLocal(0)));
    }
    if (low > -0.1 || high < 0.1)
        return false;
    std::vector<CN_Polygon*> made;
    polygon.split(plane, m_mesh, &made, &made, false);
    m_mesh->deletePolygon(&polygon);
    m_mesh->handleOwnHierarchy();
    for (CN_Polygon* const piece : made)
        piece->triangulize(true);
    shareCorners();
    return true;
}

void MeshEditing::weld(double radius) {
    CString report;
    m_mesh->temporaryCreateWeldGroupsAndWeldVertices(radius, radius, report);
    m_mesh->triangulizeAll(true);
}

/// What comes after cuts and unions, whose polygons have corners of their own: changes of space may move these apart.
void MeshEditing::shareCorners() {
    m_mesh->createVerticesInTJunctions(0.001);
    weld(std::min(0.001, leastEdge() / 3));
}

bool MeshEditing::unite(const MeshEdit& edit) {
    CN_Mesh::PolygonList& polygons = m_mesh->accessPolygonList();
    CN_Polygon &a = polygons[edit.polygon % polygons.count()], &b = polygons[edit.other % polygons.count()];
    MessageBoxHandler handler = setMessageBoxHandler([](const CString&, unsigned) {});
    const bool may = &a != &b && a.canUnify(&b) && std::abs(a.distLocal(b.getPointOnPlane())) < 1e-9;
    setMessageBoxHandler(std::move(handler));
    if (!may)
        return false;
    CN_Polygon* const carrier = m_mesh->addPolygon();
    const std::vector<CN_Polygon*> made = carrier->buildFrom(&a, &b);
    m_mesh->deletePolygon(carrier);
    m_mesh->deletePolygon(&a);
    m_mesh->deletePolygon(&b);
    for (CN_Polygon* const polygon : made)
        polygon->triangulize(true);
    shareCorners();
    return true;
}

/// A box comes in beside the mesh.
bool MeshEditing::join(const MeshEdit& edit) {
    constexpr int MOST = 60;
    if (m_mesh->getPolygonList().count() > MOST)
        return false;
    CN_LevelEntityMesh& box = *boxRoom(*m_document);
    box.setPosition(m_mesh->getWorldPosition() + Vector(m_mesh->getBoundingRadius() * 3 + 10, edit.b * 0.125, 0));
    m_document->accessLevel()->handleOwnHierarchy();
    m_mesh->join(&box);
    remove(box);
    return true;
}

/// The part without the polygon goes.
bool MeshEditing::separate(CN_Polygon& polygon) {
    m_document->accessLevel()->handleOwnHierarchy();
    F_DLList<CN_Polygon*> reached, rest;
    if (!m_mesh->separated(&polygon, reached, rest) || rest.empty())
        return false;
    const auto [kept, other] = m_mesh->separate(&polygon, reached, rest, 0.125);
    remove(*m_mesh);
    remove(dynamic_cast<CN_LevelEntityMesh&>(*other));
    m_mesh = dynamic_cast<CN_LevelEntityMesh*>(kept);
    return true;
}

void MeshEditing::remove(CN_LevelEntityMesh& mesh) {
    mesh.updateMaterialRefCounts(false);
    mesh.getParent()->remove(&mesh);
    delete &mesh;
}

/// True where a wall is so near to an axis, but not on it, that a scale would snap its plane and leave its corners behind.
bool MeshEditing::isNextToAxis() const {
    constexpr double NEAR = 0.9997;
    const CN_Mesh::PolygonList& polygons = m_mesh->getPolygonList();
    return std::any_of(polygons.begin(), polygons.end(), [](const CN_Polygon& polygon) {
        const double along = maxAbsComponent(polygon.getNormal());
        return along > NEAR && along < 1;
    });
}

double MeshEditing::leastEdge() const {
    double least = 1;
    for (const CN_Polygon& polygon : m_mesh->getPolygonList())
        for (const CN_Edge& edge : polygon.getEdgeList())
            least = std::min(least, edge.dir().length());
    return least;
}

std::string MeshEditing::findFault() {
    for (const CN_Finding& finding : CN_validateDocument(*m_document, m_tolerance))
        if (finding.code != std::string("mesh-open") || m_closed)
            return std::string(finding.code) + " " + std::to_string(finding.polygon) + ": " + finding.message;
    return "";
}

std::string toText(const std::vector<MeshEdit>& edits) {
    std::string text;
    for (const MeshEdit& edit : edits) {
        text += NAMES[edit.kind];
        for (const int number : {int(edit.polygon), int(edit.other), int(edit.a), int(edit.b), int(edit.c)})
            text += " " + std::to_string(number);
        text += "\n";
    }
    return text;
}

namespace {

/// The first thing that goes wrong; `edits` lose what comes behind it.
std::string runEdits(const ShelfMesh& shelf, std::vector<MeshEdit>& edits, double tolerance) {
    MeshEditing editing(shelf, tolerance);
    for (std::size_t i = 0; i < edits.size(); ++i)
        if (std::string fault = editing.apply(edits[i]); !fault.empty()) {
            edits.resize(i + 1);
            return fault;
        }
    return "";
}

} // namespace

std::string findMeshEditFault(const ShelfMesh& shelf, const std::vector<MeshEdit>& edits, double tolerance) {
    std::vector<MeshEdit> left = edits;
    std::string fault = runEdits(shelf, left, tolerance);
    if (fault.empty())
        return "";
    // Single edits are left out as long as something goes wrong still.
    for (std::size_t i = left.size(); i-- > 0;) {
        std::vector<MeshEdit> fewer = left;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
        if (std::string still = runEdits(shelf, fewer, tolerance); !still.empty()) {
            left = std::move(fewer);
            fault = std::move(still);
            i = std::min(i, left.size());
        }
    }
    return shelf.name + ": " + fault + "\n" + toText(left);
}

} // namespace cairn::test
