#pragma once

#include "host/picture_scene.h"

namespace cairn::host {

/// Marks the roofs of a level that is built of solids: on a plan they would hide the floors below. Over a floor the highest
/// solid is a roof where there is space between it and what stands below; solids that touch are one. A level with rooms has
/// none, as those have no outside. Gives their number. Cost: n log n for n faces as levels have them, the square where all
/// lie over each other.
std::size_t markRoofs(PictureScene& scene);

} // namespace cairn::host
