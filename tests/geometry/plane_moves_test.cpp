#include "cairn/geometry/validate.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/plane_move_checks.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace cairn {
namespace {

using test::apply;
using test::expectSame;
using test::Move;
using test::placesOf;
using test::ShelfDocument;
using Matrix = M_Matrix3Template<double>;
using Vector = M_Vector3Template<double>;
using Refusal = CN_PlaneMoveRefusal;

using Room = std::function<CN_LevelEntityMesh*(CN_Document&)>;

Move pushOf(int polygon, double distance, double minEdgeLength = 0) {
    return {polygon, distance, minEdgeLength, false, {}, {}};
}

Move tiltOf(int polygon, const Vector& axis, double degrees, const Vector& center) {
    return {polygon, 0, 0, true, Matrix::rotationAbout(axis, degrees * 3.141592653589793 / 180), center};
}

/// A room over an outline in (x, z), 4 high: floor, ceiling, walls.
CN_LevelEntityMesh* prism(CN_Document& document, const std::vector<Vector>& outline) {
    CN_LevelEntityMesh* const mesh = test::addFixture(document, "Prism");
    const int n = static_cast<int>(outline.size());
    test::Loop floor, ceiling;
    for (int i = 0; i < n; ++i) {
        mesh->addVertex(outline[static_cast<std::size_t>(i)]);
        floor.push_back(i);
        ceiling.push_back(2 * n - 1 - i);
    }
    for (const Vector& corner : outline)
        mesh->addVertex(corner + Vector(0, 4, 0));
    test::fixturePolygon(*mesh, {floor});
    test::fixturePolygon(*mesh, {ceiling});
    for (int i = 0; i < n; ++i)
        test::fixturePolygon(*mesh, {{i, n + i, n + (i + 1) % n, (i + 1) % n}});
    test::finishFixture(*mesh);
    return mesh;
}

/// Its walls beside x = 0 lean towards each other: they meet at x = 16/3.
CN_LevelEntityMesh* wedge(CN_Document& document) {
    return prism(document, {{0, 0, 0}, {0, 0, 8}, {4, 0, 5}, {4, 0, 3}});
}

CN_LevelEntityMesh* triangle(CN_Document& document) { return prism(document, {{0, 0, 0}, {0, 0, 8}, {4, 0, 4}}); }

/// A box room with a square across one of the edges that a push of the wall x = 0 shortens, at x = 1.
CN_LevelEntityMesh* crossedBox(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = test::boxRoom(document);
    for (const Vector& corner : {Vector(1, -1, -1), {1, -1, 1}, {1, 1, 1}, {1, 1, -1}})
        mesh->addVertex(corner);
    test::fixturePolygon(*mesh, {{8, 9, 10, 11}});
    test::finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* sharedSplit(CN_Document& document) { return test::splitBox(document, test::Split::SHARED); }
CN_LevelEntityMesh* junctionSplit(CN_Document& document) { return test::splitBox(document, test::Split::T_JUNCTION); }
CN_LevelEntityMesh* unsharedSplit(CN_Document& document) { return test::splitBox(document, test::Split::UNSHARED); }

TEST(PlaneMoves, AreDoneOrRefusedWhole) {
    const Vector up(0, 1, 0), along(0, 0, 1);
    const struct {
        const char* name;
        Room room;
        Move move;
        Refusal refusal;
        double volume = 0;
    } cases[] = {
        {"inwards", test::boxRoom, pushOf(2, 1.5), Refusal::NONE, 156},
        {"outwards", test::boxRoom, pushOf(2, -0.25), Refusal::NONE, 198},
        {"floor", test::boxRoom, pushOf(0, 1), Refusal::NONE, 144},
        {"none", test::boxRoom, pushOf(2, 0), Refusal::NONE, 192},
        {"beyond the opposite wall", test::boxRoom, pushOf(2, 9), Refusal::BEYOND_FAR_END},
        {"onto the opposite wall", test::boxRoom, pushOf(2, 8), Refusal::BEYOND_FAR_END},
        {"nearly there", test::boxRoom, pushOf(2, 7.5, 1), Refusal::TOO_SHORT},
        {"as near as it may", test::boxRoom, pushOf(2, 7, 1), Refusal::NONE, 24},
        {"ten times as long", test::boxRoom, pushOf(2, -72), Refusal::NONE, 1920},
        {"longer than that", test::boxRoom, pushOf(2, -72.5), Refusal::TOO_LONG},
        {"half of a wall", sharedSplit, pushOf(2, 1), Refusal::NONE, 168},
        {"other half of it", sharedSplit, pushOf(3, -1), Refusal::NONE, 216},
        {"wall of halves that meet in a T", junctionSplit, pushOf(2, 1), Refusal::HELD_CORNER},
        {"wall of halves with corners of their own", unsharedSplit, pushOf(2, 1), Refusal::HELD_CORNER},
        {"corner of an L", test::lRoom, pushOf(5, 1), Refusal::NONE, 176},
        {"pillar's side", test::pillarRoom, pushOf(6, 1), Refusal::NONE, 232},
        {"into a pillar", test::pillarRoom, pushOf(2, 3), Refusal::PIERCED},
        {"past a pillar, which is not seen", test::pillarRoom, pushOf(2, 5), Refusal::NONE},
        {"block's top", test::blockRoom, pushOf(10, 0.5), Refusal::NONE, 246},
        {"ramp", test::rampRoom, pushOf(0, std::sqrt(0.1)), Refusal::NONE, 128},
        {"under a tilted roof", test::tiltedRoof, pushOf(2, 1), Refusal::NONE},
        {"exit", test::twoRooms, pushOf(4, 1), Refusal::EXIT},
        {"beside an exit", test::twoRooms, pushOf(3, 1), Refusal::EXIT},
        {"opposite an exit", test::twoRooms, pushOf(2, 1), Refusal::NONE, 168},
        {"base of a pyramid", test::pyramid, pushOf(0, 0.5), Refusal::SPREADING_EDGES},
        {"side of a pyramid", test::pyramid, pushOf(1, 0.5), Refusal::SPREADING_EDGES},
        {"side of a triangular room", triangle, pushOf(2, 0.5), Refusal::SPREADING_EDGES},
        {"through another polygon", crossedBox, pushOf(2, 2), Refusal::CROSSING},
        {"up to it", crossedBox, pushOf(2, 0.5), Refusal::NONE},
        {"beyond where its walls meet", wedge, pushOf(4, -2), Refusal::TURNED_OVER},
        {"nearly to where they meet", wedge, pushOf(4, -1, 1), Refusal::SHRUNK},
        {"shorter than the limit already", wedge, pushOf(4, -1, 3), Refusal::NONE, 4 * (20 + 1.25)},
        {"and without a limit", wedge, pushOf(4, -1), Refusal::NONE, 4 * (20 + 1.25)},
        {"lone polygon", test::unitFloor, pushOf(0, 3), Refusal::NONE},
        {"tilt about the middle", test::boxRoom, tiltOf(2, up, 10, {0, 2, 3}), Refusal::NONE, 192},
        {"tilt to along an edge", test::boxRoom, tiltOf(2, along, 90, {0, 0, 0}), Refusal::PARALLEL},
        {"tilt beyond the far end", test::boxRoom, tiltOf(2, along, -80, {0, 0, 0}), Refusal::BEYOND_FAR_END},
        {"turn about the normal", test::boxRoom, tiltOf(2, {1, 0, 0}, 30, {0, 2, 3}), Refusal::NONE, 192},
    };
    for (const auto& [name, room, move, refusal, volume] : cases) {
        SCOPED_TRACE(name);
        ShelfDocument document, twinDocument;
        CN_LevelEntityMesh &mesh = *room(document), &twin = *room(twinDocument);
        for (CN_Mesh* const cleared : {static_cast<CN_Mesh*>(&mesh), static_cast<CN_Mesh*>(&twin)}) {
            cleared->clearGeometryDirty();
            cleared->createBoundingBSP();
            cleared->setUVDirty(false);
            for (CN_Polygon& polygon : cleared->accessPolygonList())
                polygon.setUVDirty(false);
        }
        const std::size_t faults = CN_validateMesh(mesh, 1e-9).size();
        const Refusal was = apply(mesh, move);
        EXPECT_EQ(was, refusal) << CN_describe(was);
        if (was != Refusal::NONE) {
            expectSame(mesh, twin);
            continue;
        }
        if (volume > 0) {
            EXPECT_NEAR(CN_volume(mesh), volume, 1e-9);
            EXPECT_EQ(CN_validateMesh(mesh, 1e-9).size(), faults);
        }
        EXPECT_TRUE(mesh.isGeometryDirty() && mesh.isBSPDirty() && mesh.isUVDirty());
        for (const CN_Vertex& vertex : mesh.getVertexList())
            EXPECT_EQ(vertex.world, mesh.worldTransform(vertex.local));
    }
}

TEST(PlaneMoves, RefuseWhatIsNoMove) {
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN(), FAR = std::numeric_limits<double>::infinity();
    ShelfDocument document, twinDocument;
    CN_LevelEntityMesh &mesh = *test::boxRoom(document), &twin = *test::boxRoom(twinDocument);
    CN_Polygon* const wall = &mesh.accessPolygonList()[2];
    const Matrix whole, flat({1, 0, 0}, {1, 0, 0}, {0, 0, 1}), large({2, 0, 0}, {0, 2, 0}, {0, 0, 2});
    const auto push = [&mesh](CN_Polygon* polygon, double distance, double least, const Matrix& matrix,
                              const Vector& center) {
        EXPECT_FALSE(mesh.movePolygonPlaneWorker(polygon, distance, least, false, matrix, center));
        return mesh.tryMovePolygonPlane(polygon, distance, least, false, matrix, center);
    };
    for (const double bad : {NONE, FAR, -FAR}) {
        EXPECT_EQ(push(wall, bad, 0, whole, {}), Refusal::NOT_A_MOVE);
        EXPECT_EQ(push(wall, 1, bad, whole, {}), Refusal::NOT_A_MOVE);
        EXPECT_EQ(push(wall, 1, 0, whole, {0, bad, 0}), Refusal::NOT_A_MOVE);
        EXPECT_EQ(push(wall, 1, 0, {{1, 0, 0}, {0, bad, 0}, {0, 0, 1}}, {}), Refusal::NOT_A_MOVE);
        EXPECT_FALSE(mesh.rotatePolygonPlane(wall, {}, {0, 1, 0}, bad, 0));
        EXPECT_FALSE(mesh.rotatePolygonPlane(wall, {}, {0, bad, 0}, 0.1, 0));
    }
    EXPECT_EQ(push(wall, 1, 0, flat, {}), Refusal::NOT_A_MOVE);
    EXPECT_EQ(push(wall, 1, 0, large, {}), Refusal::NOT_A_MOVE);
    EXPECT_EQ(mesh.tryRotatePolygonPlane(wall, {1, 1, 1}, {1, 1, 1}, 0.1, 0), Refusal::NOT_A_MOVE);
    EXPECT_EQ(push(nullptr, 1, 0, whole, {}), Refusal::NO_SUCH_POLYGON);
    EXPECT_EQ(push(&twin.accessPolygonList()[2], 1, 0, whole, {}), Refusal::NO_SUCH_POLYGON);
    EXPECT_EQ(push(wall, 1e300, 0, whole, {}), Refusal::BEYOND_FAR_END);
    expectSame(mesh, twin);
    wall->setNormal({});
    EXPECT_EQ(push(wall, 1, 0, whole, {}), Refusal::NO_SUCH_POLYGON);
    EXPECT_EQ(push(mesh.addPolygon(), 1, 0, whole, {}), Refusal::NO_SUCH_POLYGON);
}

TEST(PlaneMoves, NeedNoDocument) {
    CN_LevelEntityMesh mesh;
    for (const Vector& corner : {Vector(0, 0, 0), {0, 0, 1}, {1, 0, 1}, {1, 0, 0}})
        mesh.addVertex(corner);
    CN_Polygon* const floor = test::fixturePolygon(mesh, {{0, 1, 2, 3}});
    EXPECT_TRUE(mesh.movePolygonPlaneWorker(floor, 1, 0, false, {}, {}));
    EXPECT_TRUE(mesh.rotatePolygonPlane(floor, {0, 1, 0}, {1, 1, 0}, -0.785398163, 0));
    EXPECT_NEAR(mesh.getVertexList()[1].local.y, 2, 1e-7);
}

TEST(PlaneMoves, TakeCoplanarPolygonsAlong) {
    // Three floors that hang together by an edge and by a corner, one of them with its back up.
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Floors");
    for (const Vector& corner :
         {Vector(0, 0, 0), {0, 0, 1}, {1, 0, 1}, {1, 0, 0}, {2, 0, 1}, {2, 0, 0}, {1, 0, -1}, {0, 0, -1}})
        mesh.addVertex(corner);
    for (const test::Loop& loop : {test::Loop{0, 1, 2, 3}, {3, 2, 4, 5}, {3, 6, 7}})
        test::fixturePolygon(mesh, {loop});
    CN_Polygon& back = mesh.accessPolygonList()[2];
    test::finishFixture(mesh);
    if (back.getNormal().y > 0) {
        back.flip(true);
        mesh.handleOwnHierarchy();
    }
    F_DLList<CN_Polygon*> group;
    group.add(mesh.accessPolygonList().first());
    mesh.accessPolygonList()[0].createListOfCoplanarNeighbors(group);
    EXPECT_EQ(placesOf(mesh, group), (std::vector{0, 1, 2}));
    F_DLList<int> own;
    back.createListOfOnlyOwnVertices(group, own);
    EXPECT_EQ(own.count(), 3);
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(&mesh.accessPolygonList()[0], 1, 0, false, {}, {}));
    for (const CN_Vertex& vertex : mesh.getVertexList())
        EXPECT_EQ(vertex.local.y, 1);
    EXPECT_EQ(back.getNormal(), Vector(0, -1, 0));
    EXPECT_EQ(back.getPointOnPlane(), Vector(0, 1, 0));
    EXPECT_EQ(CN_validateMesh(mesh, 1e-9).size(), 1u) << "it is open";
}

TEST(PlaneMoves, CarryTheTexturesAlong) {
    const Vector middle(0, 2, 3);
    for (const Move& move :
         {pushOf(2, 1.5), pushOf(2, -0.25), tiltOf(2, {0, 1, 0}, 10, middle), tiltOf(2, {1, 0, 0}, 30, middle)}) {
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::boxRoom(document);
        CN_Polygon &wall = mesh.accessPolygonList()[2], &floor = mesh.accessPolygonList()[0];
        for (const int key : {0, 1, 2}) {
            const double size = 1 + key;
            wall.editUVSpace(key) = {{{0, 0, size}, {0, -size, 0.25}, {1, 0, 0}}, {0, 1, size}, {0.5, -size}};
        }
        const CN_Polygon::UVSpaces before = wall.getUVSpaces();
        const M_PlanarSpace3Template<double> floorBefore = floor.getUVSpace(0);
        ASSERT_EQ(apply(mesh, move), Refusal::NONE);
        const Vector delta = Vector(1, 0, 0) * move.distance;
        for (const int key : {0, 1, 2})
            for (const Vector& place : {Vector(0, 0, 0), {0, 4, 0}, {0, 1, 5}}) {
                const Vector moved = move.rotating ? move.center + (place - move.center) * move.matrix : place + delta;
                const auto uv = wall.getUVSpace(key).toUV(moved), was = before.find(key)->space.toUV(place);
                EXPECT_NEAR(uv.x, was.x, 1e-9) << key;
                EXPECT_NEAR(uv.y, was.y, 1e-9) << key;
            }
        EXPECT_EQ(floor.getUVSpace(0).getMatrix(), floorBefore.getMatrix());
        EXPECT_EQ(floor.getUVSpace(0).getPoint(), floorBefore.getPoint());
    }
}

TEST(PlaneMoves, SnapTheTargetPlane) {
    ShelfDocument document, twinDocument;
    CN_LevelEntityMesh &mesh = *test::boxRoom(document), &twin = *test::boxRoom(twinDocument);
    CN_Polygon* const wall = &mesh.accessPolygonList()[2];
    // A plane next to the grid goes there, and corners with it, so that the next move finds them.
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(wall, 0.137, 0, false, {}, {}));
    EXPECT_EQ(wall->getPointOnPlane(), Vector(0.1375, 0, 0));
    EXPECT_EQ(mesh.getVertexList()[0].local, Vector(0.1375, 0, 0));
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(wall, -0.137, 0, false, {}, {}));
    EXPECT_NEAR(mesh.getVertexList()[0].local.x, 0, 0.001);
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(wall, 0.003, 0, false, {}, {}));
    EXPECT_NEAR(mesh.getVertexList()[0].local.x, 0.003, 0.001) << "off the grid";
    // A tilt that the snap would not keep is none, and textures do not turn either.
    CN_Polygon* const ceiling = &twin.accessPolygonList()[1];
    const Matrix texture = ceiling->getUVSpace(0).getMatrix();
    ASSERT_TRUE(twin.rotatePolygonPlane(ceiling, {0, 4, 3}, {8, 4, 3}, 0.1 * 3.14159265 / 180, 0));
    EXPECT_EQ(ceiling->getNormal(), Vector(0, -1, 0));
    EXPECT_EQ(ceiling->getUVSpace(0).getMatrix(), texture);
    EXPECT_NEAR(CN_volume(twin), 192, 1e-9);
    EXPECT_EQ(CN_validateMesh(twin, 1e-9).size(), 0u);
}

TEST(PlaneMoves, KeepTheReferenceNormalInATilt) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    CN_Polygon* const wall = &mesh.accessPolygonList()[2];
    ASSERT_TRUE(mesh.rotatePolygonPlane(wall, {0, 0, 0}, {0, 0, 6}, 0.4636476090008061, 0)); // to a slope of 1 in 2
    EXPECT_NEAR(wall->getNormal().y / wall->getNormal().x, 0.5, 1e-7) << "a positive angle about +Z takes +X to +Y";
    EXPECT_EQ(wall->getReferenceNormal(), Vector(1, 0, 0));
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(wall, 1, 0, false, {}, {}));
    EXPECT_NEAR(mesh.getVertexList()[0].local.x, 1, 1e-7) << "by the distance along the old direction";
}

TEST(PlaneMoves, LookForPiercingWithTheOldNormal) {
    const test::ProcessStateGuard silent;
    // Tilted into the pillar, which a look with the new normal would find.
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
    CN_Polygon* const wall = &mesh.accessPolygonList()[2];
    EXPECT_EQ(mesh.tryRotatePolygonPlane(wall, {0, 0, 0}, {0, 4, 0}, 0.6, 0), CN_PlaneMoveRefusal::FOLDED)
        << "not pierced, for the old normal";
}

TEST(PlaneMoves, AnswerSingleQuestions) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    F_DLList<CN_Polygon*> group, border;
    group.add(&mesh.accessPolygonList()[2]);
    CN_Polygon &floor = mesh.accessPolygonList()[0], &opposite = mesh.accessPolygonList()[4];
    border.add(&floor);
    EXPECT_TRUE(mesh.checkCoplanarVertices(0, group));
    EXPECT_TRUE(mesh.checkEdgePlaneDeadlock(0, {1, 0, 0}, border));
    F_DLList<CN_Edge*> far;
    F_DLListInit<Vector> starts, ends;
    F_DLListInit<bool> changed;
    int moved = 0;
    for (CN_Edge& edge : floor.accessEdgeList()) {
        EXPECT_TRUE(edge.requestPlaneIntersect(group, far, 1, {1, 0, 0}, 0));
        EXPECT_EQ(edge.requestPlaneIntersect(group, far, 9, {1, 0, 0}, 0), edge.dir().x == 0);
        moved += edge.intersectWithPlane(group, {1, 0, 0}, {1, 0, 0}, starts, ends, changed);
    }
    EXPECT_EQ(far.count(), 2) << "the far edge, asked twice";
    EXPECT_EQ(moved, 2);
    EXPECT_EQ(ends[0], Vector(0, 0, 6)) << "in the group's outline";
    EXPECT_EQ(starts[1], Vector(1, 0, 6));
    EXPECT_EQ(changed[1], true);
    EXPECT_TRUE(opposite.accessEdgeList()[0].requestPlaneIntersect(group, far, 9, {1, 0, 0}, 0));
    CN_LevelEntityMesh& pyramid = *test::pyramid(document);
    group.clear();
    group.add(&pyramid.accessPolygonList()[0]);
    EXPECT_FALSE(pyramid.checkCoplanarVertices(4, group)) << "the apex";
    EXPECT_TRUE(pyramid.checkCoplanarVertices(0, group));
}

TEST(PlaneMoves, LeaveTrianglesAsNew) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::lRoom(document);
    CN_Polygon &far = mesh.accessPolygonList()[4], &turned = mesh.accessPolygonList()[6];
    turned.accessTriangleList().first()->flip();
    far.accessNgonList().addNew();
    ASSERT_TRUE(mesh.movePolygonPlaneWorker(&mesh.accessPolygonList()[2], 1, 0, false, {}, {}));
    EXPECT_TRUE(far.getNgonList().empty());
    CN_LevelEntityMesh copy = mesh;
    copy.triangulizeAll(true);
    for (int i = 0; i < mesh.getPolygonList().count(); ++i) {
        SCOPED_TRACE(i);
        mesh.accessPolygonList()[i].setMappingDirty(true);
        copy.accessPolygonList()[i].setMappingDirty(true);
        expectSame(mesh.getPolygonList()[i], copy.getPolygonList()[i]);
    }
}

TEST(PlaneMoves, LeaveTheMeshAloneWhenTheyThrow) {
    ShelfDocument document, twinDocument;
    const auto build = [](CN_Document& owner) {
        CN_LevelEntityMesh& mesh = *test::boxRoom(owner);
        for (const Vector& corner : {Vector(2, 1, 2), {2, 1, 3}, {3, 1, 2}})
            mesh.addVertex(corner);
        CN_Polygon& loose = *test::fixturePolygon(mesh, {{8, 9, 10}});
        test::finishFixture(mesh);
        // No axes follow from that, though it has an inverse.
        loose.accessUVSpaces()[0].space.setMatrix({{0, 1, 0}, {0, 0, 1}, {1e-200, 1, 0}});
        mesh.createBoundingBSP();
        return &mesh;
    };
    CN_LevelEntityMesh &mesh = *build(document), &twin = *build(twinDocument);
    try {
        mesh.movePolygonPlaneWorker(&mesh.accessPolygonList()[2], 1, 0, false, {}, {});
        FAIL() << "a polygon cannot be triangulated";
    } catch (M_PlanarSpace3Exception_Singular* e) {
        const F_ExceptionGuard guard(e);
    }
    expectSame(mesh, twin);
}

} // namespace
} // namespace cairn
