#include "cairn/geometry/point_grid.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr double REACH = 0.25; // of a point, in cells: of points some way apart most have few borders in it
constexpr double REACH_AND_ROUNDING = 0.251;     // rounding of places is that small up to the farthest
constexpr double FARTHEST_PLACE = 1099511627776; // 2^40: what lies beyond is in one cell
constexpr double OFF_ORIGIN = 0.37;              // in cells: coordinates at whole numbers are no border then
constexpr unsigned int MANY_POINTS = 16;         // a cell of more has a box

unsigned int markOf(std::uint64_t hash) { return static_cast<unsigned int>(hash >> 32); }

std::int64_t floorOf(double place) {
    const auto towardsZero = static_cast<std::int64_t>(place);
    return towardsZero - (place < static_cast<double>(towardsZero));
}

/// True for a place that has no border of its cell in reach.
bool isAmid(double place, std::int64_t cell) {
    const double beyondBorder = place - static_cast<double>(cell);
    return beyondBorder > REACH_AND_ROUNDING && beyondBorder < 1 - REACH_AND_ROUNDING;
}

} // namespace

CN_PointGrid::CN_PointGrid(const std::vector<Vector>& points, double radius) : m_points(points), m_radius(radius) {
    constexpr double LEAST = 1e-150;  // differences far below that are 0 when they are squared
    constexpr double LARGEST = 1e150; // far below that they are infinite
    m_perCell = radius < LARGEST ? REACH / std::max(radius, LEAST) : 0;
    constexpr std::size_t FIRST_TABLE = 64;
    m_table.assign(FIRST_TABLE, Slot());
    m_cellOf.assign(points.size(), NONE);
    m_next.assign(points.size(), NONE);
    m_isTaken.assign(points.size(), 0);
    m_isAmid.assign(points.size(), 0);
    for (unsigned int point = 0; point < points.size(); ++point)
        if (points[point].isFinite())
            add(point);
        else
            m_isTaken[point] = 1;
    m_nextLeft = m_next;
    makeBoxes();
}

void CN_PointGrid::add(unsigned int point) {
    const Vector& at = m_points[point];
    const double x = placeOf(at.x), y = placeOf(at.y), z = placeOf(at.z);
    const Key key{floorOf(x), floorOf(y), floorOf(z)};
    const unsigned int index = addCell(key);
    m_cellOf[point] = index;
    m_isAmid[point] = isAmid(x, key.x) && isAmid(y, key.y) && isAmid(z, key.z);
    Cell& cell = m_cells[index];
    if (cell.count++ == 0)
        cell.first = cell.firstLeft = point;
    else
        m_next[cell.last] = point;
    cell.last = point;
}

void CN_PointGrid::makeBoxes() {
    for (Cell& cell : m_cells) {
        if (cell.count <= MANY_POINTS)
            continue;
        Box box{m_points[cell.first], m_points[cell.first]};
        for (unsigned int point = cell.first; point != NONE; point = m_next[point])
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = std::min(box.min[axis], m_points[point][axis]);
                box.max[axis] = std::max(box.max[axis], m_points[point][axis]);
            }
        cell.boxOrNone = static_cast<unsigned int>(m_boxes.size());
        m_boxes.push_back(box);
    }
}

/// The place along an axis in cells. Never falls where the coordinate rises.
double CN_PointGrid::placeOf(double coordinate) const {
    return std::clamp(coordinate * m_perCell + OFF_ORIGIN, -FARTHEST_PLACE, FARTHEST_PLACE);
}

std::uint64_t CN_PointGrid::hash(const Key& key) {
    std::uint64_t mixed = 0;
    for (const std::int64_t place : {key.x, key.y, key.z}) {
        mixed = (mixed ^ static_cast<std::uint64_t>(place)) * 0x9E3779B97F4A7C15u;
        mixed ^= mixed >> 32;
    }
    return mixed;
}

/// The slot of the cell, or an empty one where it belongs.
std::size_t CN_PointGrid::findSlot(std::uint64_t hash, const Key& key) const {
    const std::size_t mask = m_table.size() - 1;
    const unsigned int mark = markOf(hash);
    std::size_t at = static_cast<std::size_t>(hash) & mask;
    while (m_table[at].cell != NONE && !(m_table[at].mark == mark && m_cells[m_table[at].cell].key == key))
        at = (at + 1) & mask;
    return at;
}

unsigned int CN_PointGrid::addCell(const Key& key) {
    const std::uint64_t hashed = hash(key);
    Slot& slot = m_table[findSlot(hashed, key)];
    if (slot.cell != NONE)
        return slot.cell;
    const auto made = static_cast<unsigned int>(m_cells.size());
    m_cells.emplace_back().key = key;
    slot = {markOf(hashed), made};
    if (m_cells.size() * 2 > m_table.size())
        growTable();
    return made;
}

void CN_PointGrid::growTable() {
    constexpr std::size_t FACTOR = 4;
    m_table.assign(m_table.size() * FACTOR, Slot());
    for (unsigned int i = 0; i < m_cells.size(); ++i) {
        const std::uint64_t hashed = hash(m_cells[i].key);
        m_table[findSlot(hashed, m_cells[i].key)] = {markOf(hashed), i};
    }
}

CN_PointGrid::Key CN_PointGrid::keyBeside(const Vector& point, double cells) const {
    const auto beside = [this, cells](double coordinate) {
        return floorOf(std::clamp(placeOf(coordinate) + cells, -FARTHEST_PLACE, FARTHEST_PLACE));
    };
    return {beside(point.x), beside(point.y), beside(point.z)};
}

/// Calls `visit(place of the cell)` for each cell in reach of the point: its own, and at most one beside along each axis.
template <class Visit> void CN_PointGrid::visitCells(unsigned int point, Visit&& visit) const {
    if (m_isAmid[point] != 0) {
        visit(m_cellOf[point]);
        return;
    }
    const Vector& at = m_points[point];
    const Key low = keyBeside(at, -REACH_AND_ROUNDING), high = keyBeside(at, REACH_AND_ROUNDING);
    for (std::int64_t x = low.x; x <= high.x; ++x)
        for (std::int64_t y = low.y; y <= high.y; ++y)
            for (std::int64_t z = low.z; z <= high.z; ++z)
                if (const unsigned int cell = m_table[findSlot(hash({x, y, z}), {x, y, z})].cell; cell != NONE)
                    visit(cell);
}

CN_PointGrid::Search CN_PointGrid::search(unsigned int point) {
    Search search;
    search.center = point;
    visitCells(point, [&](unsigned int index) {
        Cell& cell = m_cells[index];
        search.most += cell.count;
        cell.firstLeft = nextLeft(cell.firstLeft);
        if (cell.firstLeft != NONE)
            search.at[search.cells++] = cell.firstLeft;
    });
    return search;
}

/// The point itself, or the next one of its cell that is left.
unsigned int CN_PointGrid::nextLeft(unsigned int point) {
    while (point != NONE && m_isTaken[point] != 0) {
        unsigned int& next = m_nextLeft[point];
        if (next != NONE && m_isTaken[next] != 0)
            next = m_nextLeft[next];
        point = next;
    }
    return point;
}

void CN_PointGrid::takeAll(Search& search, std::vector<int>& taken) {
    for (unsigned int i = 0; i < search.cells; ++i)
        for (unsigned int at = nextLeft(search.at[i]); at != NONE; at = nextLeft(m_nextLeft[at]))
            if (isNear(search.center, at)) {
                taken.push_back(static_cast<int>(at));
                m_isTaken[at] = 1;
            }
}

unsigned int CN_PointGrid::takeNext(Search& search) {
    unsigned int first = NONE;
    for (unsigned int i = 0; i < search.cells; ++i) {
        unsigned int& at = search.at[i];
        at = nextLeft(at);
        while (at != NONE && !isNear(search.center, at))
            at = nextLeft(m_nextLeft[at]);
        first = std::min(first, at); // `NONE` is larger than any
    }
    if (first != NONE)
        m_isTaken[first] = 1;
    return first;
}

/// True for a cell whose points are all near the center, so that none need be asked.
bool CN_PointGrid::holdsOnlyNear(const Cell& cell, const Vector& center) const {
    if (cell.boxOrNone == NONE)
        return false;
    const Box& box = m_boxes[cell.boxOrNone];
    Vector farthest;
    for (int axis = 0; axis < 3; ++axis)
        farthest[axis] = std::max(std::abs(center[axis] - box.min[axis]), std::abs(center[axis] - box.max[axis]));
    return farthest.length() < m_radius;
}

unsigned int CN_PointGrid::countNear(unsigned int point) const {
    unsigned int near = 0;
    visitCells(point, [&](unsigned int index) {
        const Cell& cell = m_cells[index];
        if (holdsOnlyNear(cell, m_points[point])) {
            near += cell.count;
            return;
        }
        for (unsigned int other = cell.first; other != NONE; other = m_next[other])
            near += isNear(point, other);
    });
    return near;
}

} // namespace cairn
