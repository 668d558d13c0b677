#pragma once

#include "cairn/foundation/memory_file.h"
#include "cairn/math/planar_space3.h"

#include <cmath>

namespace cairn {

// A space, without a chunk: 3 double normal, 3 double origin, 9 double rows U V N, 2 double offset. The normal is the third
// row's.

/// What the record takes.
inline constexpr std::size_t CN_PLANAR_SPACE_BYTES = 17 * sizeof(double);

/// Writes the record of a planar space; `file` is a file or a run in one.
template <class File> void CN_savePlanarSpace(File& file, const M_PlanarSpace3Template<double>& space) {
    file << space.getNormal() << space.getPoint() << space.getMatrix() << space.getOffset();
}

/// Reads such a record; false, and `space` as it was, where no point would have finite coordinates in it. Either way the
/// position stands behind the record. Throws where the file ends.
inline bool CN_loadPlanarSpace(F_MemoryFile& file, M_PlanarSpace3Template<double>& space) {
    M_Vector3Template<double> normal, origin;
    M_Matrix3Template<double> matrix;
    M_Vector2Template<double> offset;
    file >> normal >> origin >> matrix >> offset;
    if (!matrix.isInvertible() || !origin.isFinite() || !std::isfinite(offset.x) || !std::isfinite(offset.y))
        return false;
    space = M_PlanarSpace3Template<double>(matrix, origin, offset);
    return true;
}

} // namespace cairn
