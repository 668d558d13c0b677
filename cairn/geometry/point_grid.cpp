#include "cairn/geometry/point_grid.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr double FARTHEST_CELL =
    281474976710656;                     // beyond 2^48 cells from the origin they are one: rounding is coarser there
constexpr double OFF_ORIGIN = 0.37;      // in cells: coordinates at whole numbers are no border then
constexpr unsigned int MANY_POINTS = 16; // a cell of more has a box

} // namespace

CN_PointGrid::CN_PointGrid(const std::vector<Vector>& points, double radius) : m_radius(radius) {
    constexpr double ROUNDING = 1 + 1e-9;
    constexpr double LEAST_REACH = 1e-150;  // differences far below that are 0 when they are squared
    constexpr double LARGEST_REACH = 1e150; // far below that they are infinite
    constexpr double REACHES_PER_CELL = 4;  // of points some way apart most have a border in reach along no axis or one
    m_reach = std::max(radius * ROUNDING, LEAST_REACH);
    m_perCell = m_reach < LARGEST_REACH ? 1 / (REACHES_PER_CELL * m_reach) : 0;
    constexpr std::size_t FIRST_TABLE = 64;
    m_table.assign(FIRST_TABLE, NONE);
    m_slots.assign(points.size(), NONE);
    std::vector<unsigned int> cells(points.size(), NONE);
    for (std::size_t i = 0; i < points.size(); ++i)
        if (points[i].isFinite()) {
            cells[i] = addCell(keyOf(points[i]));
            ++m_cells[cells[i]].end; // the number of its points for now
        }
    order(points, cells);
}

/// Puts the points in their order by cells.
void CN_PointGrid::order(const std::vector<Vector>& points, const std::vector<unsigned int>& cells) {
    unsigned int begin = 0;
    for (Cell& cell : m_cells) {
        const unsigned int count = cell.end;
        if (count > MANY_POINTS) {
            cell.box = static_cast<unsigned int>(m_boxes.size());
            m_boxes.emplace_back();
        }
        cell.begin = cell.end = begin;
        begin += count;
    }
    m_points.resize(begin);
    m_numbers.resize(begin);
    for (unsigned int i = 0; i < points.size(); ++i) {
        if (cells[i] == NONE)
            continue;
        Cell& cell = m_cells[cells[i]];
        if (cell.box != NONE) {
            Box& box = m_boxes[cell.box];
            const bool isFirst = cell.begin == cell.end;
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = isFirst ? points[i][axis] : std::min(box.min[axis], points[i][axis]);
                box.max[axis] = isFirst ? points[i][axis] : std::max(box.max[axis], points[i][axis]);
            }
        }
        m_points[cell.end] = points[i];
        m_numbers[cell.end] = i;
        m_slots[i] = cell.end++;
    }
    m_nextLeft.resize(m_points.size() + 1);
    for (unsigned int slot = 0; slot < m_nextLeft.size(); ++slot)
        m_nextLeft[slot] = slot;
}

/// Never falls where the coordinate rises: what lies between two coordinates is in the cells between theirs.
std::int64_t CN_PointGrid::placeOf(double coordinate) const {
    if (m_perCell == 0)
        return 0;
    const double cells = std::clamp(coordinate * m_perCell + OFF_ORIGIN, -FARTHEST_CELL, FARTHEST_CELL);
    const auto towardsZero = static_cast<std::int64_t>(cells);
    return towardsZero - (cells < static_cast<double>(towardsZero));
}

std::size_t CN_PointGrid::hash(const Key& key) {
    std::uint64_t mixed = 0;
    for (const std::int64_t place : key) {
        mixed = (mixed ^ static_cast<std::uint64_t>(place)) * 0x9E3779B97F4A7C15u;
        mixed ^= mixed >> 32;
    }
    return static_cast<std::size_t>(mixed);
}

/// The cell's place in the list, or `NONE`.
unsigned int CN_PointGrid::findCell(const Key& key) const {
    const std::size_t mask = m_table.size() - 1;
    for (std::size_t at = hash(key) & mask; m_table[at] != NONE; at = (at + 1) & mask)
        if (m_cells[m_table[at]].key == key)
            return m_table[at];
    return NONE;
}

unsigned int CN_PointGrid::addCell(const Key& key) {
    const std::size_t mask = m_table.size() - 1;
    std::size_t at = hash(key) & mask;
    for (; m_table[at] != NONE; at = (at + 1) & mask)
        if (m_cells[m_table[at]].key == key)
            return m_table[at];
    const auto made = static_cast<unsigned int>(m_cells.size());
    m_cells.emplace_back().key = key;
    m_table[at] = made;
    if (m_cells.size() * 2 > m_table.size())
        growTable();
    return made;
}

void CN_PointGrid::growTable() {
    constexpr std::size_t FACTOR = 4;
    std::vector<unsigned int> larger(m_table.size() * FACTOR, NONE);
    const std::size_t mask = larger.size() - 1;
    for (unsigned int i = 0; i < m_cells.size(); ++i) {
        std::size_t at = hash(m_cells[i].key) & mask;
        while (larger[at] != NONE)
            at = (at + 1) & mask;
        larger[at] = i;
    }
    m_table.swap(larger);
}

/// Calls `visit(cell)` for each cell in reach of the center: along an axis the one it stands in, and at most one beside.
template <class Visit> void CN_PointGrid::visitCells(const Vector& center, Visit&& visit) const {
    const Vector reach(m_reach, m_reach, m_reach);
    const Key low = keyOf(center - reach), high = keyOf(center + reach);
    Key key;
    for (key[0] = low[0]; key[0] <= high[0]; ++key[0])
        for (key[1] = low[1]; key[1] <= high[1]; ++key[1])
            for (key[2] = low[2]; key[2] <= high[2]; ++key[2])
                if (const unsigned int cell = findCell(key); cell != NONE)
                    visit(m_cells[cell]);
}

CN_PointGrid::Search CN_PointGrid::search(unsigned int point) const {
    Search search;
    search.center = m_points[m_slots[point]];
    visitCells(search.center, [&search](const Cell& cell) {
        search.most += cell.end - cell.begin;
        search.at[search.cells] = cell.begin;
        search.ends[search.cells++] = cell.end;
    });
    return search;
}

/// The place itself, or the next one that is left, if only in another cell.
unsigned int CN_PointGrid::nextLeft(unsigned int slot) {
    while (m_nextLeft[slot] != slot)
        slot = m_nextLeft[slot] = m_nextLeft[m_nextLeft[slot]];
    return slot;
}

void CN_PointGrid::takeAll(Search& search, std::vector<int>& taken) {
    for (unsigned int i = 0; i < search.cells; ++i)
        for (unsigned int& at = search.at[i]; (at = nextLeft(at)) < search.ends[i]; ++at)
            if (isNear(search.center, at)) {
                taken.push_back(static_cast<int>(m_numbers[at]));
                m_nextLeft[at] = at + 1;
            }
}

unsigned int CN_PointGrid::takeNext(Search& search) {
    unsigned int first = NONE;
    for (unsigned int i = 0; i < search.cells; ++i) {
        unsigned int& at = search.at[i];
        while ((at = nextLeft(at)) < search.ends[i] && !isNear(search.center, at))
            ++at;
        if (at < search.ends[i] && (first == NONE || m_numbers[at] < m_numbers[first]))
            first = at;
    }
    if (first == NONE)
        return NONE;
    m_nextLeft[first] = first + 1;
    return m_numbers[first];
}

/// True for a cell whose points are all near the center, so that none need be asked.
bool CN_PointGrid::holdsOnlyNear(const Cell& cell, const Vector& center) const {
    if (cell.box == NONE)
        return false;
    const Box& box = m_boxes[cell.box];
    Vector farthest;
    for (int axis = 0; axis < 3; ++axis)
        farthest[axis] = std::max(std::abs(center[axis] - box.min[axis]), std::abs(center[axis] - box.max[axis]));
    return farthest.length() < m_radius;
}

unsigned int CN_PointGrid::countNear(unsigned int point) const {
    const Vector center = m_points[m_slots[point]];
    unsigned int near = 0;
    visitCells(center, [&](const Cell& cell) {
        if (holdsOnlyNear(cell, center)) {
            near += cell.end - cell.begin;
            return;
        }
        for (unsigned int slot = cell.begin; slot < cell.end; ++slot)
            near += isNear(center, slot);
    });
    return near;
}

} // namespace cairn
