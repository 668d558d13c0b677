#include "cairn/geometry/weld_clusters.h"

#include "cairn/geometry/point_grid.h"

#include <algorithm>

namespace cairn {

namespace {

/// Tells the clusters one after the other; a stack stands in for recursion, which may be as deep as there are points.
class Clusterer {
  public:
    Clusterer(const std::vector<CN_PointGrid::Vector>& points, double radius)
        : m_grid(points, radius), m_mostNear(points.size()) {}

    CN_WeldClusters tellAll(unsigned int largest) {
        m_told.members.reserve(m_mostNear.size());
        for (unsigned int point = 0; point < m_mostNear.size(); ++point)
            if (m_grid.isLeft(point))
                tellFrom(point);
        m_told.begins.push_back(m_told.members.size());
        // Only a point with that many around it can have more near it than any before.
        for (unsigned int point = 0; point < m_mostNear.size(); ++point)
            if (m_mostNear[point] > largest)
                if (const unsigned int near = m_grid.countNear(point); near > largest)
                    m_told.records.push_back(largest = near);
        return std::move(m_told);
    }

  private:
    void tellFrom(unsigned int first) {
        std::vector<int>& members = m_told.members;
        const std::size_t begin = members.size();
        m_told.begins.push_back(begin);
        CN_PointGrid::Search search = m_grid.search(first);
        m_mostNear[first] = search.most;
        m_grid.takeAll(search, members);
        if (search.cells > 1)
            std::sort(members.begin() + static_cast<std::ptrdiff_t>(begin), members.end());
        const std::size_t near = members.size();
        for (std::size_t i = begin + 1; i < near; ++i)
            tellNear(static_cast<unsigned int>(members[i]));
    }

    void tellNear(unsigned int point) {
        open(point);
        while (!m_open.empty()) {
            const unsigned int next = m_grid.takeNext(m_open.back());
            if (next == CN_PointGrid::NONE) {
                m_open.pop_back();
                continue;
            }
            m_told.members.push_back(static_cast<int>(next));
            open(next);
        }
    }

    void open(unsigned int point) {
        const CN_PointGrid::Search search = m_grid.search(point);
        m_mostNear[point] = search.most;
        if (search.cells > 0)
            m_open.push_back(search);
    }

    CN_PointGrid m_grid;
    std::vector<unsigned int> m_mostNear;     ///< of each point: no more than these lie near it
    std::vector<CN_PointGrid::Search> m_open; ///< for what lies near points that were told, the last one on top
    CN_WeldClusters m_told;
};

} // namespace

CN_WeldClusters CN_findWeldClusters(const std::vector<M_Vector3Template<double>>& points, double radius,
                                    unsigned int largest) {
    if (!(radius > 0))
        return {{}, {0}, {}};
    return Clusterer(points, radius).tellAll(largest);
}

} // namespace cairn
