#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/waypoint.h"
#include "cairn/geometry/bsp/tree.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using Vector = CN_Mesh::Vector;
using Utils = CN_HierarchyUtils;

TEST(MeshBSP, IsMadeAnewForWhatHasChanged) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    EXPECT_EQ(room.getBoundingBSP(), nullptr);
    EXPECT_TRUE(room.isPositionInside({4, 2, 3}));
    const CN_BSPTree* const tree = room.getBoundingBSP();
    EXPECT_FALSE(room.isBSPDirty());
    room.handleOwnHierarchy();
    room.calculateBoundingBox();
    EXPECT_FALSE(room.isBSPDirty()) << "it stands where it stood";
    EXPECT_FALSE(room.isPositionInside({4, 2, 7}));
    EXPECT_EQ(room.getBoundingBSP(), tree);

    room.setPosition({0, 0, 5});
    EXPECT_TRUE(room.isBSPDirty());
    EXPECT_TRUE(room.isPositionInside({4, 2, 7}));
    EXPECT_FALSE(room.isPositionInside({4, 2, 3}));
    room.setRotation(CN_Mesh::Matrix::rotationY(3.141592653589793));
    EXPECT_TRUE(room.isPositionInside({-4, 2, 2}));
    for (CN_Vertex& vertex : room.accessVertexList())
        vertex.local = vertex.local * 2;
    room.transform();
    EXPECT_TRUE(room.isPositionInside({-4, 7, 2}));

    const CN_LevelEntityMesh copy(room);
    EXPECT_EQ(copy.getBoundingBSP(), nullptr);
    EXPECT_TRUE(copy.isBSPDirty());
    const test::ProcessStateGuard guard;
    room.accessPolygonList().clear();
    room.setGeometryDirty();
    EXPECT_FALSE(room.isPositionInside({-4, 7, 2}));
    EXPECT_EQ(room.getBoundingBSP(), nullptr);
    EXPECT_TRUE(room.isBSPDirty());
    EXPECT_NE(guard.log(), "");
}

TEST(MeshBSP, FollowsTheTrianglesOfItsPolygons) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    const Vector outside(10, 2, 3);
    std::vector<CN_Polygon*> pieces;
    room.accessPolygonList()[4].split({Vector(0, 0, 1), Vector(8, 2, 3)}, &room, &pieces, &pieces, true);
    ASSERT_EQ(pieces.size(), 2U);
    room.deletePolygon(&room.accessPolygonList()[4]);
    room.handleOwnHierarchy();
    EXPECT_TRUE(room.isPositionInside(outside)) << "the pieces have no triangles yet";
    for (CN_Polygon* const piece : pieces)
        piece->triangulize(true);
    EXPECT_FALSE(room.isPositionInside(outside));
    for (CN_Polygon& polygon : room.accessPolygonList())
        polygon.flip(false);
    EXPECT_TRUE(room.isBSPDirty());

    CN_LevelEntityMesh& floor = *test::unitFloor(document);
    EXPECT_TRUE(floor.isPositionInside({0, 1, 0}));
    const test::ProcessStateGuard guard;
    floor.deletePolygon(floor.accessPolygonList().first());
    EXPECT_FALSE(floor.isPositionInside({0, 1, 0})) << "the last one is gone";
}

TEST(MeshBSP, TakesExitsToOtherMeshesForWalls) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::twoRooms(document);
    EXPECT_FALSE(room.isPositionInside({10, 2, 3}));
    CN_Polygon& exit = room.accessPolygonList()[4];
    exit.setExitDestination(&room.accessPolygonList()[2]);
    EXPECT_TRUE(room.isPositionInside({10, 2, 3})) << "it leads back: there is no wall";
    exit.setExitDestination(nullptr);
    EXPECT_FALSE(room.isPositionInside({10, 2, 3}));
}

TEST(MeshBSP, TakesInWhatStandsInside) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::lRoom(document);
    auto* const way = new CN_LevelEntityWaypoint;
    way->setDocument(&document);
    document.accessLevel()->add(way, false);
    for (const auto& [place, inside] : {std::pair(Vector(1, 1, 7), true), std::pair(Vector(7, 1, 7), false)}) {
        way->setPosition(place);
        EXPECT_EQ(room.isParentableNonRoom(way), inside);
    }
    EXPECT_TRUE(room.isParentableNonRoom(test::unitFloor(document))) << "on its floor";
    EXPECT_FALSE(room.isParentableNonRoom(test::twoRooms(document)));
    EXPECT_FALSE(room.isParentableNonRoom(nullptr));
    CN_LevelEntityMesh& empty = *test::emptyMesh(document);
    empty.setPosition({0, -7, 0});
    EXPECT_TRUE(room.isParentableNonRoom(&empty)) << "it counts for the origin";
    const test::ProcessStateGuard guard;
    EXPECT_FALSE(empty.isParentableNonRoom(way));
}

TEST(MeshBSP, FindsTheRoomOfAPosition) {
    test::ShelfDocument document;
    CN_LevelEntityMesh* const first = test::twoRooms(document);
    auto* const second = dynamic_cast<CN_LevelEntityMesh*>(first->getPolygonList()[4].getExitDestinationMesh());
    CN_LevelEntityMesh* const box = test::boxRoom(document); // no room: it has no exit
    box->setPosition({20, 0, 0});
    const Vector inFirst(4, 2, 3), inSecond(12, 2, 3), inBox(24, 2, 3), between(8, 2, 3);
    EXPECT_EQ(Utils::getRoomContainingPosition(inFirst, box), first);
    EXPECT_EQ(Utils::getRoomContainingPosition(inSecond, first), second);
    EXPECT_EQ(Utils::getRoomContainingPosition(inBox, first), nullptr);
    EXPECT_EQ(Utils::getRoomContainingPosition(between, second), second) << "the entity's own is asked first";
    EXPECT_EQ(Utils::getRoomContainingPosition(between, box), first) << "then in their order";
    EXPECT_EQ(Utils::getRoomContainingPosition(inFirst, nullptr), nullptr);
    EXPECT_EQ(Utils::getRoomContainingPosition(inFirst, document.getLevel()), first);
    second->setPosition({0, 0, 100});
    EXPECT_EQ(Utils::getRoomContainingPosition(inSecond, first), nullptr);
    EXPECT_EQ(Utils::getRoomContainingPosition(inSecond + Vector(0, 0, 100), first), second) << "where it stands now";
}

} // namespace
} // namespace cairn
