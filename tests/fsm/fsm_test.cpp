#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/fsm/fsm.h"
#include "tests/support/machine_text.h"

#include <gtest/gtest.h>

using namespace cairn;
using test::textOf;

namespace {

E_FSM::Message line(const char* name, CN_LevelEntity* target, std::vector<istring> arguments, const char* text = "x") {
    E_FSM::Message message;
    message.m_text = text;
    message.m_name = name;
    message.m_target = target;
    message.m_objectArguments.resize(arguments.size());
    message.m_arguments = std::move(arguments);
    return message;
}

std::string handlersOf(const E_FSM& fsm) {
    std::string names;
    for (const auto& [name, handler] : fsm.getMessageHandlers())
        names.append(view(name)).append(std::to_string(handler.getNumMessageLines())).append(" ");
    return names;
}

/// A machine without entity.
struct Machine : E_FSM {
    Machine() : E_FSM(nullptr, true, true) {}
};

} // namespace

TEST(FSM, WalksOutliveWhatTheyStandAt) {
    Machine fsm;
    fsm.createMessageHandler("A");
    EXPECT_EQ(fsm.getCurrentMessageHandler(), nullptr);
    EXPECT_EQ(fsm.getNextMessageHandler(), nullptr); // the end stays the end
    fsm.getFirstMessageHandler();
    EXPECT_EQ(*fsm.getCurrentHandlerMessage(), "A");
    fsm.accessFirstMessageHandler();
    E_FSM copy = fsm;
    EXPECT_EQ(copy.getCurrentMessageHandler(), nullptr);
    EXPECT_EQ(copy.accessCurrentHandlerMessage(), nullptr);
    fsm.renameMessageHandler("a", "B");
    EXPECT_EQ(fsm.getCurrentHandlerMessage(), nullptr);
    EXPECT_EQ(fsm.accessNextMessageHandler(), nullptr);
    EXPECT_EQ(fsm.accessFirstMessageHandler(), fsm.accessMessageHandler("b"));
    fsm.deleteMessageHandler("b");
    EXPECT_EQ(fsm.accessCurrentHandlerMessage(), nullptr);
    EXPECT_EQ(handlersOf(copy), "A0 Startup0 ");
}

TEST(FSM, CommentsTakePartInNothing) {
    struct Case {
        const char* text;
        bool comment, relative;
    };
    for (const Case& c : {Case{"# a", true, true},
                          {" \t\n#", true, true},
                          {"", false, true},
                          {"  ", false, true},
                          {"::a->b();", false, false},
                          {"a # b", false, true}}) {
        E_FSM::Message message;
        message.m_text = c.text;
        EXPECT_EQ(message.isCommentMessage(), c.comment) << c.text;
        EXPECT_EQ(message.nameRelative(), c.relative) << c.text;
    }
    CN_LevelEntityFSM entity;
    E_FSM& fsm = *entity.accessFSM();
    EXPECT_TRUE(fsm.isEmpty());
    EXPECT_FALSE(fsm.hasMessages());
    E_FSM::MessageList& list = fsm.createMessageHandler("a").m_sendOnState["s"];
    list.push_back(line("FSM_Switch", &entity, {"s"}, " # x"));
    EXPECT_TRUE(fsm.isEmpty());
    EXPECT_TRUE(fsm.hasMessages());
    EXPECT_FALSE(fsm.referencesTo(&entity));
    EXPECT_FALSE(fsm.referencesToState(&entity, "s"));
    EXPECT_EQ(fsm.getHandlerForMessage(list.front()), nullptr);
    list.front().m_text = "x";
    EXPECT_FALSE(fsm.isEmpty());
    EXPECT_TRUE(fsm.referencesTo(&entity));
    EXPECT_TRUE(fsm.referencesToState(&entity, "S"));
    EXPECT_FALSE(fsm.sendsTo(&entity, "FSM_Switch", {"s", "t"}));
    EXPECT_EQ(*fsm.getHandlerForMessage(list.front()), "a");
    EXPECT_EQ(fsm.getHandlerForMessage(E_FSM::Message(list.front())), nullptr); // equal is not the same
    list.front() = line("FSM_ResumeTimer", &entity, {"t"});
    EXPECT_TRUE(fsm.referencesToTimer(&entity, "t"));
    EXPECT_FALSE(fsm.referencesToCustom(&entity, "t"));
}

TEST(FSM, IsReferencedByTargetsAndArgumentsOfAnyMachineOfTheLevel) {
    CN_Document document;
    document.createCairnLevelEntities();
    CN_LevelEntity& level = *document.accessLevel();
    auto* const entity = new CN_LevelEntityFSM;
    level.add(entity, false);
    const E_FSM& fsm = *entity->getFSM();
    EXPECT_FALSE(fsm.isReferenced(&document));
    EXPECT_FALSE(fsm.isReferenced(nullptr));
    E_FSM::MessageList& list = level.getChildren().front()->accessFSM()->createMessageHandler("a").m_sendAfter;
    list.push_back(line("x", nullptr, {"::FSM_00"}));
    EXPECT_FALSE(fsm.isReferenced(&document));
    list.front().m_objectArguments = {entity};
    EXPECT_TRUE(fsm.isReferenced(&document));
    list.clear();
    entity->accessFSM()->createMessageHandler("a").m_sendAfter.push_back(line("x", entity, {}));
    EXPECT_TRUE(fsm.isReferenced(&document)); // its own machine counts
}
