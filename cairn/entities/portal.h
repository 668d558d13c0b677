#pragma once

#include "cairn/entities/virtual_node.h"

namespace cairn {

/// Stands for one exit polygon of its parent mesh.
class CN_LevelEntityPortal : public CN_VirtualNode {
  public:
    CN_LevelEntityPortal();
    CN_LevelEntityPortal(const CN_LevelEntityPortal& other);
    CN_LevelEntityPortal& operator=(const CN_LevelEntityPortal& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    void generatePointersFromPolygonIndices() override;
    void generatePolygonIndicesFromPointers() override;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();
};

} // namespace cairn
