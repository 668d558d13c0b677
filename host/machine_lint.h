#pragma once

#include "cairn/entities/level_entity.h"

#include <functional>
#include <string>

namespace cairn {
class CN_FSMMessageInfoProvider;
}

namespace cairn::host {

/// Told of a problem: its code, the entity whose machine has it, and what it is.
using MachineProblem = std::function<void(std::string_view, const CN_LevelEntity&, std::string)>;

/// Looks at all state machines of a level whose messages are bound: at targets that are no entities, exits that are not
/// there, states that nothing enters and timers that nothing starts; and, unless the catalogue is null, at messages that
/// it does not know, their arguments and receivers. Entities come in the order of the tree, messages in that of the
/// handlers. Linear in the messages, but for those that name an exit, which look through the target's polygons.
void findMachineProblems(CN_LevelEntity& root, const CN_FSMMessageInfoProvider* catalogue, const MachineProblem& tell);

} // namespace cairn::host
