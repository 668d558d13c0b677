#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/walkers.h"
#include "tests/fsm/message_level.h"
#include "tests/support/machine_text.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn::test {
namespace {

using Arguments = std::vector<istring>;

struct Walkers : testing::Test, MessageLevel {
    ProcessStateGuard guard;

    template <class Walker> void run(Walker&& walker) { root.forEachEntity(&walker); }

    /// The message, sent from the yard to the door, after the door's "old" became "new": its arguments and its line.
    template <class Walker> std::string renamed(const char* name, Arguments arguments, const char* text) {
        messagesOf(yard) = {makeMessage(text, door, name, std::move(arguments))};
        run(Walker(door, "old", "new"));
        const E_FSM::Message& message = messagesOf(yard).front();
        return toString(message.joinArguments(",") + "|" + message.m_text).c_str();
    }

    /// The lines of the yard's messages.
    std::string linesLeft() {
        std::string lines;
        for (const E_FSM::Message& message : messagesOf(yard))
            lines.append(view(message.m_text)).append(" ");
        return lines;
    }
};

TEST_F(Walkers, MessagesFollowRenames) {
    const auto state = &Walkers::renamed<ForEach_FSMRenameStates>;
    const auto timer = &Walkers::renamed<ForEach_FSMRenameTimer>;
    const auto animation = &Walkers::renamed<ForEach_FSMRenameAnimations>;
    const auto event = &Walkers::renamed<ForEach_FSMRenameCustomSends>;
    const auto exit = &Walkers::renamed<ForEach_FSMRenameExits>;
    struct Case {
        decltype(state) walker;
        const char* name;
        Arguments arguments;
        const char *text, *renamed;
    };
    const std::vector<Case> cases = {
        {state, "fsm_switch", {"OLD", "old"}, "old->FSM_Switch(OLD, old);", "new,old|old->FSM_Switch(new, old);"},
        {state, "FSM_Switch", {"old"}, "x->x(folder, old);", "new|x->x(fnewer, old);"}, // the first find, in any word
        {state, "FSM_Switch", {"old"}, "old->x", "new|old->x"},                         // no argument to be seen
        {state, "FSM_Switch", {"x", "old"}, "x->x(x, old);", "x,old|x->x(x, old);"},
        {state, "FSM_Send", {"old"}, "x->x(old);", "old|x->x(old);"},
        {state, "FSM_Switch", {}, "x->x(old);", "|x->x(old);"},
        {state, "FSM_Switch", {"old"}, " #x->x(old);", "old| #x->x(old);"},
        {timer, "FSM_StartTimer", {"old"}, "x->x( old );", "new|x->x( new );"},
        {timer, "FSM_PauseTimer", {"old"}, "x->x(old);", "new|x->x(new);"},
        {timer, "FSM_ResumeTimer", {"old"}, "x->x(old);", "new|x->x(new);"},
        {timer, "FSM_StopTimer", {"old"}, "x->x(old);", "old|x->x(old);"},
        {animation, "DO_Animate", {"old", "1"}, "x->x(old, 1);", "new,1|x->x(new, 1);"},
        {event, "FSM_Send", {"old"}, "old->x( \"old\" )", "new|old->x(new);"}, // built anew
        {event, "FSM_Send", {"x"}, "x->x( x );", "x|x->x( x );"},
        {event,
         "AI_AddCommand",
         {"fsmsend", "2", "Old"},
         "x->x(fsmsend, 2, Old);",
         "fsmsend,2,new|x->x(fsmsend,2,new);"},
        {event, "AI_PushCommand", {"FSMSEND", "2", "old"}, "x->x();", "FSMSEND,2,new|x->x(FSMSEND,2,new);"},
        {event, "AI_AddCommand", {"GOTO", "2", "old"}, "x->x(old);", "GOTO,2,old|x->x(old);"},
        {event, "AI_AddCommand", {"FSMSEND", "old"}, "x->x(old);", "FSMSEND,old|x->x(old);"},
        {exit, "EnableExit", {"1", "old"}, "x->x(1, old);", "1,new|x->x(1, old);"}, // the line stays
        {exit, "EnableExitAIActivation", {"1", "old"}, "x->x(1, old);", "1,new|x->x(1, old);"},
        {exit, "EnableExit", {"old"}, "x->x(old);", "old|x->x(old);"},
    };
    for (const Case& c : cases)
        EXPECT_EQ((this->*c.walker)(c.name, c.arguments, c.text), c.renamed) << c.name;
    messagesOf(yard) = {makeMessage("x->x(old);", hall, "FSM_Switch", {"old"})};
    run(ForEach_FSMRenameStates(door, "old", "new"));
    EXPECT_EQ(linesLeft(), "x->x(old); ") << "another entity's state";
}

TEST_F(Walkers, MessagesGetAnotherName) {
    messagesOf(yard) = {makeMessage("1", nullptr, "Say", {"a"}), makeMessage("2", door, "SAY"),
                        makeMessage("#3", door, "Say", {"a"}), makeMessage("4", nullptr, "Go", {"a"})};
    int asked = 0;
    run(ForEach_FSMRenameMessage("say", "Tell", [&](E_FSM::Message& message) {
        ++asked;
        return !message.m_arguments.empty();
    }));
    const auto names = [this] {
        std::string text;
        for (const E_FSM::Message& message : messagesOf(yard))
            text.append(view(message.m_name)).append(" ");
        return text;
    };
    EXPECT_EQ(names(), "Tell SAY Say Go ");
    EXPECT_EQ(asked, 2);
    run(ForEach_FSMRenameMessage("say", "Tell", nullptr));
    EXPECT_EQ(names(), "Tell Tell Say Go ");
    EXPECT_EQ(linesLeft(), "1 2 #3 4 ");
}

TEST_F(Walkers, DeletionsTakeNoNameForAllAndNoEntityForNone) {
    const auto leftBy = [this](CN_ForEach&& walker) {
        messagesOf(yard) = {makeMessage("a", nullptr, "EnableExit", {"1", "Exit"}),
                            makeMessage("b", door, "EnableExit", {"1", "exit"}),
                            makeMessage("c", door, "EnableExitAIActivation", {"1", "Back"}),
                            makeMessage("d", door, "EnableExit", {"1"})};
        root.forEachEntity(&walker);
        return linesLeft();
    };
    EXPECT_EQ(leftBy(ForEach_FSMDeleteExitSends(door, "EXIT")), "a c d ");
    EXPECT_EQ(leftBy(ForEach_FSMDeleteExitSends(door, "")), "a ");
    EXPECT_EQ(leftBy(ForEach_FSMDeleteObject(nullptr)), "a b c d ");
}

TEST_F(Walkers, QueriesFindWhatMessagesName) {
    messagesOf(yard) = {
        makeMessage("#", door, "FSM_Switch", {"comment"}),
        makeMessage("a", door, "FSM_Switch", {"s"}),
        makeMessage("b", door, "FSM_Send", {"e"}),
        makeMessage("c", door, "FSM_ResumeTimer", {"t"}),
        makeMessage("d", door, "DO_Animate", {"a", "forward"}),
        makeMessage("e", hall, "Say", {"::Hall::Door::Knob"}),
    };
    messagesOf(yard).back().m_objectArguments = {knob};
    const auto finds = [this](auto&& walker) {
        run(walker);
        return walker.m_found;
    };
    for (const CN_LevelEntity* const entity : {door, hall}) {
        EXPECT_EQ(finds(ForEach_FSMStateReferred(entity, "S")), entity == door);
        EXPECT_EQ(finds(ForEach_FSMCustomReferred(entity, "E")), entity == door);
        EXPECT_EQ(finds(ForEach_FSMTimerReferred(entity, "T")), entity == door);
        EXPECT_EQ(finds(ForEach_FSMAnimationReferred(entity, "A")), entity == door);
    }
    EXPECT_FALSE(finds(ForEach_FSMStateReferred(door, "comment")));
    EXPECT_FALSE(finds(ForEach_FSMCustomReferred(door, "s")));
    EXPECT_TRUE(finds(ForEach_FSMObjectReferenced(knob)));
    EXPECT_TRUE(finds(ForEach_FSMObjectReferenced(hall)));
    EXPECT_FALSE(finds(ForEach_FSMObjectReferenced(doorway)));
    FSMPred_SendsTo sends(door, "fsm_send", {"E"}), tooMany(door, "FSM_Send", {"e", "e"});
    yard->getFSM()->forEachMessage([&](const E_FSM::Message& message) {
        sends(message);
        tooMany(message);
    });
    EXPECT_TRUE(sends.m_found);
    EXPECT_FALSE(tooMany.m_found);

    CN_LevelEntity* const waypoint = addChild(*hall, CN_KIND_WAYPOINT, "W");
    messagesOf(yard)[0].m_objectArguments = {addChild(*hall, CN_KIND_WAYPOINT, "OfComment")};
    messagesOf(yard)[1].m_objectArguments = {knob, nullptr, waypoint};
    std::set<CN_LevelEntity*> waypoints;
    run(ForEach_FSMReferencesWaypoint(waypoints));
    EXPECT_EQ(waypoints, std::set<CN_LevelEntity*>{waypoint});
}

TEST_F(Walkers, TellNamesFromPlacesInLines) {
    const auto named = [this](CN_LevelEntity* owner, CN_LevelEntity* target, const char* text) {
        messagesOf(owner) = {makeMessage(text, target)};
        ForEach_FSMNonlocalNameReference walker(target);
        run(walker);
        messagesOf(owner).clear();
        return walker.m_found;
    };
    EXPECT_FALSE(named(door, door, "THIS->Say();"));
    EXPECT_FALSE(named(door, hall, "parent->Say();"));
    EXPECT_TRUE(named(hall, door, "Door->Say();"));
    EXPECT_TRUE(named(door, door, "::Hall::Door->Say();"));
    EXPECT_FALSE(named(door, knob, "#Knob->Say();"));
    EXPECT_TRUE(guard.boxes().empty());
    EXPECT_FALSE(named(door, yard, "Lawn->Say();"));
    ASSERT_EQ(guard.boxes().size(), 1u);
    EXPECT_EQ(guard.boxes()[0].text, "Couldn't find valid target reference from message 'Lawn->Say();'!");
}

TEST_F(Walkers, LocalIsWhatStaysInTheSubtree) {
    const auto local = [this](E_FSM::Message message) {
        messagesOf(door) = {std::move(message)};
        ForEach_FSMIsLocal walker(hall);
        run(walker);
        return walker.m_local;
    };
    EXPECT_TRUE(local(makeMessage("parent->Say();", hall)));
    EXPECT_TRUE(local(makeMessage("Knob->Say();", knob)));
    EXPECT_FALSE(local(makeMessage("parent::parent::Yard->Say();", yard)));
    EXPECT_TRUE(local(makeMessage("::Yard->Say();", yard)));
    EXPECT_TRUE(local(makeMessage("# Yard", yard)));
    EXPECT_FALSE(local(makeMessage("gone->Say();", nullptr)));
    E_FSM::Message global = makeMessage("Print();", nullptr);
    global.m_global = true;
    EXPECT_TRUE(local(global));
}

TEST_F(Walkers, FindsTargetsByTheLines) {
    messagesOf(door) = {makeMessage("parent::Doorway->Say();", yard), makeMessage("gone->Say();", yard),
                        makeMessage("#gone", yard),
                        makeMessage("Print(\"::Yard\");", yard, "Print", {"\"::Yard\"", "a"})};
    messagesOf(door)[1].m_targetName = "kept";
    messagesOf(door)[3].m_global = true;
    run(ForEach_FSMUpdateTargetPointers());
    const E_FSM::MessageList& messages = messagesOf(door);
    EXPECT_EQ(messages[0].m_target, doorway);
    EXPECT_EQ(messages[0].m_targetPath, "parent::Doorway");
    EXPECT_EQ(messages[0].m_targetName, "::Hall::Doorway");
    EXPECT_EQ(messages[1].m_target, nullptr);
    EXPECT_EQ(messages[1].m_targetPath, "gone");
    EXPECT_EQ(messages[1].m_targetName, "kept");
    EXPECT_EQ(messages[2].m_target, yard);
    EXPECT_EQ(messages[3].m_target, yard);
    EXPECT_EQ(messages[3].m_objectArguments, (std::vector<CN_LevelEntity*>{yard, nullptr}));
    ASSERT_EQ(guard.boxes().size(), 1u);
    EXPECT_EQ(guard.boxes()[0].text, "Invalid FSM message target 'gone'!");
}

TEST_F(Walkers, OneWalkDoesWhatSeveralDoInARow) {
    constexpr unsigned LOADED = 7, LOST = 8;
    CN_LevelEntity* const odd = addChild(*hall, CN_KIND_FSM, "a->b (1)");
    const auto elsewhere = makeEntity(CN_KIND_FSM);
    E_FSM::MessageList all;
    for (CN_LevelEntity* const target : {odd, door, yard, player, &root, elsewhere.get(), hall})
        for (const char* const text : {"", "gone->Say();", "::x (1)->Say(b);", "Knob", " #x->Say();"})
            for (const char* const name : {"Say", "S(ay"})
                for (CN_LevelEntity* const object : {hall, odd}) {
                    const unsigned i = static_cast<unsigned>(all.size());
                    E_FSM::Message& message = all.emplace_back(makeMessage(text, target, name, {"x", "a b"}));
                    message.m_target = i % 5 ? target : nullptr;
                    message.m_targetId = i % 7 == 0 ? LOADED : i % 11 == 0 ? LOST : 0;
                    message.m_targetName = i % 3 ? "::Yard" : "";
                    message.m_objectArguments[1] = i % 4 ? object : nullptr;
                    message.m_objectArgumentIds = {0, i % 6 ? 0 : LOADED};
                    message.m_global = i % 13 == 0;
                }
    const auto after = [&](auto&&... walkers) {
        messagesOf(door) = all;
        (run(walkers), ...);
        std::string so;
        for (const E_FSM::Message& message : messagesOf(door))
            so.append(textOf(message)).append(view(message.m_targetPath)).append("\n");
        return so;
    };
    using Names = ForEach_FSMUpdateTargetNames;
    using ObjectNames = ForEach_FSMUpdateArgumentEntityReferences;
    auto& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
    loaded = {{LOADED, doorway}};
    EXPECT_EQ(after(ForEach_FSMUpdateLines()), after(Names(), ObjectNames()));
    EXPECT_EQ(after(ForEach_FSMBind()), after(ForEach_FSMDeserializeEntityReferences(false), Names(), ObjectNames()));
    loaded.clear();
}

} // namespace
} // namespace cairn::test
