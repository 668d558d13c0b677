#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using PlanarSpace = CN_Polygon::PlanarSpace;
using Contour = F_DLListInit<Vector>;

Contour contourOf(const std::vector<Vector>& corners) {
    Contour contour;
    for (const Vector& corner : corners)
        contour.add(corner);
    return contour;
}

/// A square in the wall x = 0 of the box room, counter-clockwise seen from inside; the first corner is one of the room's.
const std::vector<Vector> SQUARE{{0, 0, 0}, {0, 2, 0}, {0, 2, 2}, {0, 0, 2}};

/// A space of the wall x = 0, in the world, that looks into the room.
PlanarSpace wallSpace() { return {Matrix({0, 0, 2}, {0, -2, 0}, {1, 0, 0}), {0, 1, 1}, {0.25, 0.5}}; }

class PolygonExits : public testing::Test {
  protected:
    test::ShelfDocument m_document;
    CN_LevelEntityMesh& m_mesh = *test::boxRoom(m_document);
};

TEST_F(PolygonExits, AreMadeOfContours) {
    struct Case {
        bool forward, flipSide;
        Vector normal;
        std::vector<Vector> corners; ///< that edges begin at
    };
    const std::vector<Vector> reversed(SQUARE.rbegin(), SQUARE.rend());
    const Case cases[] = {{true, false, {1, 0, 0}, SQUARE},
                          {true, true, {-1, 0, 0}, SQUARE},
                          {false, false, {-1, 0, 0}, reversed},
                          {false, true, {1, 0, 0}, reversed}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.forward << c.flipSide);
        const test::ProcessStateGuard process; // a contour that runs the wrong way round is told and turned
        CN_Material* const material = m_document.accessMaterials().getDefaultMaterial();
        CN_Polygon& exit = *m_mesh.addPolygon();
        exit.setMaterial(material);
        exit.addUVSpace(2);
        exit.accessUVSpaces()[2].min = {};
        exit.select();
        exit.setNumHoles(3);
        m_mesh.clearGeometryDirty();
        const auto uses = material->getUseCount();
        const PlanarSpace space = wallSpace();
        exit.createExitPolygon(contourOf(SQUARE), c.forward, c.flipSide, &space);

        EXPECT_EQ(exit.getNormal(), c.normal);
        EXPECT_EQ(exit.getWorldNormal(), c.normal);
        EXPECT_EQ(exit.getPointOnPlane(), Vector(0, 0, 0)) << "where the plane meets its axis";
        const bool runsRight = c.normal.x * (c.forward ? 1 : -1) > 0;
        EXPECT_EQ(exit.getEdgeList().first()->getLocal(0), c.corners.front());
        EXPECT_EQ(exit.getEdgeList().first()->getLocal(1), runsRight ? c.corners[1] : c.corners.back());
        EXPECT_EQ(exit.getEdgeList().count(), 4);
        EXPECT_EQ(exit.numVertices(), 4);
        EXPECT_EQ(exit.getNumHoles(), 0);
        EXPECT_FALSE(exit.selected());
        EXPECT_EQ(exit.getMaterial(), nullptr);
        EXPECT_EQ(material->getUseCount(), uses - 1);
        EXPECT_NEAR(exit.calcArea(), 4, 1e-12);
        EXPECT_TRUE(exit.isUVDirty() && m_mesh.isUVDirty() && m_mesh.isGeometryDirty());
        for (const int key : {0, 2}) {
            const PlanarSpace& made = exit.getUVSpace(key);
            EXPECT_EQ(made.getMatrix(), Matrix({0, 0, c.normal.x * 2}, {0, -2, 0}, c.normal));
            EXPECT_EQ(made.getNormal(), c.normal);
            EXPECT_EQ(made.getPoint(), Vector(0, 1, 1));
            EXPECT_EQ(made.getOffset(), space.getOffset());
            EXPECT_EQ(exit.getUVSpaces().find(key)->min.x, std::numeric_limits<float>::max());
        }
        EXPECT_EQ(m_mesh.getVertexList().count(), 11) << "one corner is the room's, others are made once";
    }
}

TEST_F(PolygonExits, LieInTheSpaceOfTheirMesh) {
    test::RandomPolygons random(7);
    CN_LevelEntityMesh& room = *test::rotatedRoom(m_document);
    CN_Polygon& exit = *room.addPolygon();
    Matrix axes = wallSpace().getMatrix();
    axes.row(2) = Vector(1, 0.01, 0).normalized(); // nearly along the axis
    axes.row(1) = axes.row(0).cross(axes.row(2));
    const PlanarSpace local(axes, {0.0126, 1, 1}, {0.25, 0.5});
    const PlanarSpace world(axes * room.getWorldRotation(), room.worldTransform(local.getPoint()), local.getOffset());
    exit.createExitPolygon(contourOf(SQUARE), true, false, &world);
    EXPECT_NEAR((exit.getUVSpace(0).getPoint() - local.getPoint()).length(), 0, 1e-12);
    for (int row = 0; row < 3; ++row)
        EXPECT_NEAR((exit.getUVSpace(0).getMatrix().row(row) - axes.row(row)).length(), 0, 1e-12);
    EXPECT_EQ(exit.getNormal().z, 0) << "a component that is nearly none goes";
    EXPECT_NEAR((exit.getNormal() - axes.row(2)).length(), 0, 1e-9);
    EXPECT_EQ(exit.getPointOnPlane(), Vector(0.0125, 1, 0)) << "on the grid";
    EXPECT_NEAR((exit.getWorldNormal() - axes.row(2) * room.getWorldRotation()).length(), 0, 1e-12);
}

TEST_F(PolygonExits, LongContoursTakeTheFirstVertexThatIsNear) {
    CN_LevelEntityMesh &few = *test::addFixture(m_document, "Few"), &many = *test::addFixture(m_document, "Many");
    Contour contour;
    std::vector<Vector> corners;
    for (int i = 0; i < 40; ++i) {
        const double angle = i * 6.283185307179586 / 40;
        corners.push_back(Vector(std::cos(angle), 0, -std::sin(angle)) * 1e4);
        contour.add(corners.back());
    }
    for (CN_LevelEntityMesh* const mesh : {&few, &many})
        for (const int i : {5, 5, 9, 30, 9}) // near, nearer than it, at the place
            mesh->addVertex(corners[static_cast<std::size_t>(i)] +
                            Vector(0.9e-6 * (mesh->getVertexList().count() % 2), 0, 0));
    const PlanarSpace space(Matrix({1, 0, 0}, {0, 0, -1}, {0, 1, 0}), {}, {});
    CN_Polygon& exit = *many.addPolygon();
    exit.createExitPolygon(contour, true, false, &space);
    std::vector<int> expected, found;
    for (const Vector& corner : corners)
        expected.push_back(few.getVertexList().indexOf(few.addVertexCheck(corner, 1e-6)));
    for (const CN_Edge& edge : exit.getEdgeList())
        found.push_back(edge.index(0));
    EXPECT_EQ(found, expected);
}

TEST_F(PolygonExits, WhatIsNotFiniteIsRefused) {
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN();
    CN_Polygon& exit = *m_mesh.addPolygon();
    const PlanarSpace space = wallSpace();
    std::vector<Vector> corners = SQUARE;
    corners[2].y = NONE;
    EXPECT_EQ(test::failureText([&] { exit.createExitPolygon(contourOf(corners), true, false, &space); }),
              "A corner of an exit's contour is not finite");
    PlanarSpace nowhere = space;
    nowhere.setPoint({NONE, 0, 0});
    EXPECT_EQ(test::failureText([&] { exit.createExitPolygon(contourOf(SQUARE), true, false, &nowhere); }),
              "An exit's plane is not finite");
    EXPECT_EQ(m_mesh.getVertexList().count(), 8);
    EXPECT_EQ(exit.getNormal(), Vector());

    const test::ProcessStateGuard process;
    exit.createExitPolygon(contourOf({{0, 0, 0}, {0, 1, 0}}), true, false, &space);
    EXPECT_TRUE(exit.getTriangleList().empty()) << "two corners enclose nothing";
    m_mesh.addPolygon()->createExitPolygon({}, true, false, &space);
}

TEST_F(PolygonExits, ManyLeadToOnePartnerAndLeaveItInAnyOrder) {
    CN_Polygon& hall = m_mesh.accessPolygonList()[0];
    std::vector<CN_Polygon*> exits;
    for (int i = 0; i < 6; ++i) {
        exits.push_back(m_mesh.addPolygon());
        exits.back()->setExitDestination(&hall);
    }
    m_mesh.deletePolygon(exits[1]);
    exits[5]->setExitDestination(exits[4]);
    exits[4]->setExitDestination(nullptr);
    exits[0]->setExitDestination(exits[0]);
    m_mesh.deletePolygon(&hall); // which closes the rest
    EXPECT_FALSE(exits[2]->isExitPolygon() || exits[3]->isExitPolygon());
    EXPECT_EQ(exits[5]->getExitDestination(), exits[4]);
    m_mesh.deletePolygon(exits[0]);
    m_mesh.deletePolygon(exits[4]);
    EXPECT_FALSE(exits[5]->isExitPolygon());
}

} // namespace
} // namespace cairn
