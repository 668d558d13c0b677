#pragma once

#include "host/export_scene.h"

namespace cairn::host {

/// The motions of an entity: each of its animations in its samples; where it has none but keyframes of several places,
/// one that steps through them by name, a second each. Empty for an entity that stands still.
std::vector<ExportAnimation> makeExportAnimations(const CN_LevelEntity& entity);

} // namespace cairn::host
