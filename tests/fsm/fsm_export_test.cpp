#include "cairn/document/level_file_library.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/exit_table.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace cairn;

namespace {

using EntitySet = std::set<const CN_LevelEntity*>;

/// Two rooms joined by an exit, a guard of the group "guards" in the first, and below the second a machine that speaks.
class FSMExport : public testing::Test {
  protected:
    FSMExport() {
        test::twoRooms(m_document);
        m_guard = new CN_LevelEntityEnemy;
        add(*m_guard, "::First", "Guard");
        m_document.accessAICharacterGroups()["guards"] = 0;
        m_guard->setGroup("guards");
        m_speaker = new CN_LevelEntityFSM;
        add(*m_speaker, "::Second", "Speaker");
        m_speaker->createFSM();
        CN_LevelFileLibrary::instance()->cacheTargetGroups(&m_document, false);
    }

    void add(CN_LevelEntity& entity, const char* parent, const char* name) {
        entity.setDocument(&m_document);
        entity.setName(name, false);
        find(parent)->add(&entity, false);
    }
    CN_LevelEntity* find(const istring& path) { return m_document.getLevel()->mapNameToObject(path, nullptr); }
    E_FSM& fsm() { return *m_speaker->accessFSM(); }
    E_FSM::MessageHandler& handler(const char* name) { return fsm().createMessageHandler(name); }

    /// The message of a line: "::PATH->NAME(A, B);" or "player->..." goes to an entity, every other line to the game.
    E_FSM::Message line(const istring& text) {
        E_FSM::Message message;
        message.m_text = text;
        const std::size_t arrow = text.find("->");
        const istring path = text.substr(0, arrow == istring::npos ? 0 : arrow);
        message.m_target = path == "player" ? m_document.accessPlayer() : path.starts_with("::") ? find(path) : nullptr;
        if (path.starts_with("::"))
            message.m_targetName = path;
        message.m_global = path.empty() || path == "activator";
        const istring call = text.substr(arrow == istring::npos ? 0 : arrow + 2);
        const std::size_t open = std::min(call.find('('), call.size()), close = std::min(call.rfind(')'), call.size());
        message.m_name = call.substr(0, open);
        for (std::size_t at = open + 1; at < close;) {
            const std::size_t end = std::min(call.find(", ", at), close);
            message.m_arguments.push_back(call.substr(at, end - at));
            at = end + 2;
        }
        fsm().pushObjectArguments(message);
        return message;
    }
    std::string xml(const istring& filter, const EntitySet* selection = nullptr) {
        std::ostringstream out;
        const bool written = fsm().dumpXML(out, filter, selection);
        EXPECT_EQ(written, !out.str().empty());
        return std::move(out).str();
    }
    std::string exported(const istring& text) {
        std::string out;
        line(text).exportTo(out);
        return out;
    }

    test::ShelfDocument m_document;
    CN_LevelEntityEnemy* m_guard = nullptr; ///< not owned
    CN_LevelEntityFSM* m_speaker = nullptr; ///< not owned
};

constexpr const char* HEAD = "<FSM name=\"::Second::Speaker\" parent_type=\"Floating FSM\">\n";
constexpr const char* KILL = "<message>\n<target>::First::Guard</target>\n<message_name>Kill</message_name>\n"
                             "<argument>a&b</argument>\n<argument><1></argument>\n<global>0</global>\n</message>\n";
constexpr const char* LOG = "<message>\n<target></target>\n<message_name>Log</message_name>\n"
                            "<argument>::First::Guard</argument>\n<global>1</global>\n</message>\n";
constexpr const char* GREET = "<message>\n<target>activator</target>\n<message_name>Greet</message_name>\n"
                              "<global>1</global>\n</message>\n";

} // namespace

TEST_F(FSMExport, XmlHoldsWhatFilterAndSelectionLetThrough) {
    const std::string empty = std::string(HEAD) + "<default_state></default_state>\n</FSM>\n";
    EXPECT_EQ(xml(""), empty) << "an empty handler that every machine has gives nothing";

    fsm().addState("open");
    fsm().addCustomEvent("knock");
    fsm().addTimer("Bell", true, 2);
    handler("OnStartTimer(Bell)").m_sendAfter = {line("Log(::First::Guard);")};
    handler("Startup").m_sendBefore = {line(" # a <note>"), line("::First::Guard->Kill(a&b, <1>);")};
    handler("Startup").m_sendOnState["open"] = {line("activator->Greet();")};
    handler("Startup").m_sendAfter = {line("::First->Open();")};

    const std::string startup = "<handler name=\"Startup\" sortkey=\"\">\n";
    const std::string open = "<message>\n<target>::First</target>\n<message_name>Open</message_name>\n"
                             "<global>0</global>\n</message>\n";
    const std::string greeting = std::string("<sendonstate state=\"open\">\n") + GREET + "</sendonstate>\n";
    const std::string timer = std::string("<handler name=\"OnStartTimer(Bell)\" sortkey=\"Bell\">\n<sendafter>\n") +
                              LOG + "</sendafter>\n</handler>\n";
    const std::string all =
        std::string(HEAD) +
        "<default_state>open</default_state>\n<state>open</state>\n<custom_string>knock</custom_string>\n"
        "<handler name=\"FSM_Send(knock)\" sortkey=\"\">\n</handler>\n"
        "<handler name=\"FSM_Switch(open)\" sortkey=\"\">\n</handler>\n"
        "<handler name=\"OnEndTimer(Bell)\" sortkey=\"Bell\">\n</handler>\n" +
        timer + startup + "<sendbefore>\n<comment> # a <note></comment>\n" + KILL + "</sendbefore>\n<sendafter>\n" +
        open + "</sendafter>\n" + greeting + "</handler>\n</FSM>\n";
    EXPECT_EQ(xml(""), all);
    EXPECT_EQ(xml("sPEAK"), all) << "the entity's name has it";

    const auto machine = [](const std::string& handlers) { return HEAD + handlers + "</FSM>\n"; };
    const auto killing = machine(startup + "<sendbefore>\n" + KILL + "</sendbefore>\n</handler>\n");
    EXPECT_EQ(xml("kill"), killing);
    EXPECT_EQ(xml("GREET"), machine(startup + greeting + "</handler>\n"));
    EXPECT_EQ(xml("start"), "") << "a handler's name counts from its parenthesis on";
    EXPECT_EQ(xml("(bell"), machine("<handler name=\"OnEndTimer(Bell)\" sortkey=\"Bell\">\n</handler>\n" + timer));
    EXPECT_EQ(xml("nothing"), "");

    const EntitySet none, guard{m_guard}, room{find("::First")};
    EXPECT_EQ(xml("", &none), "");
    EXPECT_EQ(xml("", &guard), machine(timer + startup + "<sendbefore>\n" + KILL + "</sendbefore>\n</handler>\n"));
    EXPECT_EQ(xml("kill", &guard), killing);
    EXPECT_EQ(xml("(bell", &guard), "") << "names of handlers and entities count for nothing with a selection";
    EXPECT_EQ(xml("speak", &guard), "");
    EXPECT_EQ(xml("", &room), machine(startup + "<sendafter>\n" + open + "</sendafter>\n</handler>\n"));
}

TEST_F(FSMExport, ScriptHoldsWhatGetsIntoTheGame) {
    find("::Second")->accessGeneralProperties().setExcludedFromGame(true);
    CN_Selection& selection = *m_document.accessSelection();
    for (const char* path : {"::First", "::First::ToSecond", "::Second::Speaker"})
        selection.add(find(path));
    const struct {
        const char* text;
        bool inLevel, inSelection;
    } CASES[] = {
        {"", false, false},
        {" \t", false, false},
        {" \t# note", false, false},
        {"Log();", true, true},
        {"REM(a);", false, false},
        {"rem();", false, false},
        {"Log(::First::Guard);", true, false},
        {"Log(::First, ::Nobody, a);", true, true},
        {"Log(::Second);", false, false},
        {"Log(::First::ToSecond);", true, false}, // leads into a room that is excluded, and not selected
        {"::First->Open();", true, true},
        {"::First::Guard->Kill();", true, false},
        {"::Second->Open();", false, false},
        {"::Second::Speaker->Go();", false, false},
        {"::Nobody->Go();", false, false},
        {"player->Die();", true, true},
        {"player->Look(::First);", true, true},
        {"player->Look(::First::Guard);", true, false},
        {"::First->AI_SetTarget(Nobody);", false, false},
        {"::First->AI_SetTarget();", false, false},
        {"::First->AI_SetTarget(::First);", true, true},
        {"::First->AI_SetTarget(Guards);", true, true},
        {"::First->AI_SetTarget(ENEMIES);", true, true},
        {"::First->AI_SetTarget(player);", true, true},
        {"::First->AI_SetTargetGroups(guards, guards);", true, true},
        {"::First->AI_SetTargetGroups(guards, x);", false, true},
        {"::First->AI_SetTargetGroups(x, guards);", false, true},
        {"::First->AI_SetTargetGroups(guards);", false, true},
        {"::First->AI_SetTargetGroups(x, y);", false, false},
        {"AI_SetTargetGroups(x, y);", false, false}, // to the game as well
    };
    for (const auto& each : CASES) {
        EXPECT_EQ(line(each.text).isToBeExported(false), each.inLevel) << each.text;
        EXPECT_EQ(line(each.text).isToBeExported(true), each.inSelection) << each.text;
    }

    // A portal needs both its rooms.
    find("::Second")->accessGeneralProperties().setExcludedFromGame(false);
    EXPECT_FALSE(line("Log(::First::ToSecond);").isToBeExported(true));
    selection.add(find("::Second"));
    EXPECT_TRUE(line("Log(::First::ToSecond);").isToBeExported(true));
    static_cast<CN_LevelEntityPortal*>(find("::First::ToSecond"))->setPortalPolygon(nullptr);
    EXPECT_FALSE(line("Log(::First::ToSecond);").isToBeExported(true));
}

TEST_F(FSMExport, WritesLinesOfTheScript) {
    const struct {
        const char *text, *line;
    } CASES[] = {
        {"Log( a,b ) ;", "Log( a,b ) ;"}, // a line to the game stays as it is
        {"::First::Guard->Kill();", "::First::Guard->Kill();"},
        {"::First::Guard->Kill(a, b);", "::First::Guard->Kill(a, b);"},
        {"::First::Guard->AI_Attack(a);", "::First::Guard.AI->AI_Attack(a);"},
        {"::First::Guard->ai_Attack(a);", "::First::Guard.AI->ai_Attack(a);"},
        {"player->Die(1);", "player->Die(1);"},
        {"::player->AI_Move(1);", "player.AI->AI_Move(1);"},
        {"ACTIVATOR->AI_Move(1);", "activator.AI->AI_Move(1);"},
        {"::First::Guard->AI_AddPatrolCommand(a, b);", "::First::Guard.AI->AI_AddCommand(PATROL, NOTHING, \"a&b\");"},
        {"::First::Guard->AI_PushPatrolCommand2(a);", "::First::Guard.AI->AI_PushCommand(PATROL, NOTHING, \"a\");"},
        {"::First->AI_SetTargetGroups(guards, GUARDS);", "::First.AI->AI_SetTargetGroups(guards, GUARDS);"},
        {"::First->AI_SetTargetGroups(guards, x);", "::First.AI->AI_SetTargetGroups(guards, guards);"},
        {"::First->AI_SetTargetGroups(x, guards);", "::First.AI->AI_SetTargetGroups(guards, guards);"},
        {"::First->AI_SetTargetGroups(x, y, z);", "::First.AI->AI_SetTargetGroups(x, y);"},
        {"::First->AI_SetTargetGroups(guards);", "::First.AI->AI_SetTargetGroups(guards, guards);"},
        {"::First->AI_SetTargetGroups(x);", ""},
        {"::First->AI_SetTargetGroups();", ""},
        {"::First->EnableExit(1, tosecond);", "Tarn_GameMode->GM_EnableExit( ::First::ToSecond, 1 );"},
        {"::First->EnableExitAIActivation(0, ToSecond);",
         "Tarn_GameMode->GM_EnableExitAIActivation( ::First::ToSecond, 0 );"},
        {"::First->EnableExit(1, ToFirst);", ""},
        {"::First->EnableExit(1);", ""},
        {"::First::Guard->EnableExit(1, ToSecond);", ""},
    };
    CN_ExitTable exits;
    for (const auto& each : CASES) {
        EXPECT_EQ(exported(each.text), each.line) << each.text;
        std::string out;
        line(each.text).exportTo(out, exits);
        EXPECT_EQ(out, each.line) << each.text << ", by a table";
    }

    // An exit whose portal has died goes by its number.
    auto* const room = static_cast<CN_LevelEntityMesh*>(find("::First"));
    CN_Polygon* const exit = room->findExit("ToSecond");
    exit->setAttachedEntity(nullptr);
    E_FSM::Message message = line("::First->EnableExit(1, x);");
    message.m_arguments[1] = "";
    std::string out = "before ";
    exit->setPolygonIndex(12);
    message.exportTo(out);
    EXPECT_EQ(out, "before Tarn_GameMode->GM_EnableExit( ::First::Exit::12, 1 );");
    exit->setPolygonIndex(0xFFFFFFFFu);
    message.exportTo(out = "");
    EXPECT_EQ(out, "Tarn_GameMode->GM_EnableExit( ::First::Exit::-1, 1 );");
}

TEST_F(FSMExport, MergesMessagesAsComments) {
    E_FSM other(m_guard, true, true);
    other.createMessageHandler("Startup").m_sendBefore = {line("Log(here);")};
    handler("Startup").m_sendBefore = {line("Log(a);"), line("# b")};
    handler("STARTUP").m_sendOnState["open"] = {line("::First->Open();")};
    handler("OnUse").m_sendAfter = {line("Log(c);")};
    fsm().mergeFsm(&fsm());
    fsm().mergeFsm(nullptr);
    EXPECT_EQ(handler("Startup").getNumMessageLines(), 3);
    fsm().mergeFsm(&other);
    std::string lines;
    other.forEachMessage([&](const E_FSM::Message& message) {
        lines.append(view(message.m_text)).append(message.isCommentMessage() ? "\n" : " live\n");
        EXPECT_TRUE(!message.isCommentMessage() || (message.m_name.empty() && !message.m_target));
    });
    EXPECT_EQ(lines, "# merged: Log(c);\nLog(here); live\n# merged: Log(a);\n# merged: # b\n"
                     "# merged: ::First->Open();\n");
    EXPECT_EQ(other.getMessageHandler("Startup")->m_sendOnState.at("Open").size(), 1u);
}

TEST_F(FSMExport, ObjectArgumentsAreNamedFromTheRoot) {
    E_FSM::Message message = line("Log(a);");
    message.m_arguments = {"::First", "\"::first::GUARD\"", "First", "\"::Nobody", "\"", "", "this"};
    fsm().pushObjectArguments(message);
    EXPECT_EQ(message.m_objectArguments,
              (std::vector<CN_LevelEntity*>{find("::First"), m_guard, nullptr, nullptr, nullptr, nullptr, nullptr}));
    message.m_text = "# Log";
    message.m_arguments.clear();
    fsm().pushObjectArguments(message);
    EXPECT_EQ(message.m_objectArguments.size(), 7u) << "a comment is left alone";
}
