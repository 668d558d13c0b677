#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Version of the empty chunk behind the sphere's record.
inline constexpr int CAIRN_LVL_ENTITY_FLARE_VERSION = 1;

/// A lens flare of the content database.
class CN_LevelEntityFlare : public CN_UISphereEntity {
  public:
    CN_LevelEntityFlare();
    CN_LevelEntityFlare(const CN_LevelEntityFlare& other);
    CN_LevelEntityFlare& operator=(const CN_LevelEntityFlare& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    I_Color getColor() override;

    /// Appends the names of all flares of the content database, sorted without regard to case; nothing without one.
    void getFlareArray(CStringArray& names) const;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
};

} // namespace cairn
