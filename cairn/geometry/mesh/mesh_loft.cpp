#include "cairn/document/change_scope.h"
#include "cairn/document/document.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/polygon2d.h"

#include <cmath>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;

/// Makes a prism of a polygon whose corners are collected.
class Loft {
  public:
    Loft(CN_Mesh& mesh, CN_Polygon& base, double distance)
        : m_mesh(mesh), m_base(base), m_delta(base.getNormal() * distance), m_scale(scaleOf(mesh)),
          m_corners(base.getVertexBuffer().begin(), base.getVertexBuffer().end()), m_spaces(base.getUVSpaces()),
          m_mapping(base.getLightmapMapping()), m_polygons(mesh.getPolygonList().count()),
          m_vertices(mesh.getVertexList().count()) {}

    void run() {
        addCap();
        constexpr double SNAP_TOLERANCE = 1e-5;
        if (CN_2DPolygon(&m_base, SNAP_TOLERANCE).isClockwise() == 0)
            m_base.flipVertexOrder();
        const std::vector<CN_Vertex*> bottoms(m_base.getVertexBuffer().begin(), m_base.getVertexBuffer().end());
        std::vector<CN_Vertex*> tops;
        for (CN_Vertex* const bottom : bottoms) {
            tops.push_back(addTop(*bottom));
            if (const std::size_t next = tops.size() - 1; next > 0)
                addSide({bottoms[next - 1], tops[next - 1], tops[next], bottom}, 1);
            else
                placeCap(*tops.front());
        }
        // Along the last side the texture runs backwards.
        addSide({bottoms.back(), tops.back(), tops.front(), bottoms.front()}, -1);
        m_base.constructEdges();
        m_cap->constructEdges();
        m_cap->flipVertexOrder(); // it faces the base
        for (CN_Polygon* const end : {&m_base, m_cap})
            end->triangulize(true);
        for (CN_Polygon* const end : {&m_base, m_cap})
            end->accessLightmapMapping().initialFitLightmap(end, true);
    }

    /// What a loft that failed has left behind goes.
    void undo() {
        while (m_mesh.getPolygonList().count() > m_polygons)
            m_mesh.accessPolygonList().removeLast();
        while (m_mesh.getVertexList().count() > m_vertices)
            m_mesh.accessVertexList().removeLast();
        m_base.accessEdgeList().clear();
        m_base.accessTriangleList().clear();
        m_base.accessUVSpaces() = std::move(m_spaces);
        m_base.accessLightmapMapping() = m_mapping;
        m_base.setNumVertices(m_base.getVertexBuffer().count());
        while (m_base.removeVertex()) {
        }
        for (CN_Vertex* const corner : m_corners)
            m_base.addVertex(corner);
    }

  private:
    struct Corners {
        CN_Vertex *bottom, *top, *nextTop, *nextBottom;
    };

    static double scaleOf(const CN_Mesh& mesh) {
        const CN_Document* const document = CN_Document::isAlive(mesh.getDocument()) ? mesh.getDocument() : nullptr;
        const unsigned int scale = document ? document->getPreferences().getDefaultUVScale() : 1;
        return scale > 0 ? scale : 1;
    }

    /// The cap without corners, in the space of the base, which takes its scale.
    void addCap() {
        m_cap = m_mesh.addPolygon();
        m_cap->setNormal(-m_base.getNormal());
        m_cap->setReferenceNormal(-m_base.getReferenceNormal());
        CN_Polygon::PlanarSpace& space = m_base.editUVSpace(0);
        Matrix rows = space.getMatrix();
        rows.row(0) = rows.row(0).normalized() * m_scale;
        rows.row(1) = rows.row(1).normalized() * m_scale;
        space.setMatrix(rows);
        rows.row(0) = -rows.row(0);
        rows.row(2) = -rows.row(2);
        CN_Polygon::PlanarSpace& capSpace = m_cap->editUVSpace(0);
        capSpace = space;
        capSpace.setMatrix(rows);
    }
    void placeCap(const CN_Vertex& firstTop) {
        m_cap->setPointOnPlane(m_base.getPointOnPlane() + m_delta);
        m_cap->editUVSpace(0).setPoint(firstTop.local);
        for (CN_Polygon* const end : {&m_base, m_cap})
            spread(*end);
    }
    CN_Vertex* addTop(const CN_Vertex& bottom) {
        m_cap->addVertex();
        CN_Vertex* const top = m_mesh.accessVertexList().last();
        top->local = bottom.local + m_delta;
        top->world = m_mesh.worldTransform(top->local);
        return top;
    }
    void addSide(const Corners& corners, double way) {
        CN_Polygon& side = *m_mesh.addPolygon();
        for (CN_Vertex* const corner : {corners.bottom, corners.top, corners.nextTop, corners.nextBottom})
            side.addVertex(corner);
        const Vector &bottom = corners.bottom->local, &next = corners.nextBottom->local;
        const Vector normal = (corners.nextTop->local - next).cross(next - bottom).normalized();
        side.setNormal(normal);
        side.setReferenceNormal(normal);
        side.setPointOnPlane(corners.top->local);
        const Vector u = (next - bottom).normalized() * way, v = -(corners.top->local - bottom).normalized();
        CN_Polygon::PlanarSpace& space = side.editUVSpace(0);
        space.setMatrix({u * m_scale, v * m_scale, normal});
        space.setPoint(bottom);
        spread(side);
        side.constructEdges();
        side.triangulize(true);
        side.accessLightmapMapping().initialFitLightmap(&side, true);
    }
    /// Makes spaces 1 and 2 copies of space 0.
    static void spread(CN_Polygon& polygon) {
        for (const int key : {1, 2}) {
            const CN_Polygon::PlanarSpace space = polygon.getUVSpace(0);
            polygon.editUVSpace(key) = space;
        }
    }

    CN_Mesh& m_mesh;
    CN_Polygon& m_base;
    CN_Polygon* m_cap = nullptr; ///< not owned: the mesh's
    Vector m_delta;              ///< from a corner to the one above it
    double m_scale;              ///< of a repeat of the texture

    std::vector<CN_Vertex*> m_corners; ///< not owned: of the base as it was
    CN_Polygon::UVSpaces m_spaces;     ///< of the base as it was
    CN_LightmapMapping m_mapping;      ///< of the base as it was
    int m_polygons, m_vertices;        ///< how many there were
};

} // namespace

void CN_Mesh::loftPolygon(CN_Polygon* polygon, double distance) {
    if (!polygon || !m_polygonList.contains(polygon) || polygon->numVertices() <= 2 ||
        polygon->getVertexBuffer().count() <= 2)
        return;
    const Vector delta = polygon->getNormal() * distance;
    if (!delta.isFinite() || delta == Vector())
        return;
    Loft loft(*this, *polygon, distance);
    const CN_ChangeScope change(getDocument());
    try {
        loft.run();
    } catch (...) {
        loft.undo();
        throw;
    }
}

} // namespace cairn
