#include "cairn/geometry/planar/point_merger.h"

#include <bit>
#include <cmath>
#include <utility>

namespace cairn {

namespace {

constexpr std::size_t WALKED = 24; // points that are walked faster than hashed
constexpr double CELL_IN_TOLERANCES =
    8.0; // most points then have neighbours in their own cell alone, and cells hold few

} // namespace

CN_PointMerger::CN_PointMerger(std::vector<Point>& points, double tolerance, std::size_t expected)
    : m_points(points), m_tolerance(tolerance), m_cell(tolerance * CELL_IN_TOLERANCES) {
    m_points.reserve(expected);
    if (expected > WALKED && tolerance > 0) {
        m_heads.assign(std::bit_ceil(2 * expected), -1);
        m_before.reserve(expected);
    }
}

int CN_PointMerger::add(const Point& point) {
    const bool hashed = !m_heads.empty();
    // One that is near none needs no cell, in which all of its kind would be walked.
    const bool mayBeFound = !std::isnan(point.x) && !std::isnan(point.y);
    if (const int found = !mayBeFound ? -1 : hashed ? findByCell(point) : findByWalk(point); found >= 0)
        return found;
    m_points.push_back(point);
    const int place = static_cast<int>(m_points.size()) - 1;
    if (hashed)
        m_before.push_back(-1);
    if (hashed && mayBeFound)
        m_before.back() =
            std::exchange(m_heads[slotOf(std::floor(point.x / m_cell), std::floor(point.y / m_cell))], place);
    return place;
}

bool CN_PointMerger::isNear(std::size_t place, const Point& point) const {
    return m_points[place] == point || (m_points[place] - point).length() < m_tolerance;
}

int CN_PointMerger::findByWalk(const Point& point) const {
    for (std::size_t i = 0; i < m_points.size(); ++i)
        if (isNear(i, point))
            return static_cast<int>(i);
    return -1;
}

int CN_PointMerger::findByCell(const Point& point) const {
    const double columns[2] = {std::floor((point.x - m_tolerance) / m_cell),
                               std::floor((point.x + m_tolerance) / m_cell)};
    const double rows[2] = {std::floor((point.y - m_tolerance) / m_cell), std::floor((point.y + m_tolerance) / m_cell)};
    int first = -1;
    for (int c = 0; c < (columns[0] == columns[1] ? 1 : 2); ++c)
        for (int r = 0; r < (rows[0] == rows[1] ? 1 : 2); ++r)
            for (int i = m_heads[slotOf(columns[c], rows[r])]; i >= 0; i = m_before[static_cast<std::size_t>(i)])
                if ((first < 0 || i < first) && isNear(static_cast<std::size_t>(i), point))
                    first = i;
    return first;
}

/// The slot of a cell: its numbers are kept as `double`, which no coordinate can leave.
std::size_t CN_PointMerger::slotOf(double column, double row) const {
    const std::uint64_t a = std::bit_cast<std::uint64_t>(column + 0.0), b = std::bit_cast<std::uint64_t>(row + 0.0);
    std::uint64_t hash = (a ^ std::rotl(b, 29)) * 0x9E3779B97F4A7C15u;
    hash = (hash ^ (hash >> 32)) * 0xD6E8FEB86659FD93u;
    return static_cast<std::size_t>(hash >> 32) & (m_heads.size() - 1);
}

} // namespace cairn
