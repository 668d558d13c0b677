#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Version of the chunk with the radius.
inline constexpr int CAIRN_LVL_ENTITY_FSM_VERSION = 1;

/// A state machine that stands by itself. Its radius is always the same.
class CN_LevelEntityFSM : public CN_UISphereEntity {
  public:
    CN_LevelEntityFSM();
    CN_LevelEntityFSM(const CN_LevelEntityFSM& other);
    CN_LevelEntityFSM& operator=(const CN_LevelEntityFSM& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Passes over the stored radius.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// The entity's name in the content database is not stored.
    void saveEntitySpecificData(F_MemoryFile& file) override;
    I_Color getColor() override;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
};

} // namespace cairn
