#pragma once

namespace cairn {

class F_MemoryFile;

/// Twelve numbers that a host keeps about what it saves: the library stores them and asks for none.
class CN_SaveFeatures {
  public:
    unsigned int getLevelSaveFeat() const { return m_level; }
    unsigned int getMeshSaveFeat() const { return m_mesh; }
    unsigned int getPrefabSaveFeat() const { return m_prefab; }
    unsigned int getFsmSaveFeat() const { return m_fsm; }
    unsigned int getTriggerSaveFeat() const { return m_trigger; }
    unsigned int getWaypointSaveFeat() const { return m_waypoint; }
    unsigned int getJumppointSaveFeat() const { return m_jumppoint; }
    unsigned int getEnemySaveFeat() const { return m_enemy; }
    unsigned int getDynLightSaveFeat() const { return m_dynLight; }
    unsigned int getPolyGroupSaveFeat() const { return m_polyGroup; }
    unsigned int getRadiosityLightSaveFeat() const { return m_radiosityLight; }
    unsigned int getPortalSaveFeat() const { return m_portal; }

    /// The twelve numbers, without a chunk about them.
    void saveFeatures(F_MemoryFile& file) const;
    /// Reads what `saveFeatures` wrote; throws where the file ends before, and keeps the numbers it had then.
    void loadFeatures(F_MemoryFile& file);

  private:
    unsigned int m_level = 0, m_mesh = 0, m_prefab = 0, m_fsm = 0, m_trigger = 0, m_waypoint = 0, m_jumppoint = 0,
                 m_enemy = 0, m_dynLight = 0, m_polyGroup = 0, m_radiosityLight = 0, m_portal = 0;
};

} // namespace cairn
