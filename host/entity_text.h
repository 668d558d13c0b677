#pragma once

#include "cairn/entities/level_entity.h"

#include <string>
#include <vector>

namespace cairn::host {

/// A kind's type name, or its class name where it has none.
std::string kindName(int entityId);
/// An entity's qualified name; "::" for the root.
std::string qualifiedName(const CN_LevelEntity& entity);
/// The name alone, as stored.
std::string plainName(const CN_LevelEntity& entity);
/// Those that hold of "room", "dynamic" and "trigger", in that order.
std::vector<std::string> flagsOf(const CN_LevelEntity& entity);

} // namespace cairn::host
