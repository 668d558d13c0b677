#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/polygon2d.h"

namespace cairn {

namespace {

constexpr int FEWEST_EDGES = 3; // of a loop that encloses something

} // namespace

std::vector<CN_Polygon*> CN_2DPolygon::outputPolygons(CN_Mesh* mesh, int flip, int local) {
    std::vector<CN_Polygon*> polygons;
    m_topLevelCursor = nullptr;
    while (const LassoContainer* const outline = getNextTopLevel()) {
        if (outline->edges.count() < FEWEST_EDGES)
            continue;
        CN_Polygon* const polygon = mesh->addPolygon();
        polygons.push_back(polygon);
        if (local)
            polygon->copyPropertiesLocal(m_source);
        else
            polygon->copyProperties(m_source, false);
        // The source's counts came along with its properties.
        polygon->setNumVertices(0);
        outputLassoToPolygon(polygon, *outline);
        int holes = 0;
        for (const LassoContainer* const hole : outline->holes) {
            if (hole->edges.count() < FEWEST_EDGES)
                continue;
            outputLassoToPolygon(polygon, *hole);
            ++holes;
        }
        polygon->setNumHoles(holes);
        if (flip)
            polygon->flip(true);
        if (!local)
            polygon->updatePointOnPlane();
    }
    return polygons;
}

void CN_2DPolygon::outputLassoToPolygon(CN_Polygon* polygon, const LassoContainer& lasso) const {
    CN_Mesh* const mesh = polygon->accessParent();
    if (!mesh)
        throw new F_Exception("A polygon of no mesh has no corners");
    const auto addCorner = [&](const Point& point) {
        mesh->addVertex(toLocal(point));
        return mesh->getVertexList().count() - 1;
    };
    int first = -1, before = -1, left = lasso.edges.count();
    for (const CN_2DEdge& edge : lasso.edges) {
        const bool begins = before < 0;
        if (begins)
            first = before = addCorner(edge.point(0));
        const int end = --left == 0 ? first : addCorner(edge.point(1));
        polygon->addEdge(before, end, begins && lasso.isHole);
        before = end;
    }
    polygon->setNumVertices(polygon->numVertices() + lasso.edges.count());
}

} // namespace cairn
