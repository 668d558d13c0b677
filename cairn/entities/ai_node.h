#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Belongs to no chunk: the kind has no record of its own.
inline constexpr int CAIRN_LVL_ENTITY_AINODE_VERSION = 1;

/// A node of the net that characters find their way by.
/// Neither its radius nor its content name is stored.
class CN_LevelEntityAINode : public CN_UISphereEntity {
  public:
    CN_LevelEntityAINode();
    CN_LevelEntityAINode(const CN_LevelEntityAINode& other);
    CN_LevelEntityAINode& operator=(const CN_LevelEntityAINode& other);

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
