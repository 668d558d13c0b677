#pragma once

#include "cairn/foundation/strings.h"

#include <map>
#include <memory>

namespace cairn {

class CN_Document;
class CN_LevelEntity;

/// Makes the entities of all kinds from one prototype a kind.
class CN_EntityFactory {
  public:
    static CN_EntityFactory* instance();
    ~CN_EntityFactory();
    CN_EntityFactory(const CN_EntityFactory&) = delete;
    CN_EntityFactory& operator=(const CN_EntityFactory&) = delete;

    /// Stores a `clone` of `entity` as the prototype of `id`, in place of one that was there. `entity` stays with the
    /// caller.
    void registerEntity(int id, CN_LevelEntity& entity);
    /// A new entity of the kind `id`, owned by the caller, with its document set; null for an id that is no kind. A
    /// level item, an enemy and a flare need the content database when their prototype is first made: without one a
    /// message box says so and the result is null.
    CN_LevelEntity* createEntity(int id, CN_Document* document);
    /// True for an id that `createEntity` can make, given the content database where the kind needs it.
    bool isKnown(int id) const;
    /// The id of a type name, with case; 0 if there is none.
    int getEntityType(const string& typeName) const;
    /// The type name of an id, empty if it has none.
    string getEntityTypeName(int id) const;

  private:
    CN_EntityFactory();
    void createTypeNames();

    std::map<int, std::unique_ptr<CN_LevelEntity>> m_prototypes;
    std::map<int, string> m_typeNames;
};

/// The class name of a kind ("CN_LevelEntityWaypoint"), for texts about kinds without a type name; empty for an id
/// that is no kind.
string getEntityClassName(int id);
/// The icon of a kind in the host's image list, -1 for an id that is no kind.
int getEntityImageIndex(int id);

} // namespace cairn
