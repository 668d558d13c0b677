#pragma once

#include "cairn/math/vector2.h"

#include <cstdint>
#include <vector>

namespace cairn {

/// Collects points so that none is nearer than a tolerance to one that came before it. Cost: constant for each point.
class CN_PointMerger {
  public:
    using Point = M_Vector2Template<double>;

    /// Appends to `points`, which is empty and outlives the merger; `expected` is how many may come.
    CN_PointMerger(std::vector<Point>& points, double tolerance, std::size_t expected);

    /// The place of the first point that equals this one or is nearer than the tolerance; else of this one, which is
    /// appended. So an infinite point is near its equals alone, and one with a NaN near none, not even near itself.
    int add(const Point& point);

  private:
    bool isNear(std::size_t place, const Point& point) const;
    std::size_t slotOf(double column, double row) const;
    int findByWalk(const Point& point) const;
    int findByCell(const Point& point) const;

    std::vector<Point>& m_points; ///< those that stay
    double m_tolerance;
    double m_cell;             ///< side of a cell of the grid
    std::vector<int> m_heads;  ///< last point of each slot, -1 for none; empty where walking is as quick
    std::vector<int> m_before; ///< the point before each in its slot
};

} // namespace cairn
