#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

class CN_LevelEntity;
class F_MemoryFile;

/// Version of the chunk that holds a mesh's settings.
inline constexpr int CAIRN_LVL_MESHPROPERTIES_VERSION = 6;

/// The game's settings of a mesh. What has no effect told here is stored for the game.
class CN_MeshProperties {
  public:
    CN_MeshProperties() = default;
    CN_MeshProperties(const CN_MeshProperties&) = default;
    CN_MeshProperties& operator=(const CN_MeshProperties&) = default;
    virtual ~CN_MeshProperties() = default;
    bool operator==(const CN_MeshProperties& other) const;

    /// The chunk of the settings.
    void save(F_MemoryFile& file) const;
    /// Reads settings as they stand in a mesh's record of that version: below 6 bare, from 6 on in a chunk of their
    /// own. An empty physical material is replaced by the content database's default where there is a database. Throws on
    /// damage.
    void load(F_MemoryFile& file, int meshVersion);

    /// Copies `collideA` into `collideB` and `collideC`: what older files mean for a mesh that stands still.
    void initStaticMeshCollisionFlags();
    /// The content database's default physical material, where there is a database.
    void setDefaultPhysicalMaterial();
    /// Checks the physical material's name against the content database, or takes its default for an empty name;
    /// nothing without a database.
    void setAndCheckPhysicalMaterial();
    /// True if the game is to collide with the bounding box alone: for a null entity the stored flag, else never where
    /// collision A or C is off, below another mesh, and for a room.
    bool getBoundingBoxHull(const CN_LevelEntity* entity) const;
    void setBoundingBoxHull(bool hull) { boundingBoxHull = hull; }

    bool lightDynamic = false; ///< a dynamic mesh is lit only where this is set
    bool meshFlagA = false;
    bool meshFlagB = false;
    bool collideA = true; ///< copied into the other two in older files of meshes that stand still
    bool collideB = true; ///< always set on a mesh with exits, as the others
    bool collideC = true;
    bool meshFlagD = true;
    bool meshFlagC = false;
    bool meshFlagE = false;
    bool meshFlagF = false;
    bool meshFlagG = false;
    bool meshFlagH = false;
    bool meshFlagI = false;
    string secondaryName;
    string physicalMaterial; ///< a name in the content database

  private:
    bool boundingBoxHull = false; ///< see `getBoundingBoxHull`
};

} // namespace cairn
