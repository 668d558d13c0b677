#include "cairn/animation/keyframes.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/fsm.h"
#include "tests/host/edited_level.h"
#include "tests/host/program_run.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

using namespace cairn;
using namespace cairn::host;

namespace {

class EditMesh : public test::EditedLevel {
  protected:
    double volume(const char* path) { return CN_volume(mesh(path)); }
};

} // namespace

TEST_F(EditMesh, LoftsOutlines) {
    const std::string outline = " 0 0 0  0 0 6  4 0 6  4 0 3  8 0 3  8 0 0";
    EXPECT_EQ(run("loft :: Room 3" + outline + "\nloft :: Solid -3" + outline), "");
    EXPECT_NEAR(volume("::Room"), 108, 1e-9) << "faces look inward";
    EXPECT_NEAR(volume("::Solid"), -108, 1e-9);
    EXPECT_EQ(mesh("::Room").getPolygonList().count(), 8);
    EXPECT_EQ(mesh("::Room").getVertexList().count(), 12);
    EXPECT_THAT(faults(), testing::IsEmpty());
    const std::pair<const char*, const char*> refusals[] = {
        {"loft :: X 0 0 0 0 0 0 6 4 0 6", "a prism of the height 0 encloses nothing"},
        {"loft :: X 3 0 0 0 0 0 6 0 0 9", "the outline encloses nothing"},
        {"loft :: X 3 0 0 0 0 0 6 4 1 6 4 0 0", "0 0 6 lies off the outline's plane"},
        {"loft :: X 3 0 0 0 0 0 6 0 0 6 4 0 0", "two corners lie at 0 0 6"},
        {"loft :: X 3 0 0 0 0 0 6 4 0 6 1", "a place has three numbers"},
        {"loft :: Room 3 0 0 0 0 0 6 4 0 6", "the name \"Room\" is taken there"},
        {"loft :: X 1 0 0 0 0 0 6 4 0 0 4 0 7", "the outline makes no prism"},
    };
    for (const auto& [command, why] : refusals)
        EXPECT_EQ(run(command).substr(0, std::string(why).size()), why) << command;
}

TEST_F(EditMesh, MovesPlanesOrSaysWhyNot) {
    ASSERT_EQ(run("box :: A 0 0 0 8 4 6\nbox :: B 8 0 0 4 4 6\nexit ::A#4 ::B#2 Door"), "");
    EXPECT_EQ(run("push ::A#1 1"), "an exit lies in the plane or on its border");
    EXPECT_EQ(run("seal ::A#4\npush ::A#1 -1"), "");
    EXPECT_NEAR(volume("::A"), 8 * 5 * 6, 1e-9) << "the ceiling looks down";
    EXPECT_EQ(run("push ::A#2 9"), "an edge would pass its far end");
    EXPECT_EQ(run("push ::A#2 7.5 1"), "an edge beside it would become too short");
    EXPECT_EQ(run("push ::A#2 -100"), "an edge beside it would become more than ten times as long");
    EXPECT_EQ(run("push ::A#2 1 -1"), "an edge's least length is not negative");
    EXPECT_EQ(run("tilt ::A#1 0 5 0 0 5 0 10"), "an axis leads from one place to another");
    EXPECT_EQ(run("tilt ::A#1 0 5 0 8 5 0 10"), "");
    EXPECT_NEAR(std::abs(volume("::A") - 240), 8 * 6 * 3 * std::tan(std::acos(-1.0) / 18), 1e-5) << "single precision";
    EXPECT_THAT(faults(), testing::IsEmpty());

    // A door keeps to its wall, and is told where it does not any more.
    EXPECT_THAT(run("exit ::A#4 ::B#2 Door"), testing::StartsWith("the exits do not meet: they cover 26.8261 and 24"));
}

TEST_F(EditMesh, WeldsAndFillsTJunctions) {
    ASSERT_EQ(run("box :: A 0 0 0 8 4 6\nsplit ::A#2 0 0 1 0 0 2"), "");
    EXPECT_EQ(run("push ::A#5 1"), "a plane without an edge to run along holds one of its corners");
    EXPECT_EQ(run("tjunctions ::A 0.001\nweld ::A 0.001"), "Mesh fix (A); 18 original verts, 10 now, killed 0 polys");
    EXPECT_EQ(run("push ::A#5 1"), "") << "both halves go along";
    EXPECT_NEAR(volume("::A"), 7 * 4 * 6, 1e-9);
    EXPECT_EQ(run("weld ::A 0"), "a radius is above 0");
    EXPECT_EQ(run("tjunctions ::A 0.5"), "a tolerance lies above 0 and up to 0.1");
    EXPECT_EQ(run("weld ::player 1"), "\"::player\" has no polygons");
    EXPECT_EQ(run("weld ::A 20"), "three corners or fewer: nothing to weld");
    EXPECT_EQ(run("box :: Flat 20 0 0 8 0.5 6\nweld ::Flat 0.6"), "nothing would be left inside the mesh");
}

TEST_F(EditMesh, ReflectsStretchesTurnsOverAndRecenters) {
    ASSERT_EQ(run("loft :: A 3 1 1 1  1 1 7  5 1 7  5 1 4  9 1 4  9 1 1"), "");
    const auto box = [this] {
        const CN_LevelEntityMesh& a = mesh("::A");
        return fmt::format("{:g} {:g} {:g} to {:g} {:g} {:g}", a.getBoundingMin().x, a.getBoundingMin().y,
                           a.getBoundingMin().z, a.getBoundingMax().x, a.getBoundingMax().y, a.getBoundingMax().z);
    };
    EXPECT_EQ(run("mirror ::A 1 0 0 7 0 0"), "");
    EXPECT_EQ(box(), "-7 1 1 to 1 4 7") << "about its own origin";
    EXPECT_EQ(run("scale ::A 2 1 -0.5"), "");
    EXPECT_EQ(box(), "-15 1 -2 to 1 4 1");
    EXPECT_NEAR(volume("::A"), 108, 1e-9);
    EXPECT_EQ(run("flip ::A"), "");
    EXPECT_NEAR(volume("::A"), -108, 1e-9);
    EXPECT_EQ(run("recenter ::A 0.5"), "");
    EXPECT_EQ(mesh("::A").getPosition(), CN_LevelEntity::Vector(-7, 2.5, -0.5));
    EXPECT_EQ(box(), "-15 1 -2 to 1 4 1");
    EXPECT_EQ(run("scale ::A 1 0 1"), "a factor other than 0 stretches a mesh");
    EXPECT_EQ(run("mirror ::A 0 0 0 1 1 1"), "a plane has a normal other than 0 0 0");
    EXPECT_EQ(run("recenter ::A -1"), "a grid is not negative");
    EXPECT_THAT(faults(), testing::IsEmpty());
}

TEST_F(EditMesh, JoinsAndSeparatesWithAllThatStandsThere) {
    ASSERT_EQ(run("box :: A 0 0 0 4 3 4\nbox :: B 10 0 0 4 3 4\nbox :: C 14 0 0 4 3 4\nexit ::B#4 ::C#2 Door\n"
                  "smooth ::B round ::B#1 ::B#2\nadd Waypoint ::B Spot 1 1 1\nadd FSM :: F\nfsm-handler ::F OnX\n"
                  "fsm-send ::F OnX before \"::B->EnableExit(1, Door);\""),
              "");
    EXPECT_EQ(run("join ::A ::A"), "a mesh is not joined with itself");
    EXPECT_EQ(run("join ::A ::B"), "");
    EXPECT_EQ(find("::B"), nullptr);
    EXPECT_EQ(mesh("::A").getPolygonList().count(), 12);
    EXPECT_EQ(mesh("::A").findExit("Door")->getExitDestination(), mesh("::C").findExit("Door"));
    EXPECT_EQ(mesh("::C").findExit("Door")->getExitDestination(), mesh("::A").findExit("Door"));
    EXPECT_TRUE(find("::A::Spot"));
    ASSERT_EQ(mesh("::A").getPolygonGroups().size(), 1u);
    EXPECT_TRUE((*mesh("::A").getPolygonGroups().begin())->isMember(&mesh("::A").accessPolygonList()[7]));
    const auto line = [this] {
        std::string text;
        find("::F")->accessFSM()->forEachMessage([&](const E_FSM::Message& m) { text += toString(m.m_text); });
        return text;
    };
    EXPECT_EQ(line(), "::A->EnableExit(1, Door);");
    EXPECT_THAT(faults(), testing::IsEmpty());

    EXPECT_EQ(run("separate ::C#0 1"), "all polygons hang together with \"::C#0\"");
    EXPECT_EQ(run("separate ::A#7 0.125\nrename ::A B"), "");
    EXPECT_NEAR(volume("::B"), 48, 1e-9);
    EXPECT_EQ(mesh("::B").findExit("Door")->getExitDestination(), mesh("::C").findExit("Door"));
    EXPECT_TRUE(find("::B::Spot")) << "it stood inside";
    EXPECT_EQ(mesh("::B").getPolygonGroups().size(), 1u);
    EXPECT_EQ(line(), "::B->EnableExit(1, Door);");
    EXPECT_EQ(m_document->accessLevel()->getChildren().size(), 5u) << "player, C, F and two parts";
    EXPECT_THAT(faults(), testing::IsEmpty());

    EXPECT_THAT(run("join ::B ::C"), testing::AllOf(testing::HasSubstr("the exit \"Door\" is named \"Door01\" now"),
                                                    testing::HasSubstr("The mesh is open in 16 places")))
        << "rooms that touch have a wall twice";
    EXPECT_EQ(line(), "::B->EnableExit(1, Door);");
}

TEST_F(EditMesh, KeepsWhatHangsOnMeshesThatAreNotPlain) {
    // Part of a dynamic mesh that has a door, and a trigger in two rooms with a solid in one of them.
    ASSERT_EQ(run("box :: A 0 0 0 4 3 4\nbox :: B 10 0 0 4 3 4\njoin ::A ::B\nbox :: C 4 0 0 4 3 4\n"
                  "exit ::A#4 ::C#2 Door\ndynamic ::A on"),
              "");
    EXPECT_EQ(run("separate ::A#0 0"), "");
    EXPECT_EQ(mesh("::A").getPolygonList().count(), 6);
    ASSERT_TRUE(mesh("::C").findExit("Door"));
    EXPECT_EQ(mesh("::C").findExit("Door")->getExitDestination()->getExitDestination(), mesh("::C").findExit("Door"));
    EXPECT_THAT(faults(), testing::IsEmpty());
    EXPECT_EQ(run("join ::C ::A"), "\"::A\" is dynamic: make it static first");

    ASSERT_EQ(
        run("box :: R 20 0 0 8 3 8\nbox :: Pillar 22 0 2 1 2 1 out\njoin ::R ::Pillar\nadd Waypoint ::R Spot 1 1 1\n"
            "set ::R trigger on"),
        "");
    EXPECT_EQ(run("separate ::R#0 0"), "");
    EXPECT_TRUE(find("::R::Spot")) << "all the world lies inside a solid that is turned inside out";
    EXPECT_TRUE(mesh("::R").isTrigger() && mesh("::R").hasFSM());
    EXPECT_THAT(faults(), testing::IsEmpty());
    EXPECT_EQ(run("join ::C ::R"), "\"::R\" is a trigger");

    // Messages go to the part that has the exit they name.
    ASSERT_EQ(run("box :: P 40 0 0 4 3 4\nbox :: Q 50 0 0 4 3 4\nbox :: X 44 0 0 4 3 4\nbox :: Y 54 0 0 4 3 4\n"
                  "exit ::P#4 ::X#2 Gate\nexit ::Q#4 ::Y#2 Door\njoin ::P ::Q\nadd FSM :: F\nfsm-handler ::F OnX\n"
                  "fsm-send ::F OnX before \"::P->EnableExit(1, Gate);\"\n"
                  "fsm-send ::F OnX before \"::P->EnableExit(1, Door);\"\nseparate ::P#0 0"),
              "");
    std::string lines;
    find("::F")->accessFSM()->forEachMessage([&](const E_FSM::Message& m) { lines += toString(m.m_text); });
    EXPECT_EQ(lines, "::P->EnableExit(1, Gate);::P02->EnableExit(1, Door);");
    EXPECT_THAT(faults(), testing::IsEmpty());
}

TEST_F(EditMesh, MakesMeshesDynamicAndKeepsKeyframes) {
    ASSERT_EQ(run("box :: A 0 0 0 4 3 4\nbox ::A Leaf 0 0 0 1 2 0.1 out"), "");
    EXPECT_EQ(run("keyframe ::A::Leaf open"), "\"::A::Leaf\" is not dynamic");
    EXPECT_EQ(run("dynamic ::A::Leaf on\nplace ::A::Leaf 0 2 0\nkeyframe ::A::Leaf open"), "");
    EXPECT_TRUE(mesh("::A::Leaf").isDynamic() && mesh("::A::Leaf").hasFSM());
    EXPECT_EQ(mesh("::A::Leaf").getKeyframes()->getCount(), 2);
    EXPECT_EQ(run("keyframe ::A::Leaf open"), "a keyframe is named \"open\" already");
    EXPECT_EQ(run("dynamic ::A::Leaf maybe"), "\"maybe\" is neither on nor off");
    EXPECT_EQ(run("dynamic ::A::Leaf off"), "");
    EXPECT_EQ(mesh("::A::Leaf").getPosition(), CN_LevelEntity::Vector()) << "where it rests";
    EXPECT_EQ(run("texture ::A Nothing x"), "no category is named \"Nothing\"");
    EXPECT_THAT(faults(), testing::IsEmpty());
}

using EditedHouse = test::ProgramTest;

TEST_F(EditedHouse, IsBuiltByTheExample) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const test::ProgramRun done =
        run({"edit", "a.cairn", "-o", "h.cairn", "--script", test::projectFile("examples/house.edit").string()});
    EXPECT_EQ(done.code, 0) << done.error;
    EXPECT_EQ(run({"check", "--strict", "h.cairn"}).output, "h.cairn: ok\n");
    EXPECT_EQ(run({"where", "h.cairn", "1", "1", "1"}).output, "::Hall\n  ::Study by Door\n");
    EXPECT_EQ(run({"explain", "h.cairn", "::Hall"}).code, 0);
    EXPECT_EQ(run({"explain", "h.cairn", "::Study"}).code, 0);
}
