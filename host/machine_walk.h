#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/fsm/fsm.h"

#include <string>

namespace cairn::host {

/// Calls `f` with each entity of the tree, the root first, in the tree's pre-order.
template <class F> void forEachEntityOf(const CN_LevelEntity& root, F&& f) {
    f(root);
    CN_ConstPreIterator it = root.createConstIterator();
    for (it.begin(); !it.end(); ++it)
        f(**it);
}

/// Calls `f` with the name of each list of the handler ("before", "after", "state:NAME"), as edits name it, and the list.
template <class F> void forEachNamedList(const E_FSM::MessageHandler& handler, F&& f) {
    f(std::string("before"), handler.m_sendBefore);
    f(std::string("after"), handler.m_sendAfter);
    for (const auto& [state, messages] : handler.m_sendOnState)
        f("state:" + std::string(view(state)), messages);
}

} // namespace cairn::host
