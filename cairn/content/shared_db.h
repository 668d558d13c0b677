#pragma once

#include "cairn/content/kinds.h"
#include "cairn/content/shared_db_items.h"

#include <memory>
#include <vector>

namespace cairn {

/// The content database: the names of everything that a level may refer to. It is read whole, out of one file of the
/// form that docs/content_database.md tells, and stands still from then on; the file is closed again.
class Y_SharedDB {
  public:
    /// Reads the database at `path`; "" and ":memory:" give an empty one. With `verify` the structure of the whole file
    /// is checked first. Throws an `F_Exception*` with path and reason where the file is missing, damaged, foreign or
    /// being written. What it allocates is bounded by the size of the file.
    Y_SharedDB(const string& path, bool verify);
    ~Y_SharedDB();
    Y_SharedDB(const Y_SharedDB&) = delete;
    Y_SharedDB& operator=(const Y_SharedDB&) = delete;

    /// @name Containers
    /// Valid as long as the database and never null, but for skins and skeletons: theirs are null where the file has no
    /// table of them.
    /// @{
    const Y_SharedDBCameraPathContainer* getCameraPathContainer() const { return &m_cameraPaths; }
    const Y_SharedDBStoryPageContainer* getStoryPageContainer() const { return &m_storyPages; }
    const Y_SharedDBLevelContainer* getLevelContainer() const { return &m_levels; }
    const Y_SharedDBMessageBatchContainer* getMessageBatchContainer() const { return &m_messageBatches; }
    const Y_SharedDBMusicContainer* getMusicContainer() const { return &m_music; }
    const Y_SharedDBParticleContainer* getParticleContainer() const { return &m_particles; }
    const Y_SharedDBProjectileContainer* getProjectileContainer() const { return &m_projectiles; }
    const Y_SharedDBWeaponContainer* getWeaponContainer() const { return &m_weapons; }
    const Y_SharedDBSkinContainer* getSkinContainer() const { return m_skins.get(); }
    const Y_SharedDBSoundCategoryContainer* getSoundCategoryContainer() const { return &m_soundCategories; }
    const Y_SharedDBSoundEnvironmentContainer* getSoundEnvironmentContainer() const { return &m_soundEnvironments; }
    const Y_SharedDBLevelItemContainer* getLevelItemContainer() const { return &m_levelItems; }
    const Y_SharedDBStoryEventContainer* getStoryEventContainer() const { return &m_storyEvents; }
    const Y_SharedDBFlareContainer* getFlareContainer() const { return &m_flares; }
    const Y_SharedDBPhysicalMaterialContainer* getPhysicalMaterialContainer() const { return &m_physicalMaterials; }
    const Y_SharedDBSurfaceMaterialContainer* getSurfaceMaterialContainer() const { return &m_surfaceMaterials; }
    const Y_SharedDBSkeletonContainer* getSkeletonContainer() const { return m_skeletons.get(); }
    /// @}

    /// The names of one kind, in the order in which the database got them: bones skeleton by skeleton, animations skin
    /// by skin.
    std::vector<string> getNames(Y_SharedDBKind kind) const;

  private:
    friend class Y_SharedDBReader;

    Y_SharedDBCameraPathContainer m_cameraPaths;
    Y_SharedDBStoryPageContainer m_storyPages;
    Y_SharedDBLevelContainer m_levels;
    Y_SharedDBMessageBatchContainer m_messageBatches;
    Y_SharedDBMusicContainer m_music;
    Y_SharedDBParticleContainer m_particles;
    Y_SharedDBProjectileContainer m_projectiles;
    Y_SharedDBWeaponContainer m_weapons;
    std::unique_ptr<Y_SharedDBSkinContainer> m_skins; ///< null where the file has no table of skins
    Y_SharedDBSoundCategoryContainer m_soundCategories;
    Y_SharedDBSoundEnvironmentContainer m_soundEnvironments;
    Y_SharedDBLevelItemContainer m_levelItems;
    Y_SharedDBStoryEventContainer m_storyEvents;
    Y_SharedDBFlareContainer m_flares;
    Y_SharedDBPhysicalMaterialContainer m_physicalMaterials;
    Y_SharedDBSurfaceMaterialContainer m_surfaceMaterials;
    std::unique_ptr<Y_SharedDBSkeletonContainer> m_skeletons; ///< null where the file has no table of skeletons
};

} // namespace cairn
