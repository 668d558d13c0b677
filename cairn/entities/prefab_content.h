#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// The group of entities of a prefab, whose child it is.
class CN_LevelEntityPrefabContent : public CN_LevelEntity {
  public:
    CN_LevelEntityPrefabContent();
    CN_LevelEntityPrefabContent(const CN_LevelEntityPrefabContent& other);
    CN_LevelEntityPrefabContent& operator=(const CN_LevelEntityPrefabContent& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Passes over the chunk that older files may have here.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;

    /// Takes the prefab's place in the world, its general properties and the name "prefab". For a content that is not
    /// in the tree yet.
    void coincideWith(const CN_LevelEntity& prefab);
    /// Makes the bounding box that of all below it, the nodes that stand for a part of a mesh left out; the unset box
    /// where nothing has one.
    void calculateBoundingBox();

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();
};

} // namespace cairn
