#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/enemy.h"
#include "cairn/fsm/fsm.h"
#include "host/editor.h"
#include "host/level_session.h"
#include "tests/host/program_run.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/test_data.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>

using namespace cairn;
using test::ProgramRun;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

namespace {

/// Two rooms that lead into one another, a guard in the first and a gate in the second: messages of every form, those
/// that no script gets among them.
constexpr const char* LOGIC = R"script(add enemy ::First Guard 2 0 2
add trigger ::Second Gate 10 1 3
add fsm :: Clock
fsm-state ::First::Guard idle
fsm-state ::First::Guard alert
fsm-state ::Second::Gate closed
fsm-state ::Second::Gate open
fsm-handler ::Clock OnUse
fsm-send ::First::Guard OnDeath before "# his last words"
fsm-send ::First::Guard OnDeath before "parent::parent::Second::Gate->FSM_Switch(open);"
fsm-send ::First::Guard FSM_Switch(alert) before "this->AI_SetTarget(player);"
fsm-send ::First::Guard FSM_Switch(alert) after "this->AI_AddPatrolCommand(WALK, ::Second::Gate);"
fsm-send ::First::Guard FSM_Switch(alert) state:idle "player->Look(::First::Guard);"
fsm-send ::Second::Gate T_Activate before "activator->AI_Stop();"
fsm-send ::Second::Gate T_Activate before "REM(nobody reads this);"
fsm-send ::Second::Gate T_Activate state:closed "::First->EnableExit(1, ToSecond);"
fsm-send ::Second::Gate T_Activate state:open "::First->EnableExit(0, nowhere);"
fsm-send ::Second::Gate T_Activate after "::First::Guard->AI_SetTargetGroups(guards, wolves);"
fsm-send ::Second::Gate T_Activate after "::First::Guard->FSM_Switch(alert);"
fsm-send ::Clock OnUse before "Print(\"<knock> & wait\");"
select ::Second::Gate)script";

class MachineCommands : public test::ProgramTest {
  protected:
    MachineCommands() {
        {
            test::twoRooms(m_document);
            host::Editor editor(m_document);
            for (const host::EditLine& line : host::readEditScript(LOGIC))
                editor.run(line.words);
            editor.finish();
        }
        m_document.accessAICharacterGroups()["guards"] = 0;
        static_cast<CN_LevelEntityEnemy*>(find("::First::Guard"))->setGroup("guards");
        save();
    }

    CN_LevelEntity* find(const char* path) { return m_document.getLevel()->mapNameToObject(path, nullptr); }
    void save() { CN_LevelFile::save(m_document, path("a.cairn").string()); }
    std::string golden(const std::string& name) {
        std::ifstream file(test::projectFile("tests/data/machines/" + name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// What an export to standard output gives.
    std::string exported(const std::string& format, std::vector<std::string> words = {}) {
        words.insert(words.begin(), {"export", "a.cairn", "-o", "-", "--format", format, "--quiet"});
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 0) << done.error;
        return done.output;
    }
    Json json(const std::vector<std::string>& words) {
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 0) << done.error;
        return Json::parse(done.output, nullptr, false);
    }

    host::Console m_console;
    host::LevelSession m_session{m_console, ""};
    test::ShelfDocument m_document;
};

} // namespace

// A person has read the stored texts.
TEST_F(MachineCommands, ExportsTheTextsThatAreStored) {
    for (const char* name : {"two_rooms.xml", "two_rooms.script"}) {
        const ProgramRun done = run({"export", "a.cairn", "-o", name});
        EXPECT_EQ(done.code, 0) << done.error;
        EXPECT_EQ(read(name), golden(name)) << name;
        EXPECT_EQ(exported(std::filesystem::path(name).extension().string().substr(1)), golden(name));
    }
    EXPECT_THAT(run({"export", "a.cairn", "-o", "a.script"}).error,
                testing::AllOf(HasSubstr("exported 3 state machines"),
                               HasSubstr("1 messages that name no exit of their target"),
                               HasSubstr("the first is ::Second::Gate")));
}

TEST_F(MachineCommands, ExportsWhatIsChosen) {
    EXPECT_EQ(exported("xml", {"--filter", "knock"}),
              "<FSMs>\n<FSM name=\"::Clock\" parent_type=\"Floating FSM\">\n<handler name=\"OnUse\" sortkey=\"\">\n"
              "<sendbefore>\n<message>\n<target></target>\n<message_name>Print</message_name>\n"
              "<argument>\"<knock> & wait\"</argument>\n<global>1</global>\n</message>\n</sendbefore>\n</handler>\n"
              "</FSM>\n</FSMs>\n");
    const std::string ofGate = exported("xml", {"--selection-only"}); // as it is selected in the level
    EXPECT_THAT(ofGate, HasSubstr("<FSM name=\"::First::Guard\""));
    EXPECT_THAT(ofGate, testing::Not(HasSubstr("<FSM name=\"::Second::Gate\"")));
    EXPECT_EQ(exported("xml", {"--select", "::Second"}), ofGate);

    EXPECT_EQ(exported("script", {"--select", "::First::Guard"}), "# ::First::Guard\n"
                                                                  "::First::Guard.AI->AI_SetTarget(player);\n"
                                                                  "player->Look(::First::Guard);\n");
    EXPECT_EQ(exported("script", {"--select", "::Clock"}), "# ::Clock\nPrint(\"<knock> & wait\");\n");
}

TEST_F(MachineCommands, ShowsMachines) {
    EXPECT_EQ(run({"fsm", "a.cairn", "::Second::Gate"}).output,
              "::Second::Gate (Trigger)\n"
              "  state closed (default)\n"
              "  state open\n"
              "  on FSM_Switch(closed)\n"
              "  on FSM_Switch(open)\n"
              "  on T_Activate\n"
              "    before\n"
              "      activator->AI_Stop();\n"
              "      REM(nobody reads this);\n"
              "    in state closed\n"
              "      ::First->EnableExit(1, ToSecond);\n"
              "    in state open\n"
              "      ::First->EnableExit(0, nowhere);\n"
              "    after\n"
              "      ::First::Guard->AI_SetTargetGroups(guards, wolves);\n"
              "      ::First::Guard->FSM_Switch(alert);\n");
    const Json machines = json({"fsm", "a.cairn", "--json"})["machines"];
    EXPECT_EQ(machines.size(), json({"info", "a.cairn", "--json"})["fsms"]);
    const Json clock = json({"fsm", "a.cairn", "::clock", "--json"});
    EXPECT_EQ(clock.dump(),
              R"script({"machines":[{"entity":"::Clock","default":null,"states":[],"events":[],)script"
              R"script("timers":[],"handlers":[{"name":"OnUse","before":["Print(\"<knock> & wait\");"],)script"
              R"script("after":[],"states":{}},{"name":"Startup","before":[],"after":[],"states":{}}]}]})script");
    const Json gate = json({"fsm", "a.cairn", "::Second::Gate", "--json"})["machines"][0];
    EXPECT_EQ(gate["default"], "closed");
    EXPECT_EQ(
        gate["handlers"].back()["states"].dump(),
        R"script({"closed":["::First->EnableExit(1, ToSecond);"],"open":["::First->EnableExit(0, nowhere);"]})script");
}

TEST_F(MachineCommands, DrawsMachines) {
    find("::Second::Gate")->accessFSM()->addState("a\"\\\xff");
    save();
    const std::string graph = run({"fsm", "a.cairn", "--dot"}).output;
    const Json tree = json({"tree", "a.cairn", "--json"});
    const auto nodeOf = [&](std::size_t top, std::size_t child) {
        return "e" + tree["children"][top]["children"][child]["number"].dump();
    };
    const std::string guard = nodeOf(1, 1), gate = nodeOf(2, 1), room = "e" + tree["children"][1]["number"].dump();
    for (const std::string& text : {
             "  subgraph cluster_" + gate + " {\n    label=\"::Second::Gate\";\n    " + gate +
                 " [label=\"Trigger\" shape=box];\n    " + gate + "_0 [label=\"a\\\"\\\\\xEF\xBF\xBD\"];\n    " + gate +
                 "_1 [label=\"closed\" peripheries=2];\n    " + gate + "_2 [label=\"open\"];\n  }\n",
             "  " + room + " [label=\"::First\" shape=box];\n",
             "  " + guard + " -> " + gate + "_2 [label=\"OnDeath: FSM_Switch(open);\"];\n",
             "  " + gate + " -> \"to activator\" [label=\"T_Activate: AI_Stop();\"];\n",
             "  " + gate + "_1 -> " + room + " [label=\"T_Activate: EnableExit(1, ToSecond);\"];\n",
             std::string(" -> game [label=\"OnUse: Print(\\\"<knock> & wait\\\");\"];\n"),
         })
        EXPECT_THAT(graph, HasSubstr(text));
    EXPECT_THAT(run({"fsm", "a.cairn", "--dot", "::Clock"}).output, testing::Not(HasSubstr("Gate")));
}

TEST_F(MachineCommands, ShowsWhoRefersToAnEntity) {
    EXPECT_EQ(run({"refs", "a.cairn", "::Second::Gate"}).output,
              "::First::Guard, FSM_Switch(alert), after 0: this->AI_AddPatrolCommand( WALK, ::Second::Gate );\n"
              "::First::Guard, OnDeath, before 1: parent::parent::Second::Gate->FSM_Switch(open);\n");
    EXPECT_EQ(run({"refs", "a.cairn", "::First", "--json"}).output,
              "{\"refs\":[{\"entity\":\"::Second::Gate\",\"handler\":\"T_Activate\",\"list\":\"state:closed\","
              "\"index\":0,\"text\":\"::First->EnableExit(1, ToSecond);\"},"
              "{\"entity\":\"::Second::Gate\",\"handler\":\"T_Activate\",\"list\":\"state:open\",\"index\":0,"
              "\"text\":\"::First->EnableExit(0, nowhere);\"}]}\n");
    EXPECT_EQ(run({"refs", "a.cairn", "::First::ToSecond"}).output,
              "::Second::Gate, T_Activate, state:closed 0: ::First->EnableExit(1, ToSecond);\n")
        << "a message that names the exit";
    const ProgramRun none = run({"refs", "a.cairn", "::Clock"});
    EXPECT_EQ(none.code, 0);
    EXPECT_EQ(none.output, "");
}

TEST_F(MachineCommands, CheckHoldsWhatMachinesSayAgainstTheCatalogue) {
    const struct {
        const char *line, *code; ///< what is added, and what `check` says of it beside what it says of the level
    } cases[] = {
        {"fsm-send ::Clock OnUse before \"::First::Guard->AI_SetTarget(player);\"", ""},
        {"fsm-send ::Clock OnUse before \"::First::Guard->AI_Frob();\"", "fsm-unknown-message"},
        {"fsm-send ::Clock OnUse before \"::First::Guard->AI_SetTarget();\"", "fsm-argument-count"},
        {"fsm-send ::Clock OnUse before \"::Clock->AI_SetTarget(player);\"", "fsm-receiver"},
        {"fsm-send ::Clock OnUse before \"::First->EnableExit(1, Nowhere);\"", "fsm-bad-exit"},
        {"fsm-send ::Clock OnUse before \"activator->EnableExit(1, Nowhere);\"", ""},
        {"fsm-state ::Clock a\nfsm-state ::Clock b", "fsm-unreached-state"},
        {"fsm-state ::Clock a\nfsm-state ::Clock b\nfsm-send ::Clock OnUse before \"activator->FSM_Switch(b);\"", ""},
    };
    const auto codesOf = [&](const std::string& file) {
        std::multiset<std::string> codes;
        const Json report = Json::parse(run({"check", "--json", file}).output);
        for (const Json& problem : report["files"][0]["problems"])
            codes.insert(problem["code"].get<std::string>());
        return codes;
    };
    const std::multiset<std::string> before = codesOf("a.cairn");
    for (const auto& each : cases) {
        write("a.edit", each.line);
        ASSERT_EQ(run({"edit", "a.cairn", "-o", "b.cairn", "--script", "a.edit"}).code, 0) << each.line;
        std::multiset<std::string> expected = before;
        if (*each.code)
            expected.insert(each.code);
        EXPECT_EQ(codesOf("b.cairn"), expected) << each.line;
        ASSERT_EQ(run({"save", "b.cairn", "-o", "c.cairn"}).code, 0);
        EXPECT_EQ(read("c.cairn"), read("b.cairn")) << "what an edit saves a save leaves as it is";
    }

    E_FSM& clock = *find("::Clock")->accessFSM();
    clock.addTimer("fuse", false, 1);
    clock.addState("a");
    clock.setDefaultState("gone");
    save();
    std::multiset<std::string> expected = before;
    expected.insert({"fsm-unstarted-timer", "fsm-default-state", "fsm-unreached-state"});
    EXPECT_EQ(codesOf("a.cairn"), expected);
}
