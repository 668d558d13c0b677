#pragma once

#include "cairn/entities/level_entity.h"

#include <string>

namespace cairn::host {

/// A kind's type name, or its class name where it has none.
std::string kindName(int entityId);
/// An entity's qualified name; "::" for the root.
std::string qualifiedName(const CN_LevelEntity& entity);
/// The name alone, as stored.
std::string plainName(const CN_LevelEntity& entity);

} // namespace cairn::host
