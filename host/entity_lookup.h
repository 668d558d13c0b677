#pragma once

#include "cairn/entities/level_entity.h"

#include <string>

namespace cairn::host {

/// The entity that a user's word stands for: a qualified name without regard to case ("::" is the root), or "@N", the
/// number that `tree --json` gives it. Null where there is none. Costs a walk of the tree.
CN_LevelEntity* findEntity(CN_LevelEntity& root, const std::string& word);

} // namespace cairn::host
