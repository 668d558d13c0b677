#include "host/export_scene.h"

#include "cairn/entities/tri_mesh.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/console.h"
#include "host/entity_text.h"
#include "host/export_motion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cfloat>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;
using UV = M_Vector2Template<double>;

/// True where single precision, which glTF stores, can hold the point.
bool isStorable(const Vector& v) {
    return std::abs(v.x) <= FLT_MAX && std::abs(v.y) <= FLT_MAX && std::abs(v.z) <= FLT_MAX;
}

/// A corner of a face, with its place in the mesh's vertex list.
struct Corner {
    int vertex;
    Vector position; ///< in the entity's space
    UV uv;
};

/// Collects the surfaces of one entity by their material.
class SurfaceCollector {
  public:
    explicit SurfaceCollector(std::vector<ExportSurface>& surfaces) : m_surfaces(surfaces) {}

    /// A face begins: its corners share their vertices as long as no other one begins.
    void begin(const CN_Material* material, const Vector& normal) {
        const auto [it, isNew] = m_places.try_emplace(material, m_surfaces.size());
        if (isNew)
            m_surfaces.emplace_back().material = material;
        m_surface = &m_surfaces[it->second];
        m_normal = acrossBorder(normal);
        m_vertices.clear();
    }
    /// A convex piece of the face as a fan, turned round.
    void addFan(const std::vector<Corner>& corners) {
        for (std::size_t i = 2; i < corners.size(); ++i) {
            const Corner &a = corners[0], &b = corners[i - 1], &c = corners[i];
            if (a.vertex == b.vertex || b.vertex == c.vertex || c.vertex == a.vertex)
                continue;
            for (const Corner* corner : {&a, &c, &b})
                m_surface->indices.push_back(place(*corner));
        }
    }

  private:
    unsigned place(const Corner& corner) {
        const auto next = static_cast<unsigned>(m_surface->positions.size());
        const auto [it, isNew] = m_vertices.try_emplace(corner.vertex, next);
        if (isNew) {
            m_surface->positions.push_back(acrossBorder(corner.position));
            m_surface->normals.push_back(m_normal);
            m_surface->uvs.push_back(corner.uv);
        }
        return it->second;
    }

    std::vector<ExportSurface>& m_surfaces;
    std::unordered_map<const CN_Material*, std::size_t> m_places; ///< in m_surfaces; never walked
    ExportSurface* m_surface = nullptr;                           ///< of the present face
    Vector m_normal;                                              ///< of the present face
    std::unordered_map<int, unsigned> m_vertices;                 ///< of the present face: its places in the surface
};

/// Takes the geometry of one entity.
class GeometryExport {
  public:
    GeometryExport(ExportScene& scene, ExportNode& node) : m_scene(scene), m_node(node), m_collector(node.surfaces) {}

    void run() {
        if (const auto* mesh = dynamic_cast<const CN_Mesh*>(m_node.entity)) {
            int index = 0;
            for (const CN_Polygon& polygon : mesh->getPolygonList()) {
                addPolygon(polygon, index++);
                Progress::count();
            }
        }
        if (const auto* mesh = dynamic_cast<const CN_LevelEntityTriMesh*>(m_node.entity))
            for (const CN_TMTriangle& triangle : mesh->getTriangles()) {
                addTriangle(*mesh, triangle);
                Progress::count();
            }
        // A face none of whose triangles has an area leaves an empty surface.
        std::erase_if(m_node.surfaces, [](const ExportSurface& surface) { return surface.indices.empty(); });
    }

  private:
    void addPolygon(const CN_Polygon& polygon, int index) {
        if (polygon.getPolyMode() == PT_EXIT || polygon.isExitPolygon())
            return;
        if (polygon.getTriangleList().empty()) {
            lose("polygons have no triangles and are left out", index);
            return;
        }
        std::vector<std::vector<Corner>> pieces;
        if (!readPieces(polygon, pieces)) {
            lose("polygons have corners that cannot be exported and are left out", index);
            return;
        }
        centre(pieces);
        m_collector.begin(polygon.getMaterial(), normalOf(polygon, pieces));
        for (const std::vector<Corner>& piece : pieces)
            m_collector.addFan(piece);
    }

    /// False where a corner is not in the mesh or cannot be stored.
    static bool readPieces(const CN_Polygon& polygon, std::vector<std::vector<Corner>>& pieces) {
        const CN_Mesh::VertexList& vertices = polygon.getParent()->getVertexList();
        const CN_Polygon::PlanarSpace& space = polygon.getUVSpace(0);
        for (const CN_Triangle& piece : polygon.getTriangleList()) {
            std::vector<Corner>& corners = pieces.emplace_back();
            for (const int vertex : piece.getVertices()) {
                if (vertex < 0 || vertex >= vertices.count() || !isStorable(vertices[vertex].local))
                    return false;
                corners.push_back({vertex, vertices[vertex].local, space.toUV(vertices[vertex].local)});
            }
        }
        return true;
    }

    /// Moves the coordinates by whole repeats of the texture to about 0, where single precision is finest. Those that it
    /// cannot hold become 0.
    static void centre(std::vector<std::vector<Corner>>& pieces) {
        UV least{DBL_MAX, DBL_MAX}, greatest{-DBL_MAX, -DBL_MAX};
        for (const std::vector<Corner>& piece : pieces)
            for (const Corner& corner : piece) {
                least = {std::min(least.x, corner.uv.x), std::min(least.y, corner.uv.y)};
                greatest = {std::max(greatest.x, corner.uv.x), std::max(greatest.y, corner.uv.y)};
            }
        const UV repeats{std::floor(least.x / 2 + greatest.x / 2), std::floor(least.y / 2 + greatest.y / 2)};
        for (std::vector<Corner>& piece : pieces)
            for (Corner& corner : piece) {
                corner.uv -= repeats;
                if (!(std::abs(corner.uv.x) <= FLT_MAX && std::abs(corner.uv.y) <= FLT_MAX))
                    corner.uv = {};
            }
    }

    /// The polygon's normal, or where that is none the one of its first triangle with an area, or up.
    static Vector normalOf(const CN_Polygon& polygon, const std::vector<std::vector<Corner>>& pieces) {
        Vector normal = polygon.getNormal().normalized();
        for (const std::vector<Corner>& piece : pieces)
            for (std::size_t i = 2; i < piece.size() && normal == Vector(); ++i)
                normal = (piece[i - 1].position - piece[0].position)
                             .cross(piece[i].position - piece[0].position)
                             .normalized();
        return normal.normalized({0, 1, 0});
    }

    void addTriangle(const CN_LevelEntityTriMesh& mesh, const CN_TMTriangle& triangle) {
        Vector corners[3];
        if (!triangle.getCorners(corners) || !isStorable(corners[0]) || !isStorable(corners[1]) ||
            !isStorable(corners[2])) {
            m_scene.lose("triangles have corners that cannot be exported and are left out", qualifiedName(mesh));
            return;
        }
        const Vector normal = (corners[1] - corners[0]).cross(corners[2] - corners[0]).normalized();
        if (normal == Vector())
            return; // nothing to be seen
        std::vector<std::vector<Corner>> piece(1);
        for (int i = 0; i < 3; ++i) {
            const M_Vector2Template<float>& uv = triangle.getCornerUV(i);
            piece[0].push_back({i, corners[i], {uv.x, uv.y}});
        }
        centre(piece);
        m_collector.begin(triangle.getMaterial(), normal);
        m_collector.addFan(piece[0]);
    }

    void lose(const char* what, int polygon) {
        m_scene.lose(what, fmt::format("{}#{}", qualifiedName(*m_node.entity), polygon));
    }

    ExportScene& m_scene;
    ExportNode& m_node;
    SurfaceCollector m_collector;
};

/// Walks the tree. Recursion is as deep as the tree, which a load bounds.
class SceneMaker {
  public:
    SceneMaker(const ExportChoice& choice, ExportScene& scene)
        : m_choice(choice), m_filter(toIString(choice.filter)), m_scene(scene) {}

    /// Adds the entity and what is chosen below it; nothing where nothing is. `isBelowMatch` says that an ancestor's
    /// name has the filter's text.
    void add(const CN_LevelEntity& entity, int parent, bool isBelowMatch) {
        const bool isMatch = isBelowMatch || toIString(entity.getName()).find(m_filter) != istring::npos;
        const auto place = static_cast<int>(m_scene.nodes.size());
        {
            ExportNode& node = m_scene.nodes.emplace_back();
            node.entity = &entity;
            node.parent = parent;
            node.isChosen = isMatch && (!m_choice.selectionOnly || m_choice.selection.count(&entity) > 0);
        }
        for (const CN_LevelEntity* child : entity.getChildren())
            add(*child, place, isMatch);
        if (m_scene.nodes.size() == static_cast<std::size_t>(place) + 1 && !m_scene.nodes.back().isChosen)
            m_scene.nodes.pop_back();
    }

    void fill() {
        for (ExportNode& node : m_scene.nodes) {
            node.placement = placementAcross(node.entity->getRotation(), node.entity->getPosition());
            if (!node.isChosen)
                continue;
            GeometryExport(m_scene, node).run();
            node.animations = makeExportAnimations(*node.entity);
        }
    }

  private:
    const ExportChoice& m_choice;
    istring m_filter;
    ExportScene& m_scene;
};

} // namespace

std::size_t ExportScene::triangleCount() const {
    std::size_t indices = 0;
    for (const ExportNode& node : nodes)
        for (const ExportSurface& surface : node.surfaces)
            indices += surface.indices.size();
    return indices / 3;
}

void ExportScene::lose(const char* what, const std::string& name) {
    const std::string_view text = what;
    auto it = std::find_if(losses.begin(), losses.end(), [&](const ExportLoss& loss) { return loss.what == text; });
    if (it == losses.end())
        it = losses.insert(losses.end(), ExportLoss{what, 0, name});
    ++it->count;
}

ExportScene makeExportScene(const CN_LevelEntity& root, const ExportChoice& choice) {
    ExportScene scene;
    SceneMaker maker(choice, scene);
    maker.add(root, -1, false);
    maker.fill();
    return scene;
}

} // namespace cairn::host
