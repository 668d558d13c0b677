#pragma once

#include "cairn/entities/level_entity.h"

#include <string>

namespace cairn {
class CN_Polygon;
} // namespace cairn

namespace cairn::host {

/// The entity that a user's word stands for: a qualified name without regard to case ("::" is the root), or "@N", the
/// number that `tree --json` gives it. Null where there is none. Costs a walk of the tree.
CN_LevelEntity* findEntity(CN_LevelEntity& root, const std::string& word);
/// The same, but throws a `Failure` (the answer is no) about the level's file where there is none.
CN_LevelEntity& requireEntity(CN_LevelEntity& root, const std::string& word, const std::string& file);

/// The polygon that a user's word stands for: ENTITY#INDEX, the index in its mesh's list behind the last #. Null where there is
/// none.
CN_Polygon* findPolygon(CN_LevelEntity& root, const std::string& word);

} // namespace cairn::host
