#include "host/import_mesh.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/name_validator.h"
#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/validate.h"
#include "host/console.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;
using Vector2 = M_Vector2Template<double>;
using Matrix = M_Matrix3Template<double>;

/// A direction in the plane of a unit normal, of unit length.
Vector directionIn(const Vector& normal) {
    const Vector axis = std::abs(normal.x) < 0.6 ? Vector(1, 0, 0) : Vector(0, 1, 0);
    const Vector along = axis - normal * axis.dot(normal);
    return along / along.length();
}

/// Coordinates over a plane of two axes, fitted by least squares: each of the two runs as a + b.s + c.t.
struct PlaneFit {
    double ss = 0, st = 0, tt = 0;
    std::array<double, 2> su{}, tu{};

    void add(double s, double t, const Vector2& uv) {
        ss += s * s;
        st += s * t;
        tt += t * t;
        su[0] += s * uv.x;
        tu[0] += t * uv.x;
        su[1] += s * uv.y;
        tu[1] += t * uv.y;
    }
    /// False where the places lie on a line.
    bool solve(int i, double& b, double& c) const {
        const double determinant = ss * tt - st * st;
        // Places across whose line there is less than a millionth of their extent along it are as good as on it.
        if (!(determinant > 1e-12 * (ss + tt) * (ss + tt)))
            return false;
        const auto k = static_cast<std::size_t>(i);
        b = (su[k] * tt - tu[k] * st) / determinant;
        c = (tu[k] * ss - su[k] * st) / determinant;
        return true;
    }
};

/// The axes along which the world looks at a face: from above, from the side or from the front, one repeat a unit.
ImportMapping usualMapping(const Vector& normal) {
    const double x = std::abs(normal.x), y = std::abs(normal.y), z = std::abs(normal.z);
    if (y >= x && y >= z)
        return {{1, 0, 0}, {0, 0, -1}, {}};
    if (x >= z)
        return {{0, 0, 1}, {0, -1, 0}, {}};
    return {{1, 0, 0}, {0, -1, 0}, {}};
}

/// The texture space of a face that gives what the mapping gives, with `corner` as its origin; none where the mapping's
/// axes span no area of the face, or one that a level cannot hold.
std::optional<CN_Polygon::PlanarSpace> toSpace(const ImportMapping& mapping, const Vector& normal, const Vector& corner,
                                               const Vector& origin) {
    /// A repeat of the texture is no shorter: a load repairs what is.
    constexpr double SHORTEST_REPEAT = 1e-3;
    constexpr double LONGEST_REPEAT = 1e12;
    const Vector u = mapping.uAxis - normal * mapping.uAxis.dot(normal);
    const Vector v = mapping.vAxis - normal * mapping.vAxis.dot(normal);
    const double area = u.cross(v).dot(normal);
    if (!(std::abs(area) > 1e-9 * u.length() * v.length()))
        return std::nullopt;
    const Vector rowU = v.cross(normal) / area, rowV = normal.cross(u) / area;
    for (const double length : {rowU.length(), rowV.length()})
        if (!(length > SHORTEST_REPEAT && length < LONGEST_REPEAT))
            return std::nullopt;
    const Matrix rows(rowU, rowV, normal);
    const Vector2 offset(mapping.uAxis.dot(corner) + mapping.offset.x, mapping.vAxis.dot(corner) + mapping.offset.y);
    if (rows.determinant() == 0 || !std::isfinite(offset.x) || !std::isfinite(offset.y))
        return std::nullopt;
    return CN_Polygon::PlanarSpace(rows, corner - origin, offset);
}

/// Makes the polygons of one mesh whose origin stands at `origin`.
class MeshMaker {
  public:
    MeshMaker(const ImportMesh& source, const Vector& origin, CN_LevelEntityMesh& mesh, ImportMeshCounts& counts)
        : m_source(source), m_origin(origin), m_mesh(mesh), m_counts(counts) {}

    void make() {
        m_numbers.assign(m_source.corners.size(), -1);
        for (const ImportFace& face : m_source.faces)
            addPolygon(face);
    }

  private:
    int vertexOf(std::uint32_t corner) {
        int& number = m_numbers.at(corner);
        if (number < 0) {
            number = m_vertices++;
            m_mesh.addVertex(m_source.corners[corner] - m_origin);
        }
        return number;
    }

    void addLoop(CN_Polygon& polygon, const std::vector<std::uint32_t>& corners, bool isHole) {
        const std::size_t count = corners.size();
        int from = vertexOf(corners[0]);
        for (std::size_t i = 0; i < count; ++i) {
            const int to = vertexOf(corners[i + 1 < count ? i + 1 : 0]);
            polygon.addEdge(from, to, isHole && i == 0);
            from = to;
        }
        polygon.setNumVertices(polygon.numVertices() + static_cast<int>(count));
    }

    void addPolygon(const ImportFace& face) {
        CN_Polygon& polygon = *m_mesh.addPolygon();
        addLoop(polygon, face.corners, false);
        for (const std::vector<std::uint32_t>& hole : face.holes)
            addLoop(polygon, hole, true);
        polygon.setNumHoles(static_cast<int>(face.holes.size()));
        polygon.setNormal(face.normal);
        polygon.setWorldNormal(face.normal);
        polygon.setReferenceNormal(face.normal);
        polygon.updatePointOnPlane();
        polygon.editUVSpace(0) = spaceOf(face);
        polygon.setMaterial(face.material);
        ++m_counts.polygons;
    }

    CN_Polygon::PlanarSpace spaceOf(const ImportFace& face) {
        const Vector& corner = m_source.corners[face.corners[0]];
        if (face.mapping) {
            if (const auto space = toSpace(*face.mapping, face.normal, corner, m_origin))
                return *space;
            ++m_counts.unmapped;
        }
        return *toSpace(usualMapping(face.normal), face.normal, corner, m_origin);
    }

    const ImportMesh& m_source;
    Vector m_origin;
    CN_LevelEntityMesh& m_mesh;
    ImportMeshCounts& m_counts;
    std::vector<int> m_numbers; ///< of the vertex for each corner, -1 before it is made
    int m_vertices = 0;
};

} // namespace

std::optional<ImportMapping> fitMapping(const std::vector<Vector>& corners, const std::vector<Vector2>& coordinates,
                                        const Vector& normal) {
    /// A repeat of a texture has no more texels a side: what is less than one off cannot be seen.
    constexpr double SLACK = 1.0 / 4096;
    const auto count = static_cast<double>(corners.size());
    Vector middle;
    Vector2 mean;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        middle += corners[i] / count;
        mean.x += coordinates[i].x / count;
        mean.y += coordinates[i].y / count;
    }
    const Vector along = directionIn(normal), across = normal.cross(along);
    PlaneFit fit;
    double extent = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vector from = corners[i] - middle;
        extent = std::max(extent, from.length());
        fit.add(from.dot(along), from.dot(across), coordinates[i] - mean);
    }
    Vector axes[2];
    for (int i = 0; i < 2; ++i) {
        double b = 0, c = 0;
        if (!fit.solve(i, b, c))
            return std::nullopt;
        axes[i] = along * b + across * c;
    }
    // A face painted with one colour of a picture, or along a line of it, has axes that span nothing: the least that can be
    // seen of a slant is added, so that they do.
    if (std::abs(axes[0].cross(axes[1]).dot(normal)) <= 1e-6 * (axes[0].dot(axes[0]) + axes[1].dot(axes[1])) ||
        axes[0].cross(axes[1]).dot(normal) == 0) {
        const double slant = SLACK / 64 / extent;
        const bool first = axes[0].length() >= axes[1].length();
        Vector& strong = axes[first ? 0 : 1];
        if (!(strong.length() > slant))
            strong += along * slant;
        axes[first ? 1 : 0] += normal.cross(strong) * (slant / strong.length());
    }
    ImportMapping mapping{axes[0], axes[1], {}};
    mapping.offset = {mean.x - axes[0].dot(middle), mean.y - axes[1].dot(middle)};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vector from = corners[i] - middle;
        if (!(std::abs(axes[0].dot(from) + mean.x - coordinates[i].x) < SLACK &&
              std::abs(axes[1].dot(from) + mean.y - coordinates[i].y) < SLACK))
            return std::nullopt;
    }
    return mapping;
}

Vector loopNormal(const std::vector<Vector>& corners, const std::vector<std::uint32_t>& loop) {
    Vector sum;
    const Vector& origin = corners[loop[0]];
    for (std::size_t i = 1; i + 1 < loop.size(); ++i)
        sum += (corners[loop[i]] - origin).cross(corners[loop[i + 1]] - origin);
    return sum;
}

CN_LevelEntityMesh& addImportMesh(const ImportMesh& source, CN_LevelEntity& parent, ImportMeshCounts& counts) {
    const Vector middle = gridMiddle(source.corners);
    std::unique_ptr<CN_LevelEntity> made(
        CN_EntityFactory::instance()->createEntity(CN_KIND_MESH, parent.getDocument()));
    auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(made.get());
    if (!mesh)
        throw new F_Exception("A mesh cannot be made");
    mesh->setName(CString(source.name), false);
    parent.addOwned(std::move(made), false);
    mesh->setPosition(middle - parent.getWorldPosition());
    MeshMaker(source, middle, *mesh, counts).make();
    mesh->handleOwnHierarchy();
    mesh->transform();
    auto face = source.faces.begin();
    for (CN_Polygon& polygon : mesh->accessPolygonList()) {
        if (CN_isDegenerate(polygon) && counts.degenerate++ == 0)
            counts.firstDegenerateLine = face->line;
        ++face;
        polygon.triangulize(true);
        if (polygon.getTriangleList().empty())
            ++counts.untriangulated;
        polygon.calculateUVCoordinates();
        polygon.buildBoundingBox(true);
        Progress::count();
    }
    mesh->calculateBoundingBox();
    mesh->invalidateObject(true);
    ++counts.meshes;
    return *mesh;
}

Vector gridMiddle(const std::vector<Vector>& points) {
    constexpr double GRID = 0.125;
    if (points.empty())
        return {};
    Vector least = points[0], most = points[0];
    for (const Vector& p : points) {
        least = {std::min(least.x, p.x), std::min(least.y, p.y), std::min(least.z, p.z)};
        most = {std::max(most.x, p.x), std::max(most.y, p.y), std::max(most.z, p.z)};
    }
    const auto snapped = [](double a, double b) { return std::nearbyint((a / 2 + b / 2) / GRID) * GRID; };
    return {snapped(least.x, most.x), snapped(least.y, most.y), snapped(least.z, most.z)};
}

void numberPolygons(CN_Document& document) { CN_PolygonValidator::instance()->enumeratePolygons(&document, nullptr); }

std::string toEntityName(std::string_view className) {
    constexpr std::size_t LONGEST = 40;
    std::string name(className.substr(0, LONGEST));
    for (char& c : name)
        if (!asciiIsAlnum(c) && c != '+' && c != '-' && c != '_')
            c = '_';
    if (name.empty())
        name = "unnamed";
    if (!asciiIsAlnum(name[0]))
        name.insert(0, "e");
    // What is still refused is a reserved word.
    return CN_NameValidator::instance()->isValidEntityName(string(name)) ? name : name + "_";
}

} // namespace cairn::host
