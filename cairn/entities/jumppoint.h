#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Belongs to no chunk: the kind has no record of its own.
inline constexpr int CAIRN_LVL_ENTITY_JUMPPOINT_VERSION = 1;

/// A place that the player can be put at.
/// Neither its radius nor its content name is stored.
class CN_LevelEntityJumppoint : public CN_UISphereEntity {
  public:
    CN_LevelEntityJumppoint();
    CN_LevelEntityJumppoint(const CN_LevelEntityJumppoint& other);
    CN_LevelEntityJumppoint& operator=(const CN_LevelEntityJumppoint& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    I_Color getColor() override;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
};

} // namespace cairn
