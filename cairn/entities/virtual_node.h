#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// An entity that stands for polygons of its parent mesh: a file names them by index, memory by pointer.
class CN_VirtualNode : public CN_LevelEntity {
  public:
    /// Takes the polygons at the stored indices from the parent, which must be a mesh with its polygons.
    virtual void generatePointersFromPolygonIndices() = 0;
    /// Stores the places that the polygons have in their mesh now.
    virtual void generatePolygonIndicesFromPointers() = 0;

  protected:
    using CN_LevelEntity::CN_LevelEntity;
};

} // namespace cairn
