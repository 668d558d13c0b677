#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/imaging/color.h"

namespace cairn {

/// Version of the chunk with the player's group.
inline constexpr int CAIRN_LVL_ENTITY_PLAYER_VERSION = 1;

/// The player's place in the level, one a level. It is always visible.
class CN_LevelEntityPlayer : public CN_LevelEntity {
  public:
    CN_LevelEntityPlayer();
    CN_LevelEntityPlayer(const CN_LevelEntityPlayer& other);
    CN_LevelEntityPlayer& operator=(const CN_LevelEntityPlayer& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Passes over the stored group. The machine gets the handlers that it lacks.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// Does nothing.
    void setVisible(bool visible) override;
    /// A machine with the handlers of players, which one that stands already gets, too.
    void createFSM() override;

    virtual I_Color getColor();
    const istring& getGroup() const { return m_group; }
    /// Does nothing: the player's group is always the same.
    void setGroup(const istring& group);

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();

    istring m_group; ///< AI character group
};

} // namespace cairn
