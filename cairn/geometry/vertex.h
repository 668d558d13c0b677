#pragma once

#include "cairn/math/vector3.h"

namespace cairn {

class F_MemoryFile;

/// Version of the chunk that holds a vertex.
inline constexpr int CAIRN_VERTEX_VERSION = 1;

/// A corner that the polygons of a mesh share: its place in the mesh's list is the index they name it by.
struct CN_Vertex {
    M_Vector3Template<double> local; ///< in the mesh's space: what a file stores
    M_Vector3Template<double> world; ///< in the world: up to date since the last `CN_Mesh::transform`

    CN_Vertex() = default;
    /// At `point` in both spaces.
    explicit CN_Vertex(const M_Vector3Template<double>& point) : local(point), world(point) {}
    /// Sets both spaces.
    CN_Vertex& operator=(const M_Vector3Template<double>& point) {
        local = world = point;
        return *this;
    }
    /// Moves `local` alone.
    CN_Vertex& operator+=(const M_Vector3Template<double>& by) {
        local += by;
        return *this;
    }
    CN_Vertex& operator-=(const M_Vector3Template<double>& by) {
        local -= by;
        return *this;
    }
    /// Exactly the same place in the mesh's space.
    friend bool operator==(const CN_Vertex& a, const CN_Vertex& b) { return a.local == b.local; }
};

/// Writes the vertex's record.
F_MemoryFile& operator<<(F_MemoryFile& file, const CN_Vertex& vertex);
/// Reads `local`; `world` stays. Throws on damage and on coordinates that are not finite.
F_MemoryFile& operator>>(F_MemoryFile& file, CN_Vertex& vertex);

} // namespace cairn
