#pragma once

#include "cairn/math/interval2.h"

#include <algorithm>
#include <vector>

namespace cairn {

/// A stretch of a line from which parts are taken.
class CN_FreeStretch {
  public:
    using Interval = M_Interval2Template<double>;

    /// Between `a` and `b`, in either order; no number for an end stays one.
    CN_FreeStretch(double a, double b) : m_whole(b < a ? Interval{b, a} : Interval{a, b}) {}

    /// Takes away what lies between the two places; nothing where one is no number.
    void subtract(double a, double b) {
        const Interval part{std::min(a, b), std::max(a, b)};
        if (part.lower < part.upper)
            m_taken.push_back(part);
    }
    /// What is left, from the lower end on. Cost: n log n for n parts that were taken.
    std::vector<Interval> getFree() const {
        std::vector<Interval> taken = m_taken;
        std::sort(taken.begin(), taken.end(), [](const Interval& a, const Interval& b) { return a.lower < b.lower; });
        std::vector<Interval> free;
        double from = m_whole.lower;
        for (const Interval& part : taken) {
            if (part.lower > from)
                free.push_back({from, std::min(part.lower, m_whole.upper)});
            from = std::max(from, part.upper);
            if (from >= m_whole.upper)
                return free;
        }
        free.push_back({from, m_whole.upper});
        return free;
    }
    /// The sum of the lengths.
    static double lengthOf(const std::vector<Interval>& intervals) {
        double sum = 0;
        for (const Interval& interval : intervals)
            sum += interval.upper - interval.lower;
        return sum;
    }

  private:
    Interval m_whole;
    std::vector<Interval> m_taken; ///< as they came
};

} // namespace cairn
