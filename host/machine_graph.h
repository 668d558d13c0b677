#pragma once

#include "cairn/entities/level_entity.h"

#include <string>
#include <vector>

namespace cairn::host {

/// The machines of those entities, which have one each and stand in the tree of `root`, as a Graphviz digraph. A machine is
/// a cluster of its entity and its states, the default one with a double outline; a message is an arrow from the state that
/// sends it, or from the entity, to whom it goes to.
std::string makeMachineGraph(const CN_LevelEntity& root, const std::vector<const CN_LevelEntity*>& entities);

} // namespace cairn::host
