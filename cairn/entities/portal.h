#pragma once

#include "cairn/entities/virtual_node.h"

namespace cairn {

/// Version of the chunk with the portal's polygon index and settings.
inline constexpr int CAIRN_LVL_ENTITY_PORTAL_VERSION = 3;

/// Stands for one exit polygon of its parent mesh.
class CN_LevelEntityPortal : public CN_PolygonNode {
  public:
    CN_LevelEntityPortal();
    CN_LevelEntityPortal(const CN_LevelEntityPortal& other);
    CN_LevelEntityPortal& operator=(const CN_LevelEntityPortal& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// Throws where the portal is not storable.
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// Also logs what it has found.
    void generatePolygonIndicesFromPointers() override;

    CN_Polygon* getPortalPolygon() const { return getPolygon(); }
    /// Stores the polygon, which may be null, and makes this its attached entity.
    void setPortalPolygon(CN_Polygon* polygon) { setPolygon(polygon); }
    /// Two settings of the game, kept and stored.
    bool isIgnoredInGIS() const { return m_ignoreInGIS; }
    void setIgnoreInGIS(bool ignore) { m_ignoreInGIS = ignore; }
    bool isAlwaysClosed() const { return m_alwaysClosed; }
    void setAlwaysClosed(bool closed) { m_alwaysClosed = closed; }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    bool m_ignoreInGIS = false;  ///< for the game
    bool m_alwaysClosed = false; ///< for the game
};

} // namespace cairn
