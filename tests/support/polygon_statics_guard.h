#pragma once

#include "cairn/geometry/polygon/polygon.h"

namespace cairn::test {

/// Puts what polygons share process-wide back to what it was.
class PolygonStaticsGuard {
  public:
    PolygonStaticsGuard() = default;
    ~PolygonStaticsGuard() {
        CN_Polygon::s_dEdgeThickness = m_edgeThickness;
        CN_Polygon::s_bLightmapIDsAreValidAtLoadTime = m_lightmapIDsAreValid;
        CN_Polygon::m_saveFeatures = m_saveFeatures;
        CN_Polygon::m_loadFeatures = m_loadFeatures;
    }
    PolygonStaticsGuard(const PolygonStaticsGuard&) = delete;
    PolygonStaticsGuard& operator=(const PolygonStaticsGuard&) = delete;

  private:
    double m_edgeThickness = CN_Polygon::s_dEdgeThickness;
    bool m_lightmapIDsAreValid = CN_Polygon::s_bLightmapIDsAreValidAtLoadTime;
    unsigned int m_saveFeatures = CN_Polygon::m_saveFeatures;
    unsigned int m_loadFeatures = CN_Polygon::m_loadFeatures;
};

} // namespace cairn::test
