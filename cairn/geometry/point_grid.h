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
        unsigned int center;            ///< the point's number
        unsigned int most = 0;          ///< no more points lie near the center, those taken with them
        unsigned int cells = 0;         ///< how many hold points near it that are left
        std::array<unsigned int, 8> at; ///< where the look stands in each of them
    };

    /// The radius is above zero, and may be infinite. A point that is not finite is never found. The points must stay as they
    /// are. Cost: linear.
    CN_PointGrid(const std::vector<Vector>& points, double radius);

    /// True for a point that was not taken yet.
    bool isLeft(unsigned int point) const { return m_isTaken[point] == 0; }
    /// The look at what is left near a point that is finite.
    Search search(unsigned int point);
    /// Takes what is left near the center and appends it, the points of each cell in their order.
    void takeAll(Search& search, std::vector<int>& taken);
    /// Takes the first point that is left near the center; `NONE` where there is none any more.
    unsigned int takeNext(Search& search);
    /// How many points lie near a point that is finite, itself and those taken with them.
    unsigned int countNear(unsigned int point) const;

  private:
    struct Key {
        std::int64_t x, y, z;
        bool operator==(const Key&) const = default;
    };
    /// Of the hash; its mark tells most other cells that were hashed to it.
    struct Slot {
        unsigned int mark = 0, cell = NONE;
    };

    struct Cell {
        Key key;
        unsigned int first, last;      ///< of its points
        unsigned int firstLeft;        ///< of those not taken, or `NONE`; at times one that is taken
        unsigned int count = 0;        ///< of its points
        unsigned int boxOrNone = NONE; ///< of many points: its place in `m_boxes`
    };
    struct Box {
        Vector min, max;
    };

    double placeOf(double coordinate) const;
    Key keyBeside(const Vector& point, double cells) const;
    static std::uint64_t hash(const Key& key);
    std::size_t findSlot(std::uint64_t hash, const Key& key) const;
    unsigned int addCell(const Key& key);
    void add(unsigned int point);
    void growTable();
    void makeBoxes();
    template <class Visit> void visitCells(unsigned int point, Visit&& visit) const;
    bool isNear(unsigned int a, unsigned int b) const { return (m_points[a] - m_points[b]).length() < m_radius; }
    bool holdsOnlyNear(const Cell& cell, const Vector& center) const;
    unsigned int nextLeft(unsigned int point);

    const std::vector<Vector>& m_points;
    double m_radius;
    double m_perCell;                     ///< cells per unit of length; 0 for a single cell
    std::vector<Cell> m_cells;            ///< in the order in which they got their first points
    std::vector<Slot> m_table;            ///< the hash: a power of two of them
    std::vector<unsigned int> m_cellOf;   ///< of each point; `NONE` for one that is not finite
    std::vector<unsigned int> m_next;     ///< of each point the next of its cell, or `NONE`
    std::vector<unsigned int> m_nextLeft; ///< the same; of one that was taken a later one, up to the next that is left
    std::vector<unsigned char> m_isTaken; ///< of each point: 1, also where it is not finite, or 0
    std::vector<unsigned char> m_isAmid;  ///< of each point: 1 where no other cell than its own is in reach, or 0
    std::vector<Box> m_boxes;             ///< around the points of cells that hold many
};

} // namespace cairn
