#pragma once

#include "cairn/content/shared_db.h"
#include "cairn/foundation/strings.h"

#include <map>
#include <set>
#include <vector>

namespace cairn {

/// The process's one view of the content database: knows which names are valid, and what stands in the place of those
/// that are not. Without an instance the library works too, and takes every name as it comes.
class CN_SharedDB : public Y_SharedDB {
  public:
    /// Asked for each unknown name, once per database: `name` as the level gave it, `replacement`, which holds the name
    /// too and takes the answer, and `candidates`, the valid names in the order of the set.
    using RemapNameCallback = void (*)(const string& name, string& replacement,
                                       std::vector<string, F_Allocator<string>>& candidates);

    /// The instance, or null; never creates one.
    static CN_SharedDB* instance();
    /// Destroys the instance there may be, then opens the database at the library's path. Gives the new instance, which
    /// has no callback and remembers nothing, or null where the database cannot be opened or the host has set no path
    /// callback: a message box has told why then. Where memory lacks that is thrown, and there is none.
    static CN_SharedDB* createInstance();
    /// Destroys the instance, if there is one.
    static void deleteInstance();

    /// Both arguments go to `Y_SharedDB`. The sets of names stay empty: `createInstance` fills them.
    CN_SharedDB(const string& path, bool verify);

    /// The one way to have names replaced; null for none.
    void setRemapNameCallback(RemapNameCallback callback) { m_remapNameCallback = callback; }

    /// @name Checking
    /// `out` becomes the name, in the level's spelling, where the database knows it without regard to case; else what
    /// the callback put in its place, now or when it was asked before; without a callback the name, and nothing is
    /// remembered. `name` and `out` may be the same object. Whatever the callback throws goes on, and nothing is
    /// remembered.
    /// @{
    /// `kind` is an entity type: 100 (physical material of a mesh), 109 (level item), 110 (skin of an enemy) or
    /// 119 (flare). With any other every name is valid.
    void getCheckedSharedDBName(int kind, const string& name, string& out);
    /// For the name of a use animation. "Default" is always valid.
    void getCheckedUseAnimName(const string& name, string& out);
    /// @}

    /// `out` becomes the name of the database's first physical material, "" where it has none.
    void getDefaultPhysicalMaterial(string& out) const;

    /// @name Valid names
    /// Without regard to case, in the spelling of the first of those that differ in nothing else.
    /// @{
    const std::set<istring>& getCameraPaths() const { return m_cameraPaths; }
    const std::set<istring>& getStoryPages() const { return m_storyPages; }
    const std::set<istring>& getLevels() const { return m_levels; }
    const std::set<istring>& getMessageBatches() const { return m_messageBatches; }
    const std::set<istring>& getMusic() const { return m_music; }
    const std::set<istring>& getParticles() const { return m_particles; }
    const std::set<istring>& getProjectiles() const { return m_projectiles; }
    const std::set<istring>& getWeapons() const { return m_weapons; }
    const std::set<istring>& getSkins() const { return m_skins; }
    const std::set<istring>& getSoundCategories() const { return m_soundCategories; }
    const std::set<istring>& getSoundEnvironments() const { return m_soundEnvironments; }
    const std::set<istring>& getLevelItems() const { return m_levelItems; }
    const std::set<istring>& getStoryEvents() const { return m_storyEvents; }
    const std::set<istring>& getFlares() const { return m_flares; }
    const std::set<istring>& getPhysicalMaterials() const { return m_physicalMaterials; }
    const std::set<istring>& getOneHandedUpperBodyBones() const { return m_oneHandedUpperBodyBones; }
    const std::set<istring>& getOneHandedLowerBodyBones() const { return m_oneHandedLowerBodyBones; }
    const std::set<istring>& getUseAnimations() const { return m_useAnimations; }
    /// @}

  private:
    using Names = std::set<istring>;
    using RemapMap = std::map<istring, string>; ///< name as stored to what stands in its place

    void fillItemNameSets();
    void fillBones();
    void fillUseAnimations();
    void check(const Names& names, RemapMap& remaps, const string& name, string& out);

    static CN_SharedDB* m_pSharedDatabase; ///< owned; null for none

    Names m_cameraPaths;
    Names m_storyPages;
    Names m_levels;
    Names m_messageBatches;
    Names m_music;
    Names m_particles;
    Names m_projectiles;
    Names m_weapons;
    Names m_skins;
    Names m_soundCategories;
    Names m_soundEnvironments;
    Names m_levelItems;
    Names m_storyEvents;
    Names m_flares;
    Names m_physicalMaterials;
    Names m_oneHandedUpperBodyBones; ///< of the first skeleton
    Names m_oneHandedLowerBodyBones; ///< of the first skeleton
    Names m_useAnimations;           ///< of all skins, and "Default"
    RemapNameCallback m_remapNameCallback = nullptr;
    RemapMap m_skinRemaps;
    RemapMap m_itemRemaps;
    RemapMap m_flareRemaps;
    RemapMap m_useAnimationRemaps;
    RemapMap m_physicalMaterialRemaps;
};

} // namespace cairn
