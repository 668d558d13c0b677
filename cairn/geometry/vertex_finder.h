#pragma once

#include "cairn/math/vector3.h"

#include <array>
#include <cstddef>
#include <unordered_map>
#include <vector>

namespace cairn {

class CN_Mesh;

/// Finds and makes vertices of a mesh as `CN_Mesh::addVertexCheck` does with the tolerance of a shared corner, in constant
/// time each: the vertices stand in a grid of cells. Nobody else adds, moves or removes vertices meanwhile.
class CN_VertexFinder {
  public:
    using Vector = M_Vector3Template<double>;

    /// Corners nearer than this are one vertex.
    static constexpr double SAME_CORNER = 1e-6;

    explicit CN_VertexFinder(CN_Mesh& mesh);
    /// The number of the first vertex of the mesh's list that is nearer to the point of the mesh's space, or of a new one there.
    int findOrAdd(const Vector& place);

  private:
    using Cell = std::array<double, 3>; ///< whole numbers

    struct CellHash {
        std::size_t operator()(const Cell& cell) const;
    };

    static double cellOf(double coordinate);
    void enter(const Vector& place, int number);
    int find(const Vector& place) const;

    CN_Mesh& m_mesh;
    std::unordered_map<Cell, int, CellHash> m_last; ///< the number of a cell's last vertex
    std::vector<int> m_before;                      ///< by number: the one before it in its cell, -1 for none
};

} // namespace cairn
