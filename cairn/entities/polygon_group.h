#pragma once

#include "cairn/entities/virtual_node.h"

namespace cairn {

/// A named set of polygons of its parent mesh.
class CN_LevelEntityPolygonGroup : public CN_VirtualNode {
  public:
    CN_LevelEntityPolygonGroup();
    CN_LevelEntityPolygonGroup(const CN_LevelEntityPolygonGroup& other);
    CN_LevelEntityPolygonGroup& operator=(const CN_LevelEntityPolygonGroup& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    void generatePointersFromPolygonIndices() override;
    void generatePolygonIndicesFromPointers() override;

  protected:
    bool onCanAdd(int entityId) override;
};

} // namespace cairn
