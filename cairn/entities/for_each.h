#pragma once

namespace cairn {

class CN_LevelEntity;

/// Work that `CN_LevelEntity::forEachEntity` does on an entity and each of its descendants.
class CN_ForEach {
  public:
    virtual ~CN_ForEach() = default;
    virtual void operator()(CN_LevelEntity* entity) = 0;
};

/// The const twin of `CN_ForEach`.
class CN_ForEachConst {
  public:
    virtual ~CN_ForEachConst() = default;
    virtual void operator()(const CN_LevelEntity* entity) = 0;
};

} // namespace cairn
