#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Version of the chunk with an enemy's group and animation.
inline constexpr int CAIRN_LVL_ENTITY_ENEMY_VERSION = 2;

/// A character that the game steers. It belongs to an AI character group, which messages address; the document counts
/// the enemies of each group that it knows.
class CN_LevelEntityEnemy : public CN_UISphereEntity {
  public:
    CN_LevelEntityEnemy();
    CN_LevelEntityEnemy(const CN_LevelEntityEnemy& other);
    CN_LevelEntityEnemy& operator=(const CN_LevelEntityEnemy& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Reads any form. The group enters the document's groups, where the enemy counts only once it is added. The machine
    /// gets the handlers that it lacks.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// A machine with the handlers of enemies, which one that stands already gets, too.
    void createFSM() override;
    I_Color getColor() override;

    const istring& getGroup() const { return m_group; }
    /// Takes one from the old group's count in the document and adds one to the new group's, where the document knows
    /// the groups; a new name must be entered there first. An enemy that is not in a tree yet is counted here and
    /// again when it is added: set the group after that.
    void setGroup(const istring& group);
    const istring& getCustomAnimationName() const { return m_customAnimationName; }
    void setCustomAnimationName(const istring& name) { m_customAnimationName = name; }
    /// Appends the names of all skins of the content database, sorted without regard to case; nothing without one.
    void getSkinsArray(CStringArray& names) const;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
    void loadGroupAndAnimation(F_MemoryFile& file);
    void changeGroupCount(const istring& group, int by);

    istring m_group;               ///< AI character group, empty for none
    istring m_customAnimationName; ///< of the game's content
};

} // namespace cairn
