#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/fsm/message_info_provider.h"

#include <set>

namespace cairn {

class CN_Document;
class CN_EntityRendererFactory;
class CN_HierarchyManagerInterface;

/// What exists once for the whole library: the host's plug-ins and the message catalogue.
class CN_LevelFileLibrary {
  public:
    using SharedDBPathCallback = CString& (*)();

    static CN_LevelFileLibrary* instance();
    CN_LevelFileLibrary(const CN_LevelFileLibrary&) = delete;
    CN_LevelFileLibrary& operator=(const CN_LevelFileLibrary&) = delete;

    /// The host's listener to changes of the tree, not owned; null for none.
    static void setHierarchyManagerInterface(CN_HierarchyManagerInterface* manager);
    static CN_HierarchyManagerInterface* getHierarchyManagerInterface();
    /// The host's answer to where the content database lies; null for none.
    static void setSharedDBPathCallback(SharedDBPathCallback callback);
    static bool hasSharedDBPathCallback();
    /// What the callback gives; the empty string without one.
    static const CString& getSharedDBPath();
    static CString& accessSharedDBPath();

    CN_FSMMessageInfoProvider& accessMessageInfoProvider() { return m_messageInfoProvider; }
    /// The names of the AI character groups last gathered by `cacheTargetGroups`.
    const std::set<istring>& getTargetGroups() const { return m_targetGroups; }
    /// Empties the target groups and gathers those of the level's characters anew.
    void cacheTargetGroups(CN_Document* document, bool selectionOnly);

    CN_EntityRendererFactory* entityRendererFactory = nullptr; ///< not owned: assigned by the host, null for none

  private:
    CN_LevelFileLibrary() = default;
    void registerDefaults();

    bool m_defaultsRegistered = false; ///< or being registered
    SharedDBPathCallback m_sharedDBPathCallback = nullptr;
    std::set<istring> m_targetGroups;
    CN_FSMMessageInfoProvider m_messageInfoProvider;
    CN_HierarchyManagerInterface* m_hierarchyManager = nullptr; ///< not owned
};

} // namespace cairn
