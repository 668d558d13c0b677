#include "cairn/geometry/planar/side_splitter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace cairn {

namespace {

using Point = M_Vector2Template<double>;
using Points = std::vector<Point>;

constexpr int NONE = std::numeric_limits<int>::max(); // behind every place

/// Points by one of their coordinates. Of those in a range of it, the one with the lowest place is found without a look at
/// the others.
class Ranking {
  public:
    Ranking(const Points& points, double Point::*coordinate) : m_points(points), m_coordinate(coordinate) {
        for (std::size_t i = 0; i < points.size(); ++i)
            if (std::isfinite(points[i].x) && std::isfinite(points[i].y))
                m_order.push_back(static_cast<int>(i));
        std::stable_sort(m_order.begin(), m_order.end(), [this](int a, int b) { return of(a) < of(b); });
        m_leaves = std::bit_ceil(std::max<std::size_t>(m_order.size(), 1));
        m_least.assign(2 * m_leaves, NONE);
        std::copy(m_order.begin(), m_order.end(), m_least.begin() + static_cast<std::ptrdiff_t>(m_leaves));
        for (std::size_t node = m_leaves - 1; node > 0; --node)
            m_least[node] = std::min(m_least[2 * node], m_least[2 * node + 1]);
    }

    /// Positions in the ranking.
    struct Range {
        std::size_t begin = 0, end = 0;
        std::size_t size() const { return end > begin ? end - begin : 0; }
    };
    /// Where the points from `low` to `high` stand.
    Range range(double low, double high) const {
        const auto begin = std::lower_bound(m_order.begin(), m_order.end(), low,
                                            [this](int p, double limit) { return of(p) < limit; });
        const auto end = std::upper_bound(m_order.begin(), m_order.end(), high,
                                          [this](double limit, int p) { return limit < of(p); });
        return {static_cast<std::size_t>(begin - m_order.begin()), static_cast<std::size_t>(end - m_order.begin())};
    }
    /// The lowest place of a range that is accepted; `NONE` for none.
    template <class Accept> int findFirst(const Range& range, const Accept& accept) const {
        return findFirst(range, accept, 1, {0, m_leaves}, NONE);
    }

  private:
    double of(int point) const { return m_points[static_cast<std::size_t>(point)].*m_coordinate; }

    /// The same for the part of the range under a node, which spans `span`; `best` where there is none ahead of it.
    template <class Accept>
    int findFirst(const Range& range, const Accept& accept, std::size_t node, const Range& span, int best) const {
        const int least = m_least[node];
        if (range.end <= span.begin || span.end <= range.begin || least >= best)
            return best;
        if (span.size() == 1)
            return accept(least) ? least : best;
        const std::size_t middle = span.begin + span.size() / 2, left = 2 * node, right = left + 1;
        const auto search = [&](bool below, int found) {
            return below ? findFirst(range, accept, left, {span.begin, middle}, found)
                         : findFirst(range, accept, right, {middle, span.end}, found);
        };
        // Where the lowest place is, others are hardly looked at.
        const bool leftFirst = m_least[left] < m_least[right];
        return search(!leftFirst, search(leftFirst, best));
    }

    const Points& m_points;
    double Point::*m_coordinate;
    std::vector<int> m_order; ///< places of the points, by the coordinate
    std::size_t m_leaves;     ///< a power of two, no fewer than the points
    std::vector<int> m_least; ///< the lowest place under each node of a tree over the order: the root is 1
};

class Splitting {
  public:
    Splitting(const Points& points, double tolerance)
        : m_points(points), m_tolerance(tolerance), m_byX(points, &Point::x), m_byY(points, &Point::y),
          m_splitAt(points.size(), -1) {}

    std::vector<CN_Side> run(const std::vector<CN_Side>& sides) {
        std::vector<CN_Side> parts;
        parts.reserve(sides.size());
        for (const CN_Side& side : sides) {
            ++m_side;
            std::vector<CN_Side> open{side};
            while (!open.empty()) {
                const CN_Side next = open.back();
                open.pop_back();
                const int point = findPointOn(next);
                if (point == NONE) {
                    parts.push_back(next);
                    continue;
                }
                m_splitAt[static_cast<std::size_t>(point)] = m_side;
                open.push_back({point, next.to, next.contour});
                open.push_back({next.from, point, next.contour});
            }
        }
        return parts;
    }

  private:
    const Point& at(int place) const { return m_points[static_cast<std::size_t>(place)]; }

    int findPointOn(const CN_Side& side) const {
        const Point &from = at(side.from), &to = at(side.to);
        const double length = (to - from).length();
        if (!(length >= 2 * m_tolerance))
            return NONE;
        const Point direction = (to - from) * (1 / length);
        const auto liesOn = [&](int place) {
            if (place == side.from || place == side.to)
                return false;
            const Point apart = at(place) - from;
            const double along = apart.dot(direction);
            // Two points that are near to one another would split a side for ever.
            return std::fabs(apart.cross(direction)) < 2 * m_tolerance && along >= m_tolerance &&
                   along <= length - m_tolerance && m_splitAt[static_cast<std::size_t>(place)] != m_side;
        };
        // Candidates stand in the side's range of x or of y, whichever holds fewer.
        const double aside = 2 * m_tolerance;
        const Ranking::Range inX = m_byX.range(std::min(from.x, to.x) - aside, std::max(from.x, to.x) + aside);
        const Ranking::Range inY = m_byY.range(std::min(from.y, to.y) - aside, std::max(from.y, to.y) + aside);
        return inY.size() < inX.size() ? m_byY.findFirst(inY, liesOn) : m_byX.findFirst(inX, liesOn);
    }

    const Points& m_points;
    double m_tolerance;
    Ranking m_byX, m_byY;
    std::vector<int> m_splitAt; ///< of each point, the last side it split, -1 for none
    int m_side = -1;            ///< number of the side at hand
};

} // namespace

std::vector<CN_Side> CN_splitSides(const Points& points, const std::vector<CN_Side>& sides, double tolerance) {
    return Splitting(points, tolerance).run(sides);
}

} // namespace cairn
