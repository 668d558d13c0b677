#include "cairn/document/level_file_library.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/player.h"
#include "cairn/entities/visitors.h"

namespace cairn {

namespace {

/// Gathers the groups of characters: of every player, and of the enemies that get into the game.
class EnemyAndPlayerVisitor : public CN_AcyclicLevelVisitor, public CN_EnemyACVisitor, public CN_PlayerACVisitor {
  public:
    EnemyAndPlayerVisitor(std::set<istring>& groups, bool selectionOnly)
        : m_groups(groups), m_selectionOnly(selectionOnly) {}

    void visit(CN_LevelEntityEnemy& enemy) override {
        if (!enemy.isInExcludedFromGameSubtree() && (!m_selectionOnly || enemy.selected()))
            m_groups.insert(enemy.getGroup());
    }
    void visit(CN_LevelEntityPlayer& player) override { m_groups.insert(player.getGroup()); }

  private:
    std::set<istring>& m_groups; ///< not owned
    bool m_selectionOnly;        ///< leaves out enemies that are not selected
};

} // namespace

CN_LevelFileLibrary* CN_LevelFileLibrary::instance() {
    static CN_LevelFileLibrary library;
    library.registerDefaults();
    return &library;
}

/// Registers the level's prototype. The copy of it asks for this object, so that this is done when the object stands
/// already, and once.
void CN_LevelFileLibrary::registerDefaults() {
    if (m_defaultsRegistered)
        return;
    m_defaultsRegistered = true;
    CN_CairnLevel level;
    CN_EntityFactory::instance()->registerEntity(CN_KIND_LEVEL, level);
}

void CN_LevelFileLibrary::setHierarchyManagerInterface(CN_HierarchyManagerInterface* manager) {
    instance()->m_hierarchyManager = manager;
}

CN_HierarchyManagerInterface* CN_LevelFileLibrary::getHierarchyManagerInterface() {
    return instance()->m_hierarchyManager;
}

void CN_LevelFileLibrary::setSharedDBPathCallback(SharedDBPathCallback callback) {
    instance()->m_sharedDBPathCallback = callback;
}

bool CN_LevelFileLibrary::hasSharedDBPathCallback() { return instance()->m_sharedDBPathCallback != nullptr; }

const CString& CN_LevelFileLibrary::getSharedDBPath() { return accessSharedDBPath(); }

CString& CN_LevelFileLibrary::accessSharedDBPath() {
    if (const SharedDBPathCallback callback = instance()->m_sharedDBPathCallback)
        return callback();
    static CString none;
    none.Empty(); // whatever a caller wrote into it
    return none;
}

void CN_LevelFileLibrary::cacheTargetGroups(CN_Document* document, bool selectionOnly) {
    m_targetGroups.clear();
    CN_LevelEntity* level = CN_Document::isAlive(document) ? document->accessLevel() : nullptr;
    if (!level)
        return;
    EnemyAndPlayerVisitor visitor(m_targetGroups, selectionOnly);
    CN_PreIterator it = level->createIterator();
    for (it.begin(); !it.end(); ++it)
        it->acceptACVisitor(visitor);
}

} // namespace cairn
