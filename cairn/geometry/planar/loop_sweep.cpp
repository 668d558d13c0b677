#include "cairn/geometry/planar/loop_sweep.h"

#include <algorithm>
#include <iterator>
#include <memory_resource>
#include <set>

namespace cairn {

namespace {

using Point = M_Vector2Template<double>;

/// From left to right, and upward in one column: as if the picture were turned by a hair.
bool isBefore(const Point& a, const Point& b) { return a.x < b.x || (a.x == b.x && a.y < b.y); }

/// Positive where `c` lies to the left of the way from `a` to `b`.
double turn(const Point& a, const Point& b, const Point& c) { return (b - a).cross(c - a); }

/// A line that goes over the picture from left to right, and the sides that it meets from bottom to top.
class Sweep {
  public:
    explicit Sweep(const CN_PlanarLoops& loops)
        : m_loops(loops), m_sides(loops.corners.size()), m_status(Below{this}, &m_room), m_places(loops.corners.size()),
          m_isTurned(static_cast<std::size_t>(loops.count()), UNKNOWN) {
        for (int loop = 0; loop < loops.count(); ++loop)
            for (int corner = loops.first(loop); corner < loops.first(loop + 1); ++corner) {
                const int end = loops.next(loop, corner);
                const bool isForward = isBefore(loops.at(corner), loops.at(end));
                sideAt(corner) = {isForward ? corner : end, isForward ? end : corner, loop, isForward, false};
            }
    }

    /// False where sides cross or touch.
    bool run() {
        std::vector<int> corners(m_loops.corners.size());
        for (std::size_t i = 0; i < corners.size(); ++i)
            corners[i] = static_cast<int>(i);
        std::sort(corners.begin(), corners.end(), [this](int a, int b) {
            return isBefore(m_loops.at(a), m_loops.at(b)) || (m_loops.at(a) == m_loops.at(b) && a < b);
        });
        for (std::size_t i = 1; i < corners.size(); ++i)
            if (m_loops.at(corners[i - 1]) == m_loops.at(corners[i]))
                return false;
        return std::all_of(corners.begin(), corners.end(), [this](int corner) { return pass(corner); });
    }
    /// True for a loop that has what it bounds to the left of its sides.
    bool isTurned(int loop) const { return m_isTurned[static_cast<std::size_t>(loop)] == 1; }

  private:
    static constexpr int UNKNOWN = -1;

    /// A side by the corner that it starts at in its loop.
    struct Side {
        int left, right; ///< corners
        int loop;
        bool isForward;     ///< its loop runs along it from left to right
        bool isInsideAbove; ///< while the line meets it
    };
    /// The order of sides that the line meets; they are named by slots, so that a side can take another's place.
    struct Below {
        Sweep* sweep;
        bool operator()(int a, int b) const { return sweep->isBelow(sweep->m_slots[at(a)], sweep->m_slots[at(b)]); }
    };
    using Status = std::pmr::set<int, Below>;

    static std::size_t at(int place) { return static_cast<std::size_t>(place); }
    Side& sideAt(int side) { return m_sides[at(side)]; }
    const Point& leftOf(const Side& side) const { return m_loops.at(side.left); }
    const Point& rightOf(const Side& side) const { return m_loops.at(side.right); }

    bool isBelow(int a, int b) {
        if (a == b)
            return false;
        const Side &one = sideAt(a), &other = sideAt(b);
        const bool startsEarlier = isBefore(leftOf(one), leftOf(other));
        double up = 0; // of the other side above this one
        if (one.left == other.left)
            up = turn(leftOf(one), rightOf(one), rightOf(other));
        else if (startsEarlier)
            up = turn(leftOf(one), rightOf(one), leftOf(other));
        else
            up = -turn(leftOf(other), rightOf(other), leftOf(one));
        m_isSound = m_isSound && up != 0;
        return up > 0;
    }
    bool meet(int a, int b) {
        const Side &one = sideAt(a), &other = sideAt(b);
        // Sides that end in one corner start apart, or the order would have told.
        if (one.left == other.left || one.right == other.right)
            return false;
        const auto parts = [this](const Side& side, const Side& from) {
            const double first = turn(leftOf(side), rightOf(side), leftOf(from));
            const double second = turn(leftOf(side), rightOf(side), rightOf(from));
            return (first > 0 && second > 0) || (first < 0 && second < 0);
        };
        return !parts(one, other) && !parts(other, one);
    }
    /// False where the two sides around a place of the status meet.
    bool isFreeBefore(Status::iterator place) {
        return place == m_status.begin() || place == m_status.end() ||
               !meet(m_slots[at(*std::prev(place))], m_slots[at(*place)]);
    }
    bool isFreeAround(Status::iterator place) { return isFreeBefore(place) && isFreeBefore(std::next(place)); }

    /// Takes the line over a corner.
    bool pass(int corner) {
        const auto after = std::upper_bound(m_loops.firsts.begin(), m_loops.firsts.end(), corner);
        const int loop = static_cast<int>(after - m_loops.firsts.begin()) - 1;
        const int in = m_loops.prev(loop, corner), out = corner;
        const bool inEnds = sideAt(in).right == corner, outEnds = sideAt(out).right == corner;
        if (inEnds && outEnds)
            return close(in, out);
        if (!inEnds && !outEnds)
            return open(in, out);
        return inEnds ? replace(in, out) : replace(out, in);
    }
    bool open(int a, int b) {
        const double up = turn(leftOf(sideAt(a)), rightOf(sideAt(a)), rightOf(sideAt(b)));
        if (up == 0)
            return false;
        const int lower = up > 0 ? a : b, upper = up > 0 ? b : a;
        const Status::iterator place = insert(lower);
        if (!m_isSound)
            return false;
        const bool isInside = place != m_status.begin() && sideAt(m_slots[at(*std::prev(place))]).isInsideAbove;
        insert(upper);
        sideAt(lower).isInsideAbove = !isInside;
        sideAt(upper).isInsideAbove = isInside;
        if (int& isTurned = m_isTurned[at(sideAt(lower).loop)]; isTurned == UNKNOWN)
            isTurned = sideAt(lower).isForward == !isInside ? 1 : 0;
        return m_isSound && isFreeBefore(place) && std::next(place) == m_places[at(upper)] &&
               isFreeBefore(std::next(m_places[at(upper)]));
    }
    bool close(int a, int b) {
        const Status::iterator one = m_places[at(a)], other = m_places[at(b)];
        if (std::next(one) != other && std::next(other) != one)
            return false;
        m_status.erase(one);
        return isFreeBefore(m_status.erase(other));
    }
    bool replace(int old, int side) {
        sideAt(side).isInsideAbove = sideAt(old).isInsideAbove;
        m_places[at(side)] = m_places[at(old)];
        m_slots[at(*m_places[at(old)])] = side;
        return isFreeAround(m_places[at(side)]);
    }
    Status::iterator insert(int side) {
        m_slots.push_back(side);
        return m_places[at(side)] = m_status.insert(static_cast<int>(m_slots.size()) - 1).first;
    }

    const CN_PlanarLoops& m_loops;
    std::vector<Side> m_sides; ///< by the corner they start at
    std::vector<int> m_slots;  ///< the side that is in each
    std::pmr::monotonic_buffer_resource m_room;
    Status m_status;                        ///< slots of the sides that the line meets, from bottom to top
    std::vector<Status::iterator> m_places; ///< in the status, by side
    std::vector<int> m_isTurned;            ///< of each loop, `UNKNOWN` before the line comes to it
    bool m_isSound = true;                  ///< no two sides were found to touch by their order
};

/// 1 for a convex loop that runs counter-clockwise, -1 for one that runs clockwise, else 0.
int turnOfConvex(const CN_PlanarLoops& loops, int loop) {
    bool turnsLeft = false, turnsRight = false;
    int ends = 0; // corners where the loop turns round from left to right or back
    for (int corner = loops.first(loop); corner < loops.first(loop + 1); ++corner) {
        const Point &before = loops.at(loops.prev(loop, corner)), &at = loops.at(corner),
                    &after = loops.at(loops.next(loop, corner));
        const double way = turn(before, at, after);
        turnsLeft |= way > 0;
        turnsRight |= way < 0;
        ends += isBefore(before, at) != isBefore(at, after) ? 1 : 0;
    }
    return ends != 2 || turnsLeft == turnsRight ? 0 : turnsLeft ? 1 : -1;
}

void reverse(CN_PlanarLoops& loops, int loop) {
    std::reverse(loops.corners.begin() + loops.first(loop), loops.corners.begin() + loops.first(loop + 1));
}

} // namespace

bool CN_turnLoops(CN_PlanarLoops& loops) {
    if (const int way = loops.count() == 1 ? turnOfConvex(loops, 0) : 0; way != 0) {
        if (way > 0)
            reverse(loops, 0);
        return true;
    }
    Sweep sweep(loops);
    if (!sweep.run())
        return false;
    for (int loop = 0; loop < loops.count(); ++loop)
        if (sweep.isTurned(loop))
            reverse(loops, loop);
    return true;
}

} // namespace cairn
