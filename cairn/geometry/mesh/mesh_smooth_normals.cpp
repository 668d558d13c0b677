#include "cairn/entities/polygon_group.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

/// Adds normals up by vertex. It is used again and again for a mesh, so that only what was touched costs.
class NormalSums {
  public:
    explicit NormalSums(std::size_t vertices) : m_sums(vertices), m_isTouched(vertices) {}

    /// Throws `std::out_of_range` for a vertex that is not there. What would make the sum zero is not added.
    void add(int vertex, const Vector& normal) {
        const auto place = static_cast<std::size_t>(vertex); // a negative index is beyond the list
        const Vector sum = m_sums.at(place) + normal;
        if (!(sum.length() > 0))
            return;
        m_sums[place] = sum;
        if (!m_isTouched[place]) {
            m_isTouched[place] = true;
            m_touched.push_back(vertex);
        }
    }
    /// The unit sum; zero where nothing was added. Throws `std::out_of_range` for a vertex that is not there.
    Vector normalAt(int vertex) const { return m_sums.at(static_cast<std::size_t>(vertex)).normalized(); }
    /// The vertices that have a sum, ascending.
    const std::vector<int>& sortTouched() {
        std::sort(m_touched.begin(), m_touched.end());
        return m_touched;
    }
    void clear() {
        for (const int vertex : m_touched) {
            m_sums[static_cast<std::size_t>(vertex)] = Vector();
            m_isTouched[static_cast<std::size_t>(vertex)] = false;
        }
        m_touched.clear();
    }

  private:
    std::vector<Vector> m_sums;
    std::vector<bool> m_isTouched;
    std::vector<int> m_touched; ///< as they came
};

/// The polygons by their meshes, `mesh` first and others as they were made, and by their places there: sums do not depend on
/// addresses.
std::vector<CN_Polygon*> inListOrder(const std::set<CN_Polygon*>& polygons, const CN_Mesh& mesh) {
    struct Place {
        std::uint32_t mesh;
        int polygon;
        CN_Polygon* which;
    };
    std::vector<Place> places;
    places.reserve(polygons.size());
    for (CN_Polygon* const polygon : polygons) {
        const CN_Mesh* const parent = polygon->getParent();
        const std::uint32_t number = parent && parent != &mesh ? parent->getProcessNumber() : 0;
        places.push_back({number, parent ? parent->findPolygonIndex(polygon) : -1, polygon});
    }
    std::sort(places.begin(), places.end(),
              [](const Place& a, const Place& b) { return std::tie(a.mesh, a.polygon) < std::tie(b.mesh, b.polygon); });
    std::vector<CN_Polygon*> ordered;
    ordered.reserve(places.size());
    for (const Place& place : places)
        ordered.push_back(place.which);
    return ordered;
}

/// Calls `smooth(polygons)` for the polygons that are smoothed with each polygon of the mesh, in list order, unless those of
/// one before it had it among them.
template <class Smooth> void forEachSmoothSet(CN_Mesh& mesh, bool geometry, bool others, Smooth&& smooth) {
    std::unordered_set<const CN_Polygon*> done;
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        if (done.contains(&polygon))
            continue;
        std::vector<CN_Polygon*> polygons = inListOrder(mesh.getAllPolysToSmooth(&polygon, geometry), mesh);
        if (!others)
            std::erase_if(polygons, [&mesh](const CN_Polygon* each) { return each->getParent() != &mesh; });
        smooth(polygons);
        done.insert(polygons.begin(), polygons.end());
    }
}

std::size_t countVertices(const CN_Mesh& mesh) { return static_cast<std::size_t>(mesh.getVertexList().count()); }

/// Adds a polygon's normal once to each vertex of its pieces.
void addPieces(const CN_Polygon& polygon, std::vector<int>& seen, NormalSums& sums) {
    seen.clear();
    for (const CN_Triangle& piece : polygon.getTriangleList())
        seen.insert(seen.end(), piece.getVertices().begin(), piece.getVertices().end());
    std::sort(seen.begin(), seen.end());
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    for (const int vertex : seen)
        sums.add(vertex, polygon.getNormal());
}

} // namespace

std::set<CN_Polygon*> CN_Mesh::getAllPolysToSmooth(CN_Polygon* polygon, bool geometry) const {
    std::set<CN_Polygon*> polygons{polygon};
    for (CN_LevelEntityPolygonGroup* const group : polygon->getGroups())
        if (m_polygonGroups.contains(group) && (group->isSmooth() || (geometry && group->isSmoothGeometry())))
            polygons.insert(group->getSet().begin(), group->getSet().end());
    return polygons;
}

std::map<CN_Polygon*, std::shared_ptr<const CN_Mesh::VertexNormals>>
CN_Mesh::calculateSharedVertexNormals(bool geometry) {
    std::map<CN_Polygon*, std::shared_ptr<const VertexNormals>> result;
    NormalSums sums(countVertices(*this));
    forEachSmoothSet(*this, geometry, false, [&](const std::vector<CN_Polygon*>& polygons) {
        sums.clear();
        for (const CN_Polygon* const polygon : polygons)
            for (const CN_Edge& edge : polygon->getEdgeList())
                sums.add(edge.index(0), polygon->getNormal());
        auto normals = std::make_shared<VertexNormals>();
        for (const int vertex : sums.sortTouched())
            normals->emplace_hint(normals->end(), vertex, sums.normalAt(vertex));
        for (CN_Polygon* const polygon : polygons)
            result.emplace(polygon, normals);
    });
    return result;
}

void CN_Mesh::calculateVertexNormals(std::map<CN_Polygon*, VertexNormals>& result, bool geometry) {
    for (const auto& [polygon, normals] : calculateSharedVertexNormals(geometry))
        result.try_emplace(polygon, *normals);
}

void CN_Mesh::calculateVertexNormalsForTriangles(std::map<CN_Triangle*, std::vector<Vector>>& result, bool geometry) {
    std::map<CN_Triangle*, std::vector<Vector>> found;
    NormalSums sums(countVertices(*this));
    std::vector<int> seen;
    forEachSmoothSet(*this, geometry, true, [&](const std::vector<CN_Polygon*>& polygons) {
        sums.clear();
        for (const CN_Polygon* const polygon : polygons)
            addPieces(*polygon, seen, sums);
        for (CN_Polygon* const polygon : polygons)
            for (CN_Triangle& piece : polygon->accessTriangleList()) {
                std::vector<Vector>& normals = found.try_emplace(&piece).first->second;
                if (normals.empty())
                    for (const int vertex : piece.getVertices())
                        normals.push_back(sums.normalAt(vertex));
            }
    });
    result.merge(found);
}

} // namespace cairn
