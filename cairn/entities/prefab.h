#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

class CN_LevelEntityPrefabContent;
class CN_Selection;

/// Version of the chunk with a prefab's settings. Prefabs of earlier versions cannot be read.
inline constexpr int CAIRN_LVL_ENTITY_PREFAB_VERSION = 3;

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
    /// Throws a `CN_Document_Exception_InvalidPrefabFormat*` for a chunk of version 2 or below.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// The entity's name in the content database is not stored.
    void saveEntitySpecificData(F_MemoryFile& file) override;
    I_Color getColor() override;

    /// A prefab that is not editable shows and moves as a unit.
    bool isEditable() const { return m_editable; }
    void setEditable(bool editable) { m_editable = editable; }
    const istring& getPrefabType() const { return m_prefabType; }
    void setPrefabType(const istring& type) { m_prefabType = type; }
    /// The child that holds the group, also when it has been taken out of the tree; null once it is destroyed.
    const CN_LevelEntityPrefabContent* getPrefabContent() const { return m_content.get(); }
    CN_LevelEntityPrefabContent* accessPrefabContent() { return m_content.get(); }
    /// Makes the content, in the prefab's place and with its settings, and adds it as a child: who is told of that sees
    /// it as the content already.
    void createPrefabContent();
    /// Adds the content to the selection or removes it; where the prefab is not editable, then all below the content,
    /// too, in pre-order. Nothing happens without a content.
    void addContentToSelection(bool add, CN_Selection* selection);

  protected:
    bool onCanAdd(int entityId) override;

  private:
    /// A content that may die on its own.
    class Content {
      public:
        Content() = default;
        explicit Content(CN_LevelEntityPrefabContent* content);
        /// Null once the content has been destroyed.
        CN_LevelEntityPrefabContent* get() const;

      private:
        CN_LevelEntityPrefabContent* m_content = nullptr; ///< not owned
        std::uint32_t m_processNumber = 0;                ///< of the content: its address may come to be another's
    };

    void initializeMembers();

    bool m_editable = true; ///< its content may be changed on its own
    istring m_prefabType;   ///< name of the host's
    Content m_content;      ///< a child
};

} // namespace cairn
