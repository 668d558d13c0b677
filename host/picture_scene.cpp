#include "host/picture_scene.h"

#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"
#include "host/console.h"
#include "host/entity_text.h"
#include "host/room_graph.h"

#include <unordered_map>
#include <unordered_set>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;

constexpr I_Color NO_COLOR(176, 176, 176); ///< of faces without a picture to have a colour of
constexpr I_Color ENTITY_COLOR(70, 110, 200);

Vector middleOf(const E_BBox<double>& box) {
    return {box.minX / 2 + box.maxX / 2, box.minY / 2 + box.maxY / 2, box.minZ / 2 + box.maxZ / 2};
}
/// The middle of an exit's box in the world.
Vector middleOf(const CN_Polygon& exit) {
    E_BBox<double> box;
    for (const CN_Edge& edge : exit.getEdgeList())
        box.expand(exit.getParent()->worldTransform(edge.getLocal(0)));
    return middleOf(box);
}
bool isSamePlace(const Vector& a, const Vector& b) { return (a - b).length() <= CN_LEVEL_TOLERANCE; }

I_Color colorOf(const CN_Material* material) {
    return material && material->getThumbImage() ? I_Color(material->getAverageValue()) : NO_COLOR;
}

class SceneCollector {
  public:
    explicit SceneCollector(CN_LevelEntity& root) : m_root(root), m_graph(makeRoomGraph(root)) {}

    PictureScene collect() {
        for (CN_LevelEntity* child : m_root.getChildren())
            visit(*child);
        for (const RoomDoor& door : findDoors(m_graph))
            addRoute(*door.exit);
        return std::move(m_scene);
    }

  private:
    /// Recursion is as deep as the tree, which a load bounds.
    void visit(CN_LevelEntity& entity) {
        if (!entity.isVisible()) {
            ++m_scene.hidden;
            return;
        }
        if (const auto* mesh = dynamic_cast<const CN_LevelEntityMesh*>(&entity))
            addMesh(*mesh);
        else if (const auto* triangles = dynamic_cast<const CN_LevelEntityTriMesh*>(&entity))
            addTriangles(*triangles);
        else if (const auto* portal = dynamic_cast<const CN_LevelEntityPortal*>(&entity))
            addPortal(*portal);
        else if (!dynamic_cast<const CN_VirtualNode*>(&entity))
            addMark({entity.getWorldPosition(), plainName(entity), kindOf(entity), markColor(entity)});
        Progress::count();
        for (CN_LevelEntity* child : entity.getChildren())
            visit(*child);
    }
    static PictureMark::Kind kindOf(const CN_LevelEntity& entity) {
        return dynamic_cast<const CN_LevelEntityDynPointlight*>(&entity) ? PictureMark::LIGHT : PictureMark::ENTITY;
    }
    /// Lights are as bright as paper: a darker shade of their colour shows on it.
    static I_Color markColor(CN_LevelEntity& entity) {
        auto* const sphere = dynamic_cast<CN_UISphereEntity*>(&entity);
        const I_Color color = sphere ? sphere->getColor() : ENTITY_COLOR;
        const auto darker = [](unsigned char c) { return static_cast<unsigned char>(c * 3 / 4); };
        return {darker(color.red), darker(color.green), darker(color.blue)};
    }

    void addMesh(const CN_LevelEntityMesh& mesh) {
        E_BBox<double> box;
        const double volume = CN_volume(mesh); // negative where faces look outward
        const bool isClosed = volume != 0 && !mesh.isTrigger() && CN_findOpenEdges(mesh, CN_LEVEL_TOLERANCE).empty();
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            PictureFace face;
            face.isSolid = isClosed && volume < 0;
            face.color = colorOf(polygon.getMaterial());
            face.doubleSided = polygon.getMaterial() && polygon.getMaterial()->isDoubleSided();
            face.kind = mesh.isTrigger()          ? PictureFaceKind::TRIGGER
                        : polygon.isExitPolygon() ? PictureFaceKind::EXIT
                                                  : PictureFaceKind::SURFACE;
            face.loops = loopsOf(mesh, polygon);
            addFace(std::move(face), CN_areaVector(polygon) * mesh.getWorldRotation(), box);
        }
        const bool isRoom =
            m_graph.rooms.empty() ? mesh.getParent() == &m_root && isClosed && volume > 0 : mesh.isRoom();
        if (box.empty || mesh.isTrigger() || !isRoom)
            return;
        m_middles.emplace(&mesh, middleOf(box));
        addMark({middleOf(box), plainName(mesh), PictureMark::ROOM, {}});
    }
    /// The loops of edges, cut where neighbours in the list do not meet.
    static std::vector<PictureLoop> loopsOf(const CN_Mesh& mesh, const CN_Polygon& polygon) {
        std::vector<PictureLoop> loops;
        int last = -1;
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            if (loops.empty() || edge.index(0) != last)
                loops.emplace_back();
            loops.back().push_back({mesh.worldTransform(edge.getLocal(0))});
            last = edge.index(1);
        }
        return loops;
    }

    void addTriangles(const CN_LevelEntityTriMesh& mesh) {
        E_BBox<double> box;
        for (const CN_TMTriangle& triangle : mesh.getTriangles()) {
            Vector corners[3], normal;
            if (!triangle.getCorners(corners)) {
                ++m_scene.flat;
                continue;
            }
            triangle.getNormal(normal);
            PictureFace face;
            face.color = colorOf(triangle.getMaterial());
            face.doubleSided = triangle.getMaterial() && triangle.getMaterial()->isDoubleSided();
            face.loops.emplace_back();
            for (const Vector& corner : corners)
                face.loops.back().push_back({mesh.worldTransform(corner)});
            addFace(std::move(face), normal * mesh.getWorldRotation(), box);
        }
    }

    void addFace(PictureFace face, const Vector& area, E_BBox<double>& meshBox) {
        for (const PictureLoop& loop : face.loops)
            for (const PictureCorner& corner : loop)
                if (!corner.at.isFinite()) {
                    ++m_scene.tooFar;
                    return;
                }
        face.normal = area.normalized();
        if (!(face.normal.length() > 0)) {
            ++m_scene.flat;
            return;
        }
        for (const PictureLoop& loop : face.loops)
            for (const PictureCorner& corner : loop) {
                m_scene.box.expand(corner.at);
                m_scene.faceBox.expand(corner.at);
                meshBox.expand(corner.at);
            }
        m_scene.faces.push_back(std::move(face));
    }

    void addPortal(const CN_LevelEntityPortal& portal) {
        constexpr I_Color COLOR(0, 120, 60);
        const CN_Polygon* const polygon = portal.getPortalPolygon();
        if (!polygon || !polygon->isExitPolygon() || polygon->getEdgeList().empty())
            return;
        const Vector middle = middleOf(*polygon);
        const CN_Polygon* const partner = polygon->getExitDestination();
        if (m_markedExits.contains(partner) && partner->getExitName() == polygon->getExitName() &&
            isSamePlace(middleOf(*partner), middle))
            return;
        m_markedExits.insert(polygon);
        addMark({middle, plainName(portal), PictureMark::EXIT, COLOR});
    }
    /// Rooms that are not drawn have no routes.
    void addRoute(const RoomExit& exit) {
        const auto from = m_middles.find(exit.from), to = m_middles.find(exit.to);
        const CN_Polygon* const partner = exit.polygon->getExitDestination();
        if (from == m_middles.end() || to == m_middles.end() || exit.polygon->getEdgeList().empty() ||
            partner->getEdgeList().empty())
            return;
        PictureRoute route{from->second, middleOf(*exit.polygon)};
        if (const Vector other = middleOf(*partner); !isSamePlace(route.back(), other))
            route.push_back(other);
        route.push_back(to->second);
        for (const Vector& point : route)
            if (!point.isFinite()) {
                ++m_scene.tooFar;
                return;
            }
        for (const Vector& point : route)
            m_scene.box.expand(point);
        m_scene.routes.push_back(std::move(route));
    }
    void addMark(PictureMark mark) {
        if (!mark.at.isFinite()) {
            ++m_scene.tooFar;
            return;
        }
        m_scene.box.expand(mark.at);
        m_scene.marks.push_back(std::move(mark));
    }

    CN_LevelEntity& m_root;
    RoomGraph m_graph;
    std::unordered_map<const CN_Mesh*, Vector> m_middles; ///< of rooms that are drawn; looked up only
    std::unordered_set<const CN_Polygon*> m_markedExits;  ///< looked up only
    PictureScene m_scene;
};

} // namespace

PictureScene makePictureScene(CN_LevelEntity& root) { return SceneCollector(root).collect(); }

} // namespace cairn::host
