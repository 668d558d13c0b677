#pragma once

#include "cairn/math/vector3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace cairn {

/// Finds points strictly nearer than a radius to others, and each one once: what was taken is not found again. A hash of
/// cells of space, wider than twice the radius, so that what lies near a point is in eight of them at most.
class CN_PointGrid {
  public:
    using Vector = M_Vector3Template<double>;
    static constexpr unsigned int NONE = 0xFFFFFFFFu;

    /// A look at what is left near one point, from where it stood.
    struct Search {
        Vector center;
        unsigned int most = 0;  ///< no more points lie near the center, those taken with them
        unsigned int cells = 0; ///< how many hold points near it
        std::array<unsigned int, 8> at,
            ends; ///< of each cell in the order by cells: where the look stands, and the end
    };

    /// The radius is above zero, and may be infinite. A point that is not finite is never found. Cost: linear.
    CN_PointGrid(const std::vector<Vector>& points, double radius);

    /// True for a point that was not taken yet.
    bool isLeft(unsigned int point) const {
        return m_slots[point] != NONE && m_nextLeft[m_slots[point]] == m_slots[point];
    }
    /// The look at what lies near a point that is finite.
    Search search(unsigned int point) const;
    /// Takes what is left near the center and appends it, in no special order.
    void takeAll(Search& search, std::vector<int>& taken);
    /// Takes the first point that is left near the center; `NONE` where there is none any more.
    unsigned int takeNext(Search& search);
    /// How many points lie near a point that is finite, itself and those taken with them.
    unsigned int countNear(unsigned int point) const;

  private:
    using Key = std::array<std::int64_t, 3>;

    struct Cell {
        Key key;
        unsigned int begin = 0, end = 0; ///< of its points in the order by cells
        unsigned int box = NONE;         ///< of many points: its place in `m_boxes`
    };
    struct Box {
        Vector min, max;
    };

    std::int64_t placeOf(double coordinate) const;
    Key keyOf(const Vector& point) const { return {placeOf(point.x), placeOf(point.y), placeOf(point.z)}; }
    static std::size_t hash(const Key& key);
    unsigned int findCell(const Key& key) const;
    unsigned int addCell(const Key& key);
    void growTable();
    void order(const std::vector<Vector>& points, const std::vector<unsigned int>& cells);
    template <class Visit> void visitCells(const Vector& center, Visit&& visit) const;
    bool isNear(const Vector& center, std::size_t slot) const { return (center - m_points[slot]).length() < m_radius; }
    bool holdsOnlyNear(const Cell& cell, const Vector& center) const;
    unsigned int nextLeft(unsigned int slot);

    double m_radius;
    double m_reach;                      ///< what is near differs by less along each axis
    double m_perCell;                    ///< cells per unit of length; 0 for a single cell
    std::vector<Cell> m_cells;           ///< in the order in which they got their first points
    std::vector<unsigned int> m_table;   ///< the hash: places in `m_cells`, a power of two of them
    std::vector<Vector> m_points;        ///< by cells, and in a cell by their numbers
    std::vector<unsigned int> m_numbers; ///< of those points
    std::vector<unsigned int> m_slots;   ///< of each point by its number the place among them, or `NONE`
    std::vector<unsigned int>
        m_nextLeft;           ///< of each place itself; of one that was taken a later one, up to the next that
                              ///< is left
    std::vector<Box> m_boxes; ///< around the points of cells that hold many
};

} // namespace cairn
