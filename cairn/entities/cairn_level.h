#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// The root of a level's tree.
class CN_CairnLevel : public CN_LevelEntity {
  public:
    CN_CairnLevel();
    CN_CairnLevel(const CN_CairnLevel& other);
    CN_CairnLevel& operator=(const CN_CairnLevel& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;

    const ChildList& getTopLevelChildren() const { return getChildren(); }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();
};

} // namespace cairn
