#include "cairn/geometry/polygon/polygon.h"

namespace cairn {

void CN_Polygon::updatePointOnPlane() {
    if (m_edgeList.empty())
        return;
    Vector sum;
    for (const CN_Edge& edge : m_edgeList)
        sum += edge.getLocal(0);
    m_pointOnPlane = sum / static_cast<double>(m_edgeList.count());
}

M_Plane3Template<double> CN_Polygon::getPlane() const { return {m_normal, m_pointOnPlane}; }

} // namespace cairn
