#include "cairn/document/document.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/walkers.h"
#include "cairn/platform/handlers.h"
#include "tests/support/level_bytes.h"
#include "tests/support/machine_text.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

using namespace cairn;

namespace {

class Walkers : public testing::Test {
  protected:
    Walkers() {
        document.createCairnLevelEntities();
        root = document.accessLevel();
        speaker = add<CN_LevelEntityFSM>(*root, "Speaker");
        target = add<CN_LevelEntityFSM>(*root, "Target");
        CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, &document, nullptr);
        setMessageBoxHandler([](const CString& text, unsigned) { s_boxes.push_back(std::string(text.view())); });
        s_boxes.clear();
    }
    template <class Kind> Kind* add(CN_LevelEntity& parent, const char* name) {
        auto made = std::make_unique<Kind>();
        Kind* const entity = made.get();
        made->setDocument(&document);
        made->setName(name, false);
        parent.addOwned(std::move(made), false);
        return entity;
    }
    /// Adds a message of the speaker to the target.
    E_FSM::Message& say(const char* name, std::vector<istring> arguments, const char* handler = "Startup") {
        E_FSM::Message message;
        message.m_name = name;
        message.m_target = target;
        message.m_objectArguments.resize(arguments.size());
        message.m_arguments = std::move(arguments);
        message.updateTargetName(speaker->accessFSM());
        E_FSM::MessageList& list = speaker->accessFSM()->createMessageHandler(handler).m_sendAfter;
        return list.emplace_back(std::move(message));
    }
    std::string lines() {
        std::string all;
        speaker->getFSM()->forEachMessage([&](const E_FSM::Message& m) {
            all.append(view(m.m_text));
            for (const istring& argument : m.m_arguments)
                all.append(" ").append(view(argument));
            all.append("\n");
        });
        return all;
    }
    template <class Walker> void run(Walker walker) { root->forEachEntity(&walker); }
    template <class Walker> bool found(Walker walker) {
        root->forEachEntity(&walker);
        return walker.m_found;
    }

    test::ProcessStateGuard process;
    CN_Document document;
    CN_LevelEntity* root;
    CN_LevelEntityFSM *speaker, *target;
    static std::vector<std::string> s_boxes;
};

std::vector<std::string> Walkers::s_boxes;

} // namespace

TEST_F(Walkers, RenamesFollowInMessagesToTheEntity) {
    const istring from = "OPEN", to = "shut";
    const auto expect = [&](auto walker, const char* name, std::vector<istring> arguments, const char* after) {
        speaker->accessFSM()->deleteMessageHandler("Startup");
        say(name, std::move(arguments));
        run(std::move(walker));
        EXPECT_EQ(lines(), after) << name;
    };
    const char* const kept = "parent::Target->Go(open); open\n";
    expect(ForEach_FSMRenameStates(target, from, to), "FSM_Switch", {"open"},
           "parent::Target->FSM_Switch(shut); shut\n");
    expect(ForEach_FSMRenameStates(target, from, to), "FSM_Switch", {"open2"},
           "parent::Target->FSM_Switch(open2); open2\n");
    expect(ForEach_FSMRenameStates(target, from, to), "FSM_Switch", {}, "parent::Target->FSM_Switch();\n");
    expect(ForEach_FSMRenameStates(target, from, to), "Go", {"open"}, kept);
    expect(ForEach_FSMRenameStates(root, from, to), "FSM_Switch", {"open"}, "parent::Target->FSM_Switch(open); open\n");
    for (const char* const name : {"FSM_StartTimer", "FSM_PauseTimer", "FSM_ResumeTimer"})
        expect(ForEach_FSMRenameTimer(target, from, to), name, {"open"},
               (std::string("parent::Target->") + name + "(shut); shut\n").c_str());
    expect(ForEach_FSMRenameAnimations(target, from, to), "DO_Animate", {"open", "1"},
           "parent::Target->DO_Animate(shut, 1); shut 1\n");
    expect(ForEach_FSMRenameCustomSends(target, from, to), "FSM_Send", {"open", "1"},
           "parent::Target->FSM_Send(shut); shut 1\n");
    expect(ForEach_FSMRenameCustomSends(target, from, to), "AI_PushCommand", {"fsmsend", "1", "open", "x"},
           "parent::Target->AI_PushCommand(fsmsend,1,shut); fsmsend 1 shut x\n");
    expect(ForEach_FSMRenameCustomSends(target, from, to), "AI_PushCommand", {"WAIT", "1", "open"},
           "parent::Target->AI_PushCommand(WAIT, 1, open); WAIT 1 open\n");
    expect(ForEach_FSMRenameExits(target, from, to), "EnableExit", {"1", "open"},
           "parent::Target->EnableExit(1, open); 1 shut\n"); // the line follows with the next update
    expect(ForEach_FSMRenameExits(target, from, to), "EnableExit", {"open"},
           "parent::Target->EnableExit(open); open\n");
    expect(ForEach_FSMRenameMessage("go", "Run", nullptr), "Go", {"open"}, kept);
    EXPECT_EQ(speaker->getFSM()->getMessageHandler("Startup")->m_sendAfter[0].m_name, "Run");

    target->accessFSM()->addState("open");
    target->accessFSM()->addTimer("open", false, 1);
    run(ForEach_FSMRenameStates(target, from, to));
    run(ForEach_FSMRenameTimer(target, from, to));
    EXPECT_TRUE(target->getFSM()->hasState(to));
    EXPECT_TRUE(target->getFSM()->hasTimer(to));
}

TEST_F(Walkers, DeletionsLeaveTheOthersInOrder) {
    const auto expect = [&](auto walker, const char* after) {
        E_FSM& machine = *speaker->accessFSM();
        machine.deleteMessageHandler("Startup");
        say("DO_Animate", {"open"});
        say("FSM_Send", {"open"});
        say("EnableExit", {"1", "open"});
        say("EnableExitAIActivation", {"1"});
        say("Go", {}).m_text = "# DO_Animate(open)";
        say("Go", {"::"}).m_objectArguments[0] = root;
        run(std::move(walker));
        std::string left;
        machine.forEachMessage([&](const E_FSM::Message& m) { left.append(view(m.m_text).substr(0, 20)).append("|"); });
        std::string names;
        machine.forEachMessage([&](const E_FSM::Message& m) { names.append(view(m.m_name)).append(" "); });
        EXPECT_EQ(names, after);
    };
    expect(ForEach_FSMDeleteAnimationSends(target, "OPEN"), "FSM_Send EnableExit EnableExitAIActivation Go Go ");
    expect(ForEach_FSMDeleteCustomSends(target, "OPEN"), "DO_Animate EnableExit EnableExitAIActivation Go Go ");
    expect(ForEach_FSMDeleteExitSends(target, "OPEN"), "DO_Animate FSM_Send EnableExitAIActivation Go Go ");
    expect(ForEach_FSMDeleteExitSends(target, ""), "DO_Animate FSM_Send Go Go ");
    expect(ForEach_FSMDeleteExitSends(root, ""), "DO_Animate FSM_Send EnableExit EnableExitAIActivation Go Go ");
    expect(ForEach_FSMDeleteObject(root), "DO_Animate FSM_Send EnableExit EnableExitAIActivation Go ");
    expect(ForEach_FSMDeleteObject(target), "Go "); // the comment
}

TEST_F(Walkers, QueriesFindWhatTheyAreFor) {
    auto* const place = add<CN_LevelEntityWaypoint>(*target, "Place");
    EXPECT_FALSE(found(ForEach_FSMObjectReferenced(target)));
    say("FSM_Switch", {"a"});
    say("FSM_Send", {"a"});
    say("FSM_PauseTimer", {"a"});
    say("DO_Animate", {"a"});
    EXPECT_TRUE(found(ForEach_FSMStateReferred(target, "A")));
    EXPECT_TRUE(found(ForEach_FSMCustomReferred(target, "A")));
    EXPECT_TRUE(found(ForEach_FSMTimerReferred(target, "A")));
    EXPECT_TRUE(found(ForEach_FSMAnimationReferred(target, "A")));
    EXPECT_FALSE(found(ForEach_FSMStateReferred(target, "b")));
    EXPECT_FALSE(found(ForEach_FSMAnimationReferred(speaker, "a")));
    EXPECT_TRUE(found(ForEach_FSMObjectReferenced(target)));
    EXPECT_TRUE(found(ForEach_FSMNonlocalNameReference(target)));
    EXPECT_FALSE(found(ForEach_FSMObjectReferenced(place)));
    say("Go", {"x"}).m_objectArguments[0] = place;
    EXPECT_TRUE(found(ForEach_FSMObjectReferenced(place)));
    std::set<CN_LevelEntity*> waypoints;
    ForEach_FSMReferencesWaypoint gather(waypoints);
    root->forEachEntity(&gather);
    EXPECT_EQ(waypoints, std::set<CN_LevelEntity*>{place});

    const auto isLocal = [this](const CN_LevelEntity* entity) {
        ForEach_FSMIsLocal local(entity);
        speaker->forEachEntity(&local);
        return local.m_local;
    };
    EXPECT_FALSE(isLocal(speaker)); // "parent::Target" leaves its subtree
    EXPECT_TRUE(isLocal(root));
    for (E_FSM::Message& m : speaker->accessFSM()->accessMessageHandler("Startup")->m_sendAfter)
        m.m_text = "::Target->x();";
    EXPECT_TRUE(isLocal(speaker));

    speaker->accessFSM()->deleteMessageHandler("Startup");
    say("Go", {}).m_text = "nothing->Go();";
    EXPECT_FALSE(found(ForEach_FSMNonlocalNameReference(target)));
    EXPECT_EQ(s_boxes, std::vector<std::string>{"Couldn't find valid target reference from message 'nothing->Go();'!"});
}

TEST_F(Walkers, LinesFollowRenamesMovesAndArguments) {
    auto* const place = add<CN_LevelEntityWaypoint>(*target, "Place");
    E_FSM::Message& near = say("Go", {"x", "b c", "\"d e\""});
    near.m_objectArguments[0] = place;
    E_FSM::Message far = near;
    far.m_text = "::Target->Go();";
    speaker->accessFSM()->createMessageHandler("Far").m_sendBefore = {far};
    CN_FSMChangeManager& manager = *CN_FSMChangeManager::instance();
    target->setName("Aim", false);
    manager.documentUpdatedNotification(nullptr);
    const std::string arguments = "->Go( ::Aim::Place, \"b c\", \"d e\" ); ::Aim::Place b c \"d e\"\n";
    EXPECT_EQ(lines(), "::Aim" + arguments + "parent::Aim" + arguments);

    speaker->add(target, true);
    manager.documentUpdatedNotification(nullptr);
    const std::string moved = "->Go( ::Speaker::Aim::Place, \"b c\", \"d e\" ); ::Speaker::Aim::Place b c \"d e\"\n";
    EXPECT_EQ(lines(), "::Speaker::Aim" + moved + "Aim" + moved);

    speaker->accessFSM()->accessMessageHandler("Far")->m_sendBefore[0].m_text = "edited";
    manager.documentUpdatedNotification(nullptr); // nothing was raised
    EXPECT_EQ(speaker->getFSM()->getMessageHandler("Far")->m_sendBefore[0].m_text, "edited");
}

TEST_F(Walkers, BindingGoesByIdentityThenByNames) {
    CN_FSMChangeManager& manager = *CN_FSMChangeManager::instance();
    E_FSM::Message& message = say("Go", {"::Target", "::Target", "::Target", "none"});
    const E_FSM::Message unbound = [&] {
        E_FSM::Message m = message;
        m.m_target = nullptr;
        m.m_targetId = 5;
        m.m_objectArgumentIds = {5, 6, 0, 6};
        return m;
    }();
    message = unbound;
    CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap = {{5, root}};
    manager.deserializeFSMs(root, false);
    EXPECT_EQ(message.m_target, root);
    EXPECT_EQ(message.m_objectArguments, (std::vector<CN_LevelEntity*>{root, target, nullptr, nullptr}));
    EXPECT_EQ(message.m_targetId, 0u);
    manager.deserializeFSMs(speaker, false); // what is bound stays
    EXPECT_EQ(message.m_target, root);

    CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
    message = unbound;
    message.m_text = "parent->Go();";
    manager.startPrefabDeSerialisation();
    CN_PreIterator walk = root->createIterator();
    manager.deserializeFSMs(walk, false);
    manager.stopPrefabDeSerialisation();
    EXPECT_EQ(message.m_target, root); // by the line and not by the stored name
    message = unbound;
    document.accessSelection()->add(speaker);
    manager.deserializeFSMs(document.accessSelection(), false);
    EXPECT_EQ(message.m_target, target);
    manager.deserializeFSMs(document.accessSelection(), true);
    EXPECT_EQ(message.m_target, nullptr);
    EXPECT_EQ(message.m_objectArguments, std::vector<CN_LevelEntity*>(4));

    // A line without target and name keeps its text.
    message = {};
    message.m_text = "Print(x)";
    manager.deserializeFSMs(root, false);
    EXPECT_EQ(message.m_target, nullptr);
    EXPECT_EQ(message.m_text, "Print(x)");

    message.m_text = "nobody->Go();";
    run(ForEach_FSMUpdateTargetPointers());
    EXPECT_EQ(s_boxes, std::vector<std::string>{"Invalid FSM message target 'nobody'!"});
}

TEST_F(Walkers, ASavedLevelIsTheSameGraph) {
    auto* const prefab = add<CN_LevelEntityPrefab>(*root, "Prefab");
    say("Go", {"::Prefab", "1"}).m_objectArguments[0] = prefab;
    say("Go", {}).m_text = "# Target->Go();";
    CN_FSMChangeManager::instance()->deserializeFSMs(root, false);
    const test::Bytes saved = test::saveLevel(document);
    CN_Document loaded;
    test::loadLevel(loaded, saved);
    const CN_LevelEntity* const again = loaded.getLevel()->mapNameToObject("Speaker", nullptr);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(test::textOf(*again->getFSM()), test::textOf(*speaker->getFSM()));
    EXPECT_EQ(test::saveLevel(loaded), saved);
    std::set<const CN_LevelEntity*> prefabs;
    FSMPred_PrefabReferenced gather(prefabs);
    again->getFSM()->forEachMessage(gather);
    ASSERT_EQ(prefabs.size(), 1u);
    EXPECT_EQ((*prefabs.begin())->getQualifiedName(), "::Prefab");
}
