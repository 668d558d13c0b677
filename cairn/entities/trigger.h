#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// A sphere that sets off its state machine when something in the game touches it.
class CN_LevelEntityTrigger : public CN_UISphereEntity {
  public:
    CN_LevelEntityTrigger();
    CN_LevelEntityTrigger(const CN_LevelEntityTrigger& other);
    CN_LevelEntityTrigger& operator=(const CN_LevelEntityTrigger& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// A machine with the handler of triggers.
    void createFSM() override;
    I_Color getColor() override;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
};

} // namespace cairn
