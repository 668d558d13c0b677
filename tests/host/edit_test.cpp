#include "cairn/document/selection.h"
#include "cairn/foundation/exception.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"
#include "tests/host/edited_level.h"
#include "tests/host/program_run.h"
#include "tests/support/machine_text.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

using namespace cairn;
using namespace cairn::host;

namespace {

class Edit : public test::EditedLevel {
  protected:
    /// The lines of a machine in the order of its handlers.
    std::string lines(const char* path) {
        std::string all;
        find(path)->getFSM()->forEachMessage([&](const E_FSM::Message& m) { all.append(view(m.m_text)).append("\n"); });
        return all;
    }
};

constexpr const char* TWO_ROOMS = "add mesh :: Room1\nadd mesh :: Room2 8 0 0\nadd enemy ::Room1 Guard 2 0 2\n"
                                  "add TRIGGER ::Room2 Gate\nadd fsm :: Clock\n";

} // namespace

TEST(EditLanguage, TakesLinesApart) {
    const struct {
        std::string line, words; ///< the words with a bar between them, or the refusal
    } cases[] = {
        {"", ""},
        {"  # all of it", ""},
        {"a#1 b\tc # d", "a#1|b|c"},
        {R"(a "b c" "\"\\\x41" "" "#")", "a|b c|\"\\A||#"},
        {R"(a "b)", "a quote is not closed"},
        {R"(a b"c")", "a quote stands within a word"},
        {R"("a"b)", "a quote stands within a word"},
        {R"("\n")", "a backslash in quotes has none of \" \\ xNN behind it"},
        {R"("\x4")", "a backslash in quotes has none of \" \\ xNN behind it"},
        {"a\x01", "a control character stands in a word"},
    };
    for (const auto& c : cases) {
        try {
            EXPECT_EQ(fmt::format("{}", fmt::join(readEditWords(c.line), "|")), c.words) << c.line;
        } catch (const EditRefusal& refusal) {
            EXPECT_EQ(refusal.what(), c.words) << c.line;
        }
    }
    const std::vector<EditLine> lines = readEditScript("a\r\n\n # b\nc d");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].number, 4u);
    EXPECT_EQ(lines[1].words.size(), 2u);
}

TEST_F(Edit, RefusesWithAReasonAndChangesNothing) {
    ASSERT_EQ(run(TWO_ROOMS), "");
    ASSERT_EQ(run("fsm-state ::Clock idle\nfsm-handler ::Clock FSM_Switch(walk)"), "");
    const struct {
        const char *command, *reason;
    } cases[] = {
        {"frob", "\"frob\" is no command"},
        {"rename ::Room1", "\"rename\" takes: rename ENTITY NAME"},
        {"rename ::Nobody x", "no entity is named \"::Nobody\""},
        {"rename @99 x", "no entity is named \"@99\""},
        {"rename :: x", "the root of the level stays as it is"},
        {"delete ::player", "the player stays below the root, under its name"},
        {"rename ::Room1 ROOM2", "the name \"ROOM2\" is taken there"},
        {"add mesh :: room2", "the name \"room2\" is taken there"},
        {"add dragon :: x", "\"dragon\" is no kind of entity"},
        {"add mesh :: x 1 2", "a place has three numbers"},
        {"add mesh :: x 1 2 inf", "\"inf\" is no number"},
        {"add portal :: x", "\"::\" cannot hold \"x\""},
        {"move ::Room1 ::Room1::Guard", "\"::Room1::Guard\" is the entity itself or lies below it"},
        {"turn ::Room1 w 3", "\"w\" is none of the axes x, y and z"},
        {"place ::Room1 1 2 3x", "\"3x\" is no number"},
        {"fsm-state ::Room1 a", "\"::Room1\" has no state machine"},
        {"fsm-state ::Clock IDLE", "there is a state \"IDLE\" already"},
        {"fsm-state ::Clock a(b)", "\"a(b)\" is no name"},
        {"fsm-rename-state ::Clock run walk", "there is no state \"run\""},
        {"fsm-handler ::Clock startup", "there is a handler \"startup\" already"},
        {"fsm-send ::Clock OnUse before x", "there is no handler \"OnUse\""},
        {"fsm-send ::Clock Startup state:run x", "there is no state \"run\""},
        {"fsm-send ::Clock Startup later x", "\"later\" is none of before, after and state:NAME"},
        {"fsm-send ::Clock Startup before \"Nobody->Go();\"", "the target is no entity: \"Nobody\""},
        {"fsm-send ::Clock Startup before \"->Go();\"", "the target is no entity: \"\""},
        {"fsm-send ::Clock Startup before \"Go(::Nobody)\"", "the argument is no entity: \"::Nobody\""},
        {"fsm-send ::Clock Startup before Go(a", "the arguments have no parenthesis at their end: \"Go(a\""},
        {"fsm-send ::Clock Startup before Go(a,)", "an argument is empty: \"a,\""},
        {"fsm-send ::Clock Startup before Go(a))", "a parenthesis closes none: \"a)\""},
        {"fsm-send ::Clock Startup before \"Go on\"", "this is no name of a message: \"Go on\""},
        {"fsm-send ::Room1 Startup before Go(::Room2)", "\"::Room1\" has no state machine"},
        {"fsm-send ::Clock Startup before this->DO_InvertAnimation(a)",
         "an old name of DO_AbortAnimation: \"DO_InvertAnimation\""},
        {"fsm-send ::Clock Startup before Go(player.ai)",
         "an old form of a target that loads take away: \"player.ai\""},
        {"fsm-send ::Clock Startup before this->AI_SetTarget(PLAYER_GROUP)",
         "an old name of the group 0: \"PLAYER_GROUP\""},
        {"fsm-handler ::Clock activate", "\"activate\" is an old name of T_Activate"},
        {"fsm-handler ::Clock Enter1st(a)", "\"Enter1st(a)\" is an old form of a state of the handler Animation(NAME)"},
        {"fsm-handler ::Room1::Guard OnSpecial", "\"OnSpecial\" is a handler that no level has any more"},
        {"fsm-rename-state ::Clock idle walk", "the handler \"FSM_Switch(walk)\" has something for \"walk\" already"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(c.command), c.reason) << c.command;
    EXPECT_NE(run("rename ::Room1 \"a b\"").find("\"a b\" is no name: "), std::string::npos);
    EXPECT_EQ(test::textOf(*find("::Clock")->getFSM()), "idle* ; ; ;\nFSM_Switch(idle):\nFSM_Switch(walk):\nStartup:");
    EXPECT_EQ(m_document->getLevel()->getChildren().size(), 4u);
}

TEST_F(Edit, ChangesTheTree) {
    ASSERT_EQ(run(TWO_ROOMS), "");
    ASSERT_EQ(run("turn ::Room2 Y 90\nmove ::Room1::Guard ::Room2\nrename ::room1 ROOM1\nplace @1 1 2 3\n"
                  "select ::Room2 ::Room2::Guard"),
              "");
    const CN_LevelEntity& guard = *find("::Room2::Guard");
    EXPECT_LT((guard.getWorldPosition() - M_Vector3Template<double>(2, 0, 2)).length(), 1e-12);
    EXPECT_EQ(find("::Room1")->getName(), CString("ROOM1"));
    EXPECT_EQ(m_document->accessPlayer()->getPosition(), (M_Vector3Template<double>(1, 2, 3)));
    EXPECT_EQ(m_document->getSelection()->getCount(), 2);
    ASSERT_EQ(run("delete ::Room2"), "");
    EXPECT_EQ(m_document->getSelection()->getCount(), 0);
    EXPECT_EQ(find("::Room2"), nullptr);
}

TEST_F(Edit, MessagesFollowWhatTheyName) {
    ASSERT_EQ(run(TWO_ROOMS), "");
    ASSERT_EQ(run(R"script(fsm-state ::Room1::Guard idle
fsm-state ::Room1::Guard run
fsm-send ::Clock Startup before "  ::Room1::Guard -> FSM_Switch( run )"
fsm-send ::Clock Startup after "parent::Room1::Guard->LookAt(::Room2::Gate, \"a, b\", f(1,2));"
fsm-send ::Clock Startup after "player->Go"
fsm-send ::Room1::Guard FSM_Switch(run) state:RUN "this->FSM_Switch(\"idle\");"
fsm-send ::Room1::Guard OnDeath before "Say(\"a -> b\")"
fsm-send ::Room1::Guard OnDeath before "activator->Blame();"
fsm-send ::Room1::Guard OnDeath before "# gone"
fsm-send ::Room1::Guard OnDeath before "Print(hello)")script"),
              "");
    EXPECT_EQ(lines("::Clock"), "::Room1::Guard->FSM_Switch(run);\n"
                                "parent::Room1::Guard->LookAt( ::Room2::Gate, \"a, b\", f(1,2) );\nplayer->Go();\n");
    EXPECT_EQ(lines("::Room1::Guard"),
              "this->FSM_Switch(idle);\nSay(\"a -> b\");\nactivator->Blame();\n# gone\nPrint(hello);\n");

    ASSERT_EQ(run("rename ::Room1 Hall\nmove ::Room2::Gate ::Clock\nfsm-rename-state ::Hall::Guard run flee"), "");
    EXPECT_EQ(lines("::Clock"), "::Hall::Guard->FSM_Switch(flee);\n"
                                "parent::Hall::Guard->LookAt( ::Clock::Gate, \"a, b\", f(1,2) );\nplayer->Go();\n");
    EXPECT_TRUE(find("::Hall::Guard")->getFSM()->getMessageHandler("FSM_Switch(flee)")->m_sendOnState.contains("flee"));

    ASSERT_EQ(run("delete ::Hall"), "");
    EXPECT_EQ(lines("::Clock"), "player->Go();\n");
}

TEST_F(Edit, TakesTheReceiversOfACatalogueForTheGame) {
    ASSERT_EQ(run(TWO_ROOMS), "");
    const CN_FSMMessageInfoProvider* const catalogue =
        m_session.readCatalogue(test::projectFile("host/data/messages.txt").string());
    Editor editor(*m_document, catalogue);
    editor.run(readEditWords("fsm-send ::Clock Startup before \"Tarn_GameMode->GM_EnableExit(a, 1)\""));
    EXPECT_EQ(lines("::Clock"), "Tarn_GameMode->GM_EnableExit(a, 1);\n");
}

TEST(EditPortals, ExitsCloseOnBothSidesAndLinesFollowTheirNames) {
    for (const char* const dies : {"::First::ToSecond", "::First", "::Second"}) {
        test::ShelfDocument document;
        test::twoRooms(document);
        CN_CairnLevel& root = *document.accessLevel();
        Editor editor(document);
        const auto run = [&](const std::string& command) { editor.run(readEditWords(command)); };
        for (const char* const command : {"move ::First::ToSecond ::Second", "add portal ::First Way"})
            EXPECT_THROW(run(command), EditRefusal) << command;
        run("add fsm :: Clock");
        run("fsm-handler ::Clock OnUse");
        run("fsm-send ::Clock OnUse before \"::First->EnableExit(1, \\\"ToSecond\\\")\"");
        run("rename ::First::ToSecond Gap");
        editor.finish();
        const E_FSM& machine = *root.mapNameToObject("::Clock", nullptr)->getFSM();
        EXPECT_EQ(machine.getMessageHandler("OnUse")->m_sendBefore.at(0).m_text, "::First->EnableExit(1, Gap);");
        const std::string name = dies == std::string("::First::ToSecond") ? "::First::Gap" : dies;
        run("delete " + name);
        editor.finish();
        EXPECT_FALSE(machine.hasMessages());
        int exits = 0, portals = 0;
        CN_PreIterator it = root.createIterator();
        for (it.begin(); !it.end(); ++it) {
            portals += (*it)->getEntityId() == CN_KIND_PORTAL;
            if (auto* const mesh = dynamic_cast<CN_LevelEntityMesh*>(*it))
                for (const CN_Polygon& polygon : mesh->getPolygonList())
                    exits += polygon.isExitPolygon();
        }
        EXPECT_EQ(exits + portals, 0) << dies;
        EXPECT_TRUE(CN_isConsistent(document));
    }
}

using EditProgram = test::ProgramTest;

TEST_F(EditProgram, WritesNothingWhereACommandIsRefused) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    write("a.edit", "add waypoint :: A # first\nadd waypoint ::A B\n\nrename ::A::B player\n\"open\n");
    const test::ProgramRun refused = run({"edit", "a.cairn", "-o", "b.cairn", "--script", "a.edit"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.error.find("cairn: a.edit: line 2: "), 0u) << refused.error;
    EXPECT_EQ(std::count(refused.error.begin(), refused.error.end(), '\n'), 1);
    EXPECT_EQ(read("b.cairn"), "");
    EXPECT_EQ(run({"edit", "a.cairn", "-o", "b.cairn", "-c", "add fsm :: A", "-c", "rename ::A Clock"}).code, 0);
    EXPECT_NE(run({"tree", "b.cairn"}).output.find("Clock (FSM)"), std::string::npos);
    EXPECT_EQ(run({"check", "--strict", "b.cairn"}).code, 0);
}
