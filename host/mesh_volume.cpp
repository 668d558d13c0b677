#include "host/mesh_volume.h"

#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"

#include <cmath>

namespace cairn::host {

std::optional<double> volumeOf(const CN_Mesh& mesh) {
    if (!CN_findOpenEdges(mesh, CN_LEVEL_TOLERANCE).empty())
        return {};
    return std::abs(CN_volume(mesh));
}

} // namespace cairn::host
