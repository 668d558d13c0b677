#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Edges = std::vector<std::pair<int, int>>;

Edges edgesOf(const CN_Polygon& polygon) {
    Edges edges;
    for (const CN_Edge& edge : polygon.getEdgeList())
        edges.emplace_back(edge.index(0), edge.index(1));
    return edges;
}

/// A polygon on the floor over vertices on a grid of eighths, 10 a row: vertex 23 stands at x = 3, z = 2.
struct Grid {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Grid");
    CN_Polygon* polygon = nullptr;

    explicit Grid(const Edges& edges) {
        for (int i = 0; i < 100; ++i)
            mesh.addVertex({i % 10 * 1.0, 0, i / 10 * 1.0});
        polygon = mesh.addPolygon();
        for (const auto& [a, b] : edges)
            polygon->accessEdgeList().emplace(a, b).setParent(polygon);
    }
};

TEST(PolygonEdges, NullEdgesAndPairsOutAndBackGo) {
    struct Case {
        const char* name;
        Edges edges, left;
    };
    const Case cases[] = {
        {"sound", {{0, 10}, {10, 1}, {1, 0}}, {{0, 10}, {10, 1}, {1, 0}}},
        {"null edge", {{0, 10}, {10, 10}, {10, 1}, {1, 0}}, {{0, 10}, {10, 1}, {1, 0}}},
        {"spike", {{0, 10}, {10, 20}, {20, 10}, {10, 1}, {1, 0}}, {{0, 10}, {10, 1}, {1, 0}}},
        {"spike over the end of the list", {{20, 10}, {10, 1}, {1, 0}, {0, 10}, {10, 20}}, {{10, 1}, {1, 0}, {0, 10}}},
        {"a pair that another one leaves stays",
         {{0, 10}, {10, 20}, {20, 30}, {30, 20}, {20, 10}},
         {{0, 10}, {10, 20}, {20, 10}}},
        {"a lone edge", {{0, 10}}, {{0, 10}}},
        {"nothing else", {{0, 10}, {10, 0}}, {}},
    };
    for (const Case& c : cases) {
        Grid grid(c.edges);
        grid.polygon->setNumVertices(9);
        grid.polygon->killNullEdges();
        EXPECT_EQ(edgesOf(*grid.polygon), c.left) << c.name;
        EXPECT_EQ(grid.polygon->numVertices(), 9);
    }
}

TEST(PolygonEdges, CornersOnALineGo) {
    struct Case {
        const char* name;
        Edges edges, left;
    };
    const Case cases[] = {
        {"run of corners", {{0, 10}, {10, 20}, {20, 30}, {30, 3}, {3, 0}}, {{0, 30}, {30, 3}, {3, 0}}},
        {"over the end of the list", {{10, 20}, {20, 2}, {2, 0}, {0, 10}}, {{20, 2}, {2, 0}, {0, 20}}},
        {"spike", {{0, 20}, {20, 40}, {40, 20}, {20, 2}, {2, 0}}, {{0, 20}, {20, 2}, {2, 0}}},
        {"loops stay apart",
         {{0, 50}, {50, 55}, {55, 0}, {11, 12}, {12, 22}, {22, 11}},
         {{0, 50}, {50, 55}, {55, 0}, {11, 12}, {12, 22}, {22, 11}}},
        {"one edge", {{0, 10}}, {{0, 10}}},
    };
    for (const Case& c : cases) {
        Grid grid(c.edges);
        grid.polygon->optimizeRedundantVertices();
        EXPECT_EQ(edgesOf(*grid.polygon), c.left) << c.name;
        for (const CN_Edge& edge : grid.polygon->getEdgeList())
            EXPECT_EQ(edge.getParent(), grid.polygon);
        EXPECT_EQ(grid.mesh.getVertexList().count(), 100);
    }
    Grid grid({{0, 10}, {10, 20}, {20, 2}, {2, 0}});
    grid.mesh.accessVertexList()[10].local.x = 2e-4;
    grid.polygon->optimizeRedundantVertices();
    EXPECT_EQ(grid.polygon->getEdgeList().count(), 4) << "a corner that is off the line by more than the tolerance";
    grid.mesh.accessVertexList()[10].local.x = 0.5e-4;
    grid.polygon->optimizeRedundantVertices();
    EXPECT_EQ(grid.polygon->getEdgeList().count(), 3);
}

} // namespace
} // namespace cairn
