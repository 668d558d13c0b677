#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// A level item of the content database. Its radius is always the same.
class CN_LevelEntityItem : public CN_UISphereEntity {
  public:
    CN_LevelEntityItem();
    CN_LevelEntityItem(const CN_LevelEntityItem& other);
    CN_LevelEntityItem& operator=(const CN_LevelEntityItem& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Reads the sphere's record and sets the radius of all items, whatever the file says.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    I_Color getColor() override;

    /// Appends the names of all level items of the content database, sorted without regard to case; nothing without
    /// one.
    void getItemsArray(CStringArray& names) const;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
};

} // namespace cairn
