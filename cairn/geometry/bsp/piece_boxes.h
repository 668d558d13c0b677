#pragma once

#include "cairn/geometry/ngon.h"

#include <array>
#include <cstdint>
#include <vector>

namespace cairn {

/// How the pieces of a list lie to a plane: each counts once.
struct CN_SideCounts {
    enum Side { COPLANAR, FRONT, BACK, SPANNING };

    /// The side of a piece. Corners are looked at in order until they have shown both signs, and what they have shown till
    /// then decides: a piece that begins with two corners as good as in the plane is coplanar, whatever follows.
    static Side sideOf(const CN_Ngon::Vector* corners, std::size_t count, const CN_Ngon::Vector& normal, double offset);

    void add(Side side) { ++counts[side]; }
    void remove(Side side) { --counts[side]; }
    /// The lower, the better the plane divides the list.
    int score() const;

    std::array<int, 4> counts{}; ///< by side
};

/// A hierarchy of boxes over pieces that counts the sides of a plane without a look at most of them: a box wholly on one
/// side counts for all that it holds.
class CN_PieceBoxes {
  public:
    using Vector = CN_Ngon::Vector;

    /// Takes over the pieces' corners. Cost: n log n.
    void build(const std::vector<const CN_Ngon*>& pieces);
    /// The counts of all pieces, each as `CN_SideCounts::sideOf` tells it.
    CN_SideCounts count(const CN_Ngon::Plane& plane) const;

  private:
    struct Box {
        Vector center, half;        ///< extent
        std::uint32_t first, last;  ///< pieces, by their places in `m_starts`
        std::uint32_t children = 0; ///< place of the first of two; 0 for a leaf
    };

    void bound(Box& box, const std::vector<const CN_Ngon*>& pieces) const;
    void divide(std::size_t box, const std::vector<const CN_Ngon*>& pieces);
    void addPiece(const CN_Ngon& piece);
    void countPieces(std::uint32_t first, std::uint32_t last, const Vector& normal, double offset,
                     CN_SideCounts& counts) const;

    std::vector<std::uint32_t> m_order; ///< pieces in the order of the boxes
    std::vector<std::uint32_t>
        m_starts;                  ///< first corner of each piece in that order, then of those outside, and the end
    std::vector<Vector> m_corners; ///< one piece after the other
    std::vector<Box> m_boxes;      ///< the root first
    double m_extent = 0;           ///< greatest coordinate in a box, without sign
};

} // namespace cairn
