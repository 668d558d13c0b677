#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

class CN_LevelEntityPrefabContent;

/// A reusable group of entities that stands in a level as one object. The group itself hangs below its content child.
class CN_LevelEntityPrefab : public CN_UISphereEntity {
  public:
    CN_LevelEntityPrefab();
    /// A copy is editable and has no content.
    CN_LevelEntityPrefab(const CN_LevelEntityPrefab& other);
    /// Copies the content pointer as it stands: it then names a child of the other prefab.
    CN_LevelEntityPrefab& operator=(const CN_LevelEntityPrefab& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Reads the record and its children; the first prefab content among these becomes the content.
    void load(F_MemoryFile& file) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// Lets go of the content where it is the child that leaves.
    void remove(CN_LevelEntity* child) override;
    I_Color getColor() override;

    /// A prefab that is not editable shows and moves as a unit.
    bool isEditable() const { return m_editable; }
    void setEditable(bool editable) { m_editable = editable; }
    const istring& getPrefabType() const { return m_prefabType; }
    void setPrefabType(const istring& type) { m_prefabType = type; }
    /// The child that holds the group, or null.
    const CN_LevelEntityPrefabContent* getPrefabContent() const { return m_content; }
    CN_LevelEntityPrefabContent* accessPrefabContent() { return m_content; }
    /// Makes the content, in the prefab's place and with its settings, and adds it as a child: who is told of that sees
    /// it as the content already.
    void createPrefabContent();

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();

    bool m_editable = true;                           ///< its content may be changed on its own
    istring m_prefabType;                             ///< name of the host's
    CN_LevelEntityPrefabContent* m_content = nullptr; ///< not owned: a child
};

} // namespace cairn
