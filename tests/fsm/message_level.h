#pragma once

#include "cairn/fsm/fsm.h"
#include "tests/entities/entity_tree.h"

#include <utility>
#include <vector>

namespace cairn::test {

/// root -> player, Hall -> (Door -> Knob, Doorway), Yard. All but the root have machines.
struct MessageLevel {
    LevelDocument document;
    CN_LevelEntity& root = document.root();
    CN_LevelEntity* player = root.hasChildNamed("player");
    CN_LevelEntity* hall = addChild(root, CN_KIND_FSM, "Hall");
    CN_LevelEntity* door = addChild(*hall, CN_KIND_FSM, "Door");
    CN_LevelEntity* doorway = addChild(*hall, CN_KIND_FSM, "Doorway");
    CN_LevelEntity* knob = addChild(*door, CN_KIND_FSM, "Knob");
    CN_LevelEntity* yard = addChild(root, CN_KIND_FSM, "Yard");
};

inline E_FSM::Message makeMessage(const char* text, CN_LevelEntity* target, const char* name = "Say",
                                  std::vector<istring> arguments = {}) {
    E_FSM::Message message;
    message.m_text = text;
    message.m_name = name;
    message.m_target = target;
    message.m_objectArguments.resize(arguments.size());
    message.m_arguments = std::move(arguments);
    return message;
}

/// The one list of an entity's machine that the tests here put messages in.
inline E_FSM::MessageList& messagesOf(CN_LevelEntity* entity) {
    return entity->accessFSM()->createMessageHandler("Startup").m_sendBefore;
}

} // namespace cairn::test
