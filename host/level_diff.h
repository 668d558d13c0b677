#pragma once

#include "cairn/document/document.h"
#include "host/level_changes.h"

#include <vector>

namespace cairn::host {

/// What differs between two levels as a load gives them: entities that are gone in the first one's pre-order, then for each entity
/// in the second one's what is new of it, then what belongs to the level itself. Entities are paired as `EntityMatching` says.
/// Empty exactly where saves of both are the same to the byte; what is stored and has no name here is told as "bytes". Time grows with the
/// size of the levels. Saves the levels where nothing else differs, which numbers their polygons.
std::vector<LevelChange> compareLevels(CN_Document& first, CN_Document& second);

/// The part about what is no entity: settings, materials, textures, lightmaps, camera, groups (level_diff_document.cpp).
void compareDocuments(const CN_Document& first, const CN_Document& second, ChangeList& changes);
/// The last resort: tells the first byte that differs in what saves of both would write, and in which section
/// (level_diff_document.cpp).
void compareBytes(CN_Document& first, CN_Document& second, ChangeList& changes);

} // namespace cairn::host
