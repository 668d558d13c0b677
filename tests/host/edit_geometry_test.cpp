#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "tests/host/edited_level.h"
#include "tests/host/program_run.h"

#include <gmock/gmock.h>

using namespace cairn;
using namespace cairn::host;

namespace {

using Vector = CN_LevelEntity::Vector;

using EditGeometry = test::EditedLevel;

constexpr const char* ROOMS = "box :: A 0 0 0 8 4 6\nbox :: B 8 0 0 4 4 6 in\n";

} // namespace

TEST_F(EditGeometry, MakesBoxes) {
    EXPECT_EQ(run("box :: In 1 2 3 8 4 6\nbox ::In Out 1 0 1 2 1 1 OUT"), "");
    const Vector normals[] = {{0, 1, 0}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}, {-1, 0, 0}, {0, 0, 1}};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(face("::In", i).getNormal(), normals[i]) << i;
        EXPECT_EQ(face("::In::Out", i).getNormal(), -normals[i]) << i;
    }
    EXPECT_EQ(mesh("::In").getBoundingMin(), Vector(1, 2, 3));
    EXPECT_EQ(mesh("::In").getBoundingMax(), Vector(9, 6, 9));
    EXPECT_EQ(CN_volume(mesh("::In")), 192);
    EXPECT_EQ(CN_volume(mesh("::In::Out")), -2);
    EXPECT_THAT(faults(), testing::IsEmpty()) << "the walls have a material, too";
    EXPECT_EQ(run("box :: C 0 0 0 1 0 1"), "a box of the size 0 encloses nothing");
    EXPECT_EQ(run("box :: C 0 0 0 0.001 1 1"), "a box of the size 0.001 encloses nothing") << "its edges would be one";
    EXPECT_EQ(run("box :: C 1e16 0 0 1 1 1"), "a place or a size does not go beyond 1e+15");
    EXPECT_EQ(run("box :: C 0 0 0 1 1 1 up"), "\"up\" is neither in nor out");
    EXPECT_EQ(run("box :: In 0 0 0 1 1 1"), "the name \"In\" is taken there");
}

TEST_F(EditGeometry, CutsAndUnites) {
    EXPECT_EQ(run(std::string(ROOMS) + "split ::A#4 0 0 2 5 1 2"), "");
    ASSERT_EQ(mesh("::A").getPolygonList().count(), 7);
    const Vector normal(-1, 0, 0);
    for (const auto& [index, area] : {std::pair(5, 8.0), {6, 16.0}}) { // behind, then in front
        EXPECT_EQ(face("::A", index).getNormal(), normal);
        EXPECT_NEAR(face("::A", index).calcArea(), area, 1e-12);
    }
    EXPECT_THAT(faults(), testing::IsEmpty());
    EXPECT_EQ(run("split ::A#5 0 0 1 0 0 5"), "the plane does not cut \"::A#5\"");
    EXPECT_EQ(run("box :: Flat 0 0 0 40 1 40\nsplit ::Flat#0 0.0012 0.9999992 0 20 0 0"),
              "the plane does not cut \"::Flat#0\" in two");
    EXPECT_EQ(mesh("::Flat").getPolygonList().count(), 6);
    EXPECT_EQ(run("split ::A#5 0 0 0 0 0 1"), "a plane has a normal other than 0 0 0");
    EXPECT_EQ(run("split ::A#7 0 0 1 0 0 1"), "there is no polygon \"::A#7\": ENTITY#INDEX");
    EXPECT_EQ(run("unify ::A#5 ::A#5"), "a polygon cannot be united with itself");
    EXPECT_EQ(run("unify ::A#5 ::B#2"), "Polys have to be in the same object!");
    EXPECT_EQ(run("unify ::A#5 ::A#0"), "Polys have to be coplanar!");
    EXPECT_EQ(run("unify ::A#6 ::A#5"), "");
    ASSERT_EQ(mesh("::A").getPolygonList().count(), 6);
    EXPECT_NEAR(face("::A", 5).calcArea(), 24, 1e-12);
    EXPECT_EQ(face("::A", 5).getEdgeList().count(), 4) << "what was cut is one again";
    EXPECT_THAT(faults(), testing::IsEmpty());
}

TEST_F(EditGeometry, LinksAndSealsExits) {
    EXPECT_EQ(run(std::string(ROOMS) + "exit ::A#4 ::B#2 Door"), "");
    EXPECT_TRUE(mesh("::A").isRoom() && mesh("::B").isRoom());
    EXPECT_EQ(face("::A", 4).getExitDestination(), &face("::B", 2));
    EXPECT_EQ(face("::B", 2).getExitDestination(), &face("::A", 4));
    EXPECT_EQ(mesh("::A").findExit("door"), &face("::A", 4));
    EXPECT_EQ(face("::B", 2).getLevelEntityPortal()->getName(), "Door");
    EXPECT_THAT(faults(), testing::IsEmpty());

    EXPECT_EQ(run("split ::A#4 0 0 1 0 0 2"), "\"::A#4\" is an exit: seal it first");
    EXPECT_EQ(run("exit ::A#4 ::B#4 Other"), "\"::A#4\" is an exit: seal it first");
    EXPECT_EQ(run("exit ::A#2 ::A#2 Other"), "an exit leads from one polygon to another");
    EXPECT_EQ(run("exit ::A#2 ::B#4 DOOR"), "the name \"DOOR\" is taken below \"::A\"");
    EXPECT_EQ(run("exit ::A#2 ::B#4 parent").substr(0, 20), "\"parent\" is no name:");
    EXPECT_EQ(run("exit ::A#2 ::B#4 Far"), "the exits do not meet: one lies up to 12 off the other's plane");
    EXPECT_EQ(run("exit ::A#3 ::A#5 Self"), "the exits do not meet: one lies up to 6 off the other's plane");
    EXPECT_EQ(face("::A", 5).getLevelEntityPortal()->getName(), "Self01") << "both portals stand below one mesh";

    EXPECT_EQ(run("seal ::B#2\nseal ::A#2\nseal ::A#5"), "");
    EXPECT_EQ(run("seal ::A#4"), "\"::A#4\" is no exit");
    EXPECT_FALSE(mesh("::A").isRoom() || mesh("::A").hasChildNamed("Door") || mesh("::A").hasChildNamed("Self"));
    EXPECT_EQ(face("::A", 4).getPolyMode(), PT_SOLID);
    EXPECT_THAT(faults(), testing::IsEmpty());
}

TEST_F(EditGeometry, RefusesWhatWouldOpenAMeshAndWhatNobodyCouldWalkThrough) {
    ASSERT_EQ(run(ROOMS), "");
    for (const char* const place : {"0.0006", "0.00099", "7.9993"})
        EXPECT_EQ(run(fmt::format("split ::A#0 1 0 0 {} 0 0", place)), "the plane does not cut \"::A#0\"") << place;
    EXPECT_EQ(run("split ::A#0 1 0 0 0.002 0 0"), "");
    face("::A", 2).setPolyMode(PT_ADD);
    EXPECT_EQ(run("exit ::A#2 ::B#4 Odd"), "\"::A#2\" is drawn in mode 1: only a solid polygon becomes an exit");
    mesh("::A").addPolygon();
    EXPECT_EQ(run("exit ::A#7 ::B#4 Odd"), "\"::A#7\" encloses nothing");
    EXPECT_EQ(run("box :: C 0 0 6 8 4 6 out\nbox :: D 0 0 12 8 4 6\nexit ::C#3 ::D#5 Door").substr(0, 20),
              "the exits do not mee");
    EXPECT_EQ(run("box :: E 0 9 0 8 4 6 out\nbox :: F 8 9 0 8 4 6 out\nexit ::E#4 ::F#2 Door"),
              "the faces of \"::E\" look outward: nothing is inside itthe faces of \"::F\" look outward: nothing is "
              "inside it");

    // What cuts and unions make stays in the groups of what they were made of.
    ASSERT_EQ(run("smooth ::B round ::B#0\nsplit ::B#0 1 0 0 2 0 0"), "");
    const CN_LevelEntityPolygonGroup& group = **mesh("::B").getPolygonGroups().begin();
    EXPECT_EQ(group.getSet().size(), 2u);
    EXPECT_EQ(run("unify ::B#5 ::B#6"), "");
    EXPECT_EQ(group.getSet().size(), 1u);
}

TEST_F(EditGeometry, ClosesWhatLeadsToAnExitOneWayButNotWhatItLeadsTo) {
    const std::string rooms =
        std::string(ROOMS) + "box :: C 0 0 6 8 4 6\nexit ::A#4 ::B#2 Door\nexit ::A#3 ::C#5 Hatch\n";
    ASSERT_EQ(run(rooms), "");
    face("::C", 5).setExitDestination(&face("::B", 2)); // no way back: the hatch leads to the door's other side
    EXPECT_EQ(run("seal ::C#5"), "");
    EXPECT_FALSE(face("::C", 5).isExitPolygon() || face("::A", 3).isExitPolygon())
        << "the hatch led to what was sealed";
    EXPECT_EQ(face("::A", 4).getExitDestination(), &face("::B", 2)) << "a door that both sides agree on";
    EXPECT_EQ(face("::B", 2).getExitDestination(), &face("::A", 4));

    ASSERT_EQ(run("exit ::A#3 ::C#5 Hatch"), "");
    face("::C", 5).setExitDestination(&face("::B", 2));
    EXPECT_EQ(run("delete ::B"), "");
    for (const auto& [path, index] : {std::pair("::A", 4), {"::C", 5}, {"::A", 3}}) {
        EXPECT_FALSE(face(path, index).isExitPolygon()) << path << index;
        EXPECT_EQ(face(path, index).getPolyMode(), PT_SOLID) << path << index;
    }
    EXPECT_THAT(faults(), testing::IsEmpty());

    // A portal on a wall, as a load leaves where the partner is lost.
    auto portal = std::make_unique<CN_LevelEntityPortal>();
    portal->setDocument(m_document.get());
    portal->setName("Old", false);
    CN_LevelEntityPortal* const old = portal.get();
    mesh("::A").addOwned(std::move(portal), true);
    old->setPortalPolygon(&face("::A", 4));
    EXPECT_EQ(run("exit ::A#4 ::C#2 Door"), "\"::A::Old\" stands on \"::A#4\": delete it first");
    EXPECT_EQ(run("split ::A#4 0 0 1 0 0 2").substr(0, 17), "\"::A::Old\" stands");
    EXPECT_EQ(run("delete ::A::Old\nsplit ::A#4 0 0 1 0 0 2"), "");
}

TEST_F(EditGeometry, SmoothsPolygons) {
    EXPECT_EQ(run(std::string(ROOMS) + "smooth ::A round ::A#2 ::A#3\nsmooth ::A Round ::A#4"), "");
    ASSERT_EQ(mesh("::A").getPolygonGroups().size(), 1u);
    const CN_LevelEntityPolygonGroup& group = **mesh("::A").getPolygonGroups().begin();
    EXPECT_TRUE(group.isSmooth());
    EXPECT_EQ(group.getSet().size(), 3u);
    EXPECT_EQ(group.getParent(), &mesh("::A"));
    EXPECT_THAT(faults(), testing::IsEmpty());
    EXPECT_EQ(run("smooth ::A other ::B#1"), "\"::B#1\" is no polygon of \"::A\"");
    EXPECT_EQ(run("smooth ::player x ::A#1"), "\"::player\" has no polygons");
    EXPECT_FALSE(mesh("::A").hasChildNamed("other")) << "what is refused makes nothing";
}

using EditedFile = test::ProgramTest;

TEST_F(EditedFile, IsSavedWithItsExits) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const test::ProgramRun done = run({"edit", "a.cairn", "-o", "b.cairn", "-c", "box :: A 0 0 0 8 4 6", "-c",
                                       "box :: B 9 0 0 4 4 6", "-c", "exit ::A#4 ::B#2 Door"});
    EXPECT_EQ(done.code, 0);
    EXPECT_EQ(done.error, "cairn: a.cairn: warning: line 3: exit: the exits do not meet: one lies up to 1 off the "
                          "other's plane\n");
    EXPECT_EQ(run({"check", "--strict", "b.cairn"}).output, "b.cairn: ok\n");
    EXPECT_NE(run({"info", "--json", "b.cairn"}).output.find("\"rooms\":2"), std::string::npos);
}
