#pragma once

#include "cairn/entities/trigger_properties.h"
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
    /// A machine with the handler of triggers, where there is none: one that was read without the handler stays so.
    void createFSM() override;
    I_Color getColor() override;
    /// The settings' radius is the sphere's, always.
    void setRadius(double radius) override;

    const CN_TriggerProperties& getTriggerProperties() const { return m_properties; }
    /// Takes the settings over, and their radius as the sphere's.
    void setTriggerProperties(const CN_TriggerProperties& properties);
    bool isPlayerTrigger() const { return m_properties.playerTrigger; }
    void setPlayerTrigger(bool trigger) { m_properties.playerTrigger = trigger; }
    bool isUseTrigger() const { return m_properties.useTrigger; }
    void setUseTrigger(bool trigger) { m_properties.useTrigger = trigger; }
    bool isEnemyTrigger() const { return m_properties.enemyTrigger; }
    void setEnemyTrigger(bool trigger) { m_properties.enemyTrigger = trigger; }
    bool isBulletTrigger() const { return m_properties.bulletTrigger; }
    void setBulletTrigger(bool trigger) { m_properties.bulletTrigger = trigger; }
    bool isLookAtTrigger() const { return m_properties.lookAtTrigger; }
    void setLookAtTrigger(bool trigger) { m_properties.lookAtTrigger = trigger; }
    bool isVisibilityTrigger() const { return m_properties.visibilityTrigger; }
    void setVisibilityTrigger(bool trigger) { m_properties.visibilityTrigger = trigger; }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();

    CN_TriggerProperties m_properties; ///< what sets it off
};

} // namespace cairn
