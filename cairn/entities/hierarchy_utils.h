#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/math/vector3.h"

#include <cstdint>
#include <set>
#include <string>

namespace cairn {

class CN_CairnLevel;
class CN_Document;
class CN_LevelEntity;
class CN_LevelEntityMesh;
class CN_LevelEntityPrefab;
class CN_MeshInterface;
class CN_Selection;

/// Answers questions about an entity's place in the tree.
class CN_HierarchyUtils {
  public:
    using Vector = M_Vector3Template<double>;

    CN_HierarchyUtils() = delete;

    /// The nearest ancestor that is not in the selection, or null.
    static CN_LevelEntity* getFirstNonSelectedParent(const CN_LevelEntity* entity, const CN_Selection* selection);
    /// The nearest ancestor in the selection, or null.
    static CN_LevelEntity* getFirstSelectedParent(const CN_LevelEntity* entity, const CN_Selection* selection);
    /// The mesh of the entity or else of the nearest ancestor that is a dynamic one, or null.
    static CN_MeshInterface* getFirstDynamicParentOrSelf(CN_LevelEntity* entity);
    /// The root of the entity's document; null where entity, document or level is.
    static CN_CairnLevel* getLevel(const CN_LevelEntity* entity);
    /// The entity itself or its ancestor that is a child of a level's root; null for the root and in a detached tree.
    static CN_LevelEntity* getTopLevelParent(const CN_LevelEntity* entity);
    /// The top level parent if it is a room, or null.
    static CN_LevelEntityMesh* getRoomContaining(const CN_LevelEntity* entity);
    /// The room that holds `position`, in world space: that of `entity` is tried first, then the others in list order.
    /// Null where none does, and for a null entity.
    static CN_LevelEntityMesh* getRoomContainingPosition(const Vector& position, const CN_LevelEntity* entity);
    /// The entity itself if it is a prefab, else the prefab whose content it is or stands in, or null.
    static CN_LevelEntityPrefab* findParentPrefab(const CN_LevelEntity* entity);
    /// `findParentPrefab` if it is editable or not, as asked; else null.
    static CN_LevelEntityPrefab* getParentPrefab(const CN_LevelEntity* entity, bool editable);
    /// True for a prefab content, and for what stands in one whose prefab is not editable.
    static bool isNonEditablePrefabContent(const CN_LevelEntity* entity);
    /// True if every child of the root (with `selectionOnly` every selected one) but the player is a room; `count`
    /// becomes the number of those that are not.
    static bool areAllTopLevelEntitiesRooms(const CN_Document* document, bool selectionOnly, int& count);
    /// True if the level or its selection stands in rooms; else `error` says why not.
    static bool canExportLevelOrSelection(const CN_Document* document, bool selectionOnly, string& error);
    /// Fills `prefabs`, which is emptied first, with the prefabs that messages of the level's state machines have for
    /// their target or in their arguments. Comments do not count, nor does a machine of the root.
    static void gatherReferencedPrefabs(const CN_Document* document, std::set<const CN_LevelEntity*>& prefabs);
    /// The index of the entity's icon in the host's image list. With `plain` that of its kind and state alone;
    /// otherwise with 23 for an invisible one and 46 for what lies in a prefab that is not editable, and `overlay` (may
    /// be null) becomes 1 or 2 where the entity or an ancestor is excluded from game, plus 3 or 6 where the entity or
    /// an ancestor has export regrouping enabled.
    static int getImageIndex(const CN_LevelEntity* entity, bool plain, int* overlay);
    /// The number of ancestors: 0 for the root.
    static int getEntityDepth(const CN_LevelEntity* entity);
    /// The box of the corners of all polygons, or of a triangle mesh's vertices, in the mesh's own space; the largest and
    /// least double where there are none.
    static void calculateBoundingBoxLocal(const CN_MeshInterface* mesh, Vector& min, Vector& max);
    /// The path of live names from below the root, each led by "::"; empty for the root.
    static std::string makeFullyQualifiedName(const CN_LevelEntity* entity);
    /// The same as one static text: valid until the next call, so never called twice in one expression. It ends at a
    /// NUL in a name.
    static const char* getFullyQualifiedName(const CN_LevelEntity* entity);
    /// The entity at the end of a path of steps divided by "::", or null. "this" is `base`; a path that begins with "::",
    /// and every other one where `base` has no parent, leads from the level's root; each step is a child's name without
    /// regard to case, or "parent". `deepest` (may be null) becomes the last entity that was reached, null above the root.
    /// The empty path gives the entity where it begins. Constant time a step.
    static CN_LevelEntity* mapNameToObject(const istring& name, const CN_LevelEntity** deepest,
                                           const CN_LevelEntity* base);
    /// How often `mapNameToObject` was called in this process, and the microseconds that it took.
    static unsigned getMapNameCalls() { return s_mapNameCalls; }
    static std::uint64_t getMapNameTime() { return s_mapNameTime; }

  private:
    inline static unsigned s_mapNameCalls = 0;
    inline static std::uint64_t s_mapNameTime = 0; ///< microseconds
};

} // namespace cairn
