#pragma once

#include "cairn/geometry/mesh/mesh.h"

#include <optional>

namespace cairn::host {

/// The volume that a mesh encloses, in cubic units of the level, positive whichever way it faces; nothing where it is open.
/// Cost: n log n for n edges.
std::optional<double> volumeOf(const CN_Mesh& mesh);

} // namespace cairn::host
