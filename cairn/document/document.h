#pragma once

#include "cairn/document/load_report.h"
#include "cairn/document/preferences.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material_wrapper.h"
#include "cairn/materials/texture_list.h"

#include <map>
#include <memory>
#include <set>
#include <unordered_set>
#include <vector>

namespace cairn {

class CN_CairnLevel;
class CN_Camera;
class CN_LevelEntity;
class CN_LightmapPoolInterface;
class CN_Selection;

/// Version of the first chunk and of the group names chunk.
inline constexpr int CAIRN_DOCUMENT_VERSION = 1;
/// The format version inside the first chunk.
inline constexpr int CAIRN_CN_DOCUMENT_VERSION = 3;
/// The first text of every level file.
extern const CString g_strSentinel;

/// A file that is no level file, or one of another format version.
class CN_Document_Exception_InvalidFileFormat : public F_Exception {
  public:
    explicit CN_Document_Exception_InvalidFileFormat(int got);
    int getVersion() const { return m_got; }

  private:
    int m_got; ///< the format version as read, -1 where none could be read
};

/// A prefab record of a version that cannot be read.
class CN_Document_Exception_InvalidPrefabFormat : public F_Exception {
  public:
    CN_Document_Exception_InvalidPrefabFormat(int got, int expected);
};

/// One open level: it owns the root entity, the selection, the preferences, the materials, the textures, the lightmap
/// pool and the camera, and holds the lists and callbacks that bind them to the host.
///
/// A document is made empty; the host then calls `createCairnLevelEntities` or `load`, once. A failed load is not
/// undone: the host discards the document. Of what else fails `mustBeDiscarded` tells whether that is so.
class CN_Document {
    /// Entities in the order in which they were recorded, without those that have died since. One that dies costs
    /// constant time: the list is thinned out when somebody asks for it.
    class RecordedEntities {
      public:
        void add(const CN_LevelEntity* entity);
        void forget(const CN_LevelEntity* entity) { m_stale |= m_alive.erase(entity) > 0; }
        void clear();
        bool empty() const { return m_alive.empty(); }
        const std::vector<const CN_LevelEntity*>& get() const;

      private:
        mutable std::vector<const CN_LevelEntity*> m_list; ///< not owned
        std::unordered_set<const CN_LevelEntity*> m_alive; ///< of m_list
        mutable bool m_stale = false;                      ///< m_list holds some that have died
    };

  public:
    using CursorCallback = void (*)(int);
    using ErrorCallback = void (*)(int severity, const CString& message);
    using EntitySet = std::set<CN_LevelEntity*>;
    using EntityList = std::vector<const CN_LevelEntity*>;
    using GroupMap = std::map<istring, int>;

    CN_Document();
    /// Deletes the level while every other member still lives, then the rest, materials ahead of textures.
    virtual ~CN_Document();
    CN_Document(const CN_Document&) = delete;
    CN_Document& operator=(const CN_Document&) = delete;

    /// True once the constructor has finished.
    bool isConstructed() const { return m_constructed; }
    /// True once an exception, for want of memory say, has ended a load or a change of the level halfway: the document may
    /// not hold together any more and is good for nothing but its destruction, or for a host that looks for what is left.
    /// While it is false every exception that came out of an operation has left a document that a host may go on with.
    bool mustBeDiscarded() const { return m_mustBeDiscarded; }
    /// Makes that true: see `CN_ChangeScope`.
    void setMustBeDiscarded() { m_mustBeDiscarded = true; }
    /// The contents of a new document: a root "World_Group" with a child "player", and the two groups that every level has. A
    /// level that was there is deleted; preferences and build text stay.
    void createCairnLevelEntities();

    /// @name File
    /// @{
    /// Reads a level into this document, which must hold none. Throws an `F_Exception*` that says what and where;
    /// process-wide state is clean on every way out. What it repaired stands in `getLoadReport`. What the cursor callback
    /// throws ends the load and comes out of it, a `std::exception` as an `F_Exception*` with its text: so a host cancels.
    void load(F_MemoryFile& file);
    /// Writes the level: the same document gives the same bytes. Throws before the first byte where `load` would refuse
    /// what is written, and where there is no level. Where it throws, a host's callback included, the file is as it was.
    void save(F_MemoryFile& file);
    /// Reads the first section alone. Throws a `CN_Document_Exception_InvalidFileFormat*` where these are no level's bytes.
    void loadDocumentVersion(F_MemoryFile& file);
    /// Writes the first section alone.
    void saveDocumentVersion(F_MemoryFile& file);
    /// What the last load changed or passed over, in order; emptied at each load.
    const CN_LoadReport& getLoadReport() const { return m_loadReport; }
    CN_LoadReport& accessLoadReport() { return m_loadReport; }
    /// True while `load` runs.
    bool isLoading() const { return m_loading; }
    /// @}

    /// @name Members
    /// @{
    CN_CairnLevel* accessLevel() { return m_level; }
    const CN_CairnLevel* getLevel() const { return m_level; }
    CN_DocumentPreferences& accessPreferences() { return m_preferences; }
    const CN_DocumentPreferences& getPreferences() const { return m_preferences; }
    CN_MaterialWrapper& accessMaterials() { return m_materials; }
    const CN_MaterialWrapper& getMaterials() const { return m_materials; }
    CN_TextureList& accessTextures() { return m_textures; }
    const CN_TextureList& getTextures() const { return m_textures; }
    CN_LightmapPoolInterface* accessLightmaps() { return m_lightmaps.get(); }
    const CN_LightmapPoolInterface* getLightmaps() const { return m_lightmaps.get(); }
    CN_Camera* accessCNCamera() { return m_camera.get(); }
    const CN_Camera* getCNCamera() const { return m_camera.get(); }
    GroupMap& accessAICharacterGroups() { return m_groups; }
    const GroupMap& getAICharacterGroups() const { return m_groups; }
    CN_LevelEntity* accessPlayer() { return m_player; }
    const CN_LevelEntity* getPlayer() const { return m_player; }
    CN_Selection* accessSelection() { return m_selection.get(); }
    const CN_Selection* getSelection() const { return m_selection.get(); }
    bool getAutoSelectChildren() const { return m_autoSelectChildren; }
    void setAutoSelectChildren(bool select) { m_autoSelectChildren = select; }
    const string& getInfoDocumentCreatedWithBuild() const { return m_buildText; }
    void setInfoDocumentCreatedWithBuild(const string& build) { m_buildText = build; }
    /// @}

    /// @name What the last hide operation hid
    /// @{
    void addToLastHidden(CN_LevelEntity* entity) { m_lastHidden.insert(entity); }
    void removeFromLastHidden(CN_LevelEntity* entity) { m_lastHidden.erase(entity); }
    void resetLastHidden() { m_lastHidden.clear(); }
    const EntitySet& getLastHidden() const { return m_lastHidden; }
    /// @}

    /// @name Broken entities
    /// @{
    /// Records an entity with a broken rotation while a load collects them; nothing outside a load.
    void addBrokenEntity(const CN_LevelEntity* entity);
    /// Records an entity whose state machine has a broken default state, always.
    void addBrokenFSMDefaultStateEntity(const CN_LevelEntity* entity) { m_brokenFSMs.add(entity); }
    const EntityList& getBrokenFSMDefaultStateEntityList() const { return m_brokenFSMs.get(); }
    void clearBrokenFSMDefaultStateEntityList() { m_brokenFSMs.clear(); }
    /// @}

    /// @name Host callbacks
    /// @{
    /// `callback` gets 1 where a wait starts, 2 where it stops, 3 once an entity in `load` and `save`. Null for none. It
    /// may throw; it must not touch the document that calls it.
    void setCursorCallback(CursorCallback callback) { m_cursorCallback = callback; }
    void startWaitCursor() { callCursor(1); }
    void stopWaitCursor() { callCursor(2); }
    void advanceWaitCursor() { callCursor(3); }
    void setErrorCallback(ErrorCallback callback) { m_errorCallback = callback; }
    /// Hands both to the error callback; 2 is the severity of a geometry warning. Nothing is shown without one.
    void showMessage(int severity, const CString& message);
    /// @}

    /// An entity that dies tells its document: the player pointer, the last hidden set and the broken lists forget it.
    void forgetEntity(const CN_LevelEntity* entity);
    /// True if the document is alive: an entity may outlive the one it was made for.
    static bool isAlive(const CN_Document* document);

  private:
    class TreeReading;
    class SaveNumbers;

    void deleteCairnLevelEntities();
    void deleteLevel();
    void resetGroups();
    void loadSections(F_MemoryFile& file);
    template <class Read> void readSection(F_MemoryFile& file, const char* name, Read&& read);
    void loadLevel(F_MemoryFile& file);
    void bindPart();
    void findPlayer();
    void addPlayer(bool makeChild);
    void reportBrokenEntities();
    void repairSettings();
    void saveSections(F_MemoryFile& file);
    void saveGroupNames(F_MemoryFile& file) const;
    void loadGroupNames(F_MemoryFile& file);
    void callCursor(int step) {
        if (m_cursorCallback)
            m_cursorCallback(step);
    }

    bool m_constructed = false;
    bool m_mustBeDiscarded = false;
    CN_CairnLevel* m_level = nullptr; ///< owned
    std::unique_ptr<CN_Selection> m_selection;
    CN_DocumentPreferences m_preferences;
    CN_MaterialWrapper m_materials;
    CN_TextureList m_textures;
    std::unique_ptr<CN_LightmapPoolInterface> m_lightmaps;
    std::unique_ptr<CN_Camera> m_camera;
    bool m_autoSelectChildren = true;
    string m_buildText;                 ///< the build that made the document
    EntitySet m_lastHidden;             ///< not owned
    GroupMap m_groups;                  ///< AI character group to the number of enemies in it
    CN_LevelEntity* m_player = nullptr; ///< not owned: a child of the level
    RecordedEntities m_brokenEntities;  ///< not owned: filled and emptied by `load`
    bool m_collectingBroken = false;    ///< true only while the tree is being read
    RecordedEntities m_brokenFSMs;      ///< not owned
    CursorCallback m_cursorCallback = nullptr;
    ErrorCallback m_errorCallback = nullptr;
    CN_LoadReport m_loadReport;
    bool m_loading = false;
};

} // namespace cairn
