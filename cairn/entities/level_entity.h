#pragma once

#include "cairn/entities/entity_iterator.h"
#include "cairn/foundation/block_pool.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/math/matrix4x3.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cairn {

class CN_AcyclicLevelVisitor;
class CN_ChildNames;
class CN_Document;
class CN_EntityRendererFactory;
class CN_EntityRendererInterface;
class CN_ForEach;
class CN_ForEachConst;
class CN_LevelEntityMesh;
class CN_Material;
class CN_Polygon;
class E_FSM;

/// Version of the chunk that holds what all kinds of entities store.
inline constexpr int CAIRN_LVL_ENTITY_VERSION = 4;

/// The type ids of the kinds: part of the file format. 101 and 102 stand empty.
enum CN_EntityKind : int {
    CN_KIND_MESH = 100,
    CN_KIND_LEVEL = 103,
    CN_KIND_PREFAB = 104,
    CN_KIND_FSM = 105,
    CN_KIND_TRIGGER = 106,
    CN_KIND_WAYPOINT = 107,
    CN_KIND_JUMPPOINT = 108,
    CN_KIND_ITEM = 109,
    CN_KIND_ENEMY = 110,
    CN_KIND_DYN_POINTLIGHT = 111,
    CN_KIND_POLYGON_GROUP = 112,
    CN_KIND_RADIOSITY_LIGHT = 113,
    CN_KIND_PORTAL = 114,
    CN_KIND_PREFAB_CONTENT = 115,
    CN_KIND_PLAYER = 116,
    CN_KIND_TRIMESH = 117,
    CN_KIND_AI_NODE = 118,
    CN_KIND_FLARE = 119,
    CN_KIND_VOL_LIGHTING_BOX = 120,
};

/// How deep entities may nest: the root's depth is 0 and no entity's depth reaches this. A load beyond it stops, a save
/// beyond it is refused.
inline constexpr int CN_MAX_ENTITY_DEPTH = 1024;

/// What a bounding box has for its minimum while it is unset, and negated for its maximum: finite, as every stored value.
inline constexpr double CN_UNSET_BOUND = std::numeric_limits<double>::max();

/// True for a polygon that a ray test leaves out: the polygon (null for a triangle of a triangle mesh), its material, and
/// whether its mesh is dynamic.
using CN_RayFilter = bool (*)(const CN_Polygon*, const CN_Material*, bool);

/// The settings that every kind of entity has.
class CN_GeneralEntityProperties {
  public:
    CN_GeneralEntityProperties() = default;
    CN_GeneralEntityProperties(const CN_GeneralEntityProperties&) = default;
    CN_GeneralEntityProperties& operator=(const CN_GeneralEntityProperties&) = default;
    virtual ~CN_GeneralEntityProperties() = default;
    bool operator==(const CN_GeneralEntityProperties& o) const {
        return m_visible == o.m_visible && m_excludedFromGame == o.m_excludedFromGame && m_reserved == o.m_reserved &&
               m_exportRegrouping == o.m_exportRegrouping && m_gameplayCritical == o.m_gameplayCritical;
    }

    bool isVisible() const { return m_visible; }
    void setVisible(bool visible) { m_visible = visible; }
    bool isExcludedFromGame() const { return m_excludedFromGame; }
    void setExcludedFromGame(bool excluded) { m_excludedFromGame = excluded; }
    /// A flag that is only kept and stored.
    bool isReserved() const { return m_reserved; }
    void setReserved(bool reserved) { m_reserved = reserved; }
    bool isExportRegroupingEnabled() const { return m_exportRegrouping; }
    void setExportRegroupingEnabled(bool enabled) { m_exportRegrouping = enabled; }
    bool isGameplayCritical() const { return m_gameplayCritical; }
    void setGameplayCritical(bool critical) { m_gameplayCritical = critical; }

  private:
    bool m_visible = true;           ///< shown by the host
    bool m_excludedFromGame = false; ///< left out of the game with all below it
    bool m_reserved = false;         ///< kept and stored, no meaning here
    bool m_exportRegrouping = false; ///< may be regrouped at export
    bool m_gameplayCritical = true;  ///< the game cannot do without it
};

/// A node of the level's tree: the base of every object that stands in a level. It has a place relative to its parent
/// and a derived place in the world, a bounding volume, a name unique among its siblings, and may own a state machine
/// and a renderer.
///
/// An entity is made by the factory, owned by its parent once added, and else by whoever holds it; it owns its
/// children. Rotations act on row vectors: a point in the parent's space is p * rotation + position.
class CN_LevelEntity {
  public:
    using ChildList = CN_EntityChildList;
    using Vector = M_Vector3Template<double>;
    using Matrix = M_Matrix3Template<double>;

    /// Entities on the heap lie side by side.
    static void* operator new(std::size_t size) { return F_BlockPool::take(size); }
    static void operator delete(void* entity, std::size_t size) { F_BlockPool::give(entity, size); }

    CN_LevelEntity(int entityId, int imageIndex);
    /// Copies the place, the bounding volume, document, name, properties and kind. The copy stands alone: no parent, no
    /// children, no qualified name, no state machine, no renderer; it is dirty and not expanded.
    CN_LevelEntity(const CN_LevelEntity& other);
    /// Copies what the copy constructor copies and makes the entity dirty. Its own parent and children stay, below which its
    /// name is made unique; its state machine and renderer are deleted.
    CN_LevelEntity& operator=(const CN_LevelEntity& other);
    /// Deletes the subtree (deep trees without recursion), then the state machine, then the renderer, then leaves the
    /// document's last hidden set and its lists. It does not detach itself: call `remove` on the parent first.
    virtual ~CN_LevelEntity();

    /// A copy of the concrete kind on the heap, owned by the caller.
    virtual CN_LevelEntity* clone() = 0;
    /// Calls the visitor with this entity if it has the interface of this kind.
    virtual void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) = 0;

    /// @name Record
    /// @{
    /// Reads the complete record behind the entity id: common record, the kind's record, children. The root then
    /// brings the world values of the whole tree up to date. Throws an `F_Exception*` on damage.
    virtual void load(F_MemoryFile& file);
    /// Writes the entity id and the complete record behind it. Throws an `F_Exception*` with the entity's qualified name, and
    /// has written nothing, where `load` would refuse what is written: entities nested too deep, places that are not finite.
    virtual void save(F_MemoryFile& file);
    /// Reads the kind's record, which stands behind the common one; `load` calls it.
    virtual void loadEntitySpecificData(F_MemoryFile& file) = 0;
    /// Writes the kind's record in its newest form; `save` calls it.
    virtual void saveEntitySpecificData(F_MemoryFile& file) = 0;
    /// Throws an `F_Exception*` with the entity's qualified name where `load` would refuse what `save` writes of this
    /// subtree. Gives the entities of the subtree in pre-order, this one first, without those that a save leaves out (`CN_VirtualNode::isLeftOut`).
    std::vector<CN_LevelEntity*> checkSavable();
    /// What of that a save does ahead of its first byte, and gives what `checkSavable` does: faults that a kind looks for
    /// while it writes (`findFaultAhead`) are not told yet.
    std::vector<CN_LevelEntity*> checkAheadOfSave();
    /// Why reading would refuse what `saveEntitySpecificData` writes, as the end of a sentence about the entity; empty
    /// where it would not. `checkSavable` asks it.
    virtual string findRecordFault() const;
    /// The same without what `saveEntitySpecificData` looks for itself, with what it writes at hand: it throws then, and the
    /// save takes back all that it wrote.
    virtual string findFaultAhead() const { return findRecordFault(); }
    /// @}

    /// Renames the entity. With `autoFix` an empty name becomes the kind's, and one that a sibling has (without regard
    /// to case) the next free one; without, both fail. "parent" and "this" always fail. False with the reason in
    /// `CN_NameValidator`, where there is one. The entity's own name in other case is true and changes nothing. The
    /// qualified names of the subtree follow.
    virtual bool setName(const CString& name, bool autoFix);
    virtual CString getName() const;
    virtual int getImageIndex() const;
    virtual int getEntityId() const;

    /// Iterators over the descendants in pre-order and over the children; the entity itself is never part of the walk.
    virtual CN_PreIterator createIterator();
    virtual CN_ChildIterator createChildIterator();
    virtual CN_ConstPreIterator createConstIterator() const;
    virtual CN_ConstChildIterator createConstChildIterator() const;

    /// @name Tree
    /// @{
    /// True if this kind may hold an entity of the candidate's kind. False for null, and for one that stands on polygons of
    /// another mesh.
    virtual bool canAdd(CN_LevelEntity* child);
    /// Takes the child (and its subtree) to the end of the children, away from its present parent; its name is made
    /// unique here. With `makeChild` it keeps its place in the world. Nothing happens for null, this entity, a child
    /// that is already here, an ancestor of this entity, and a level. It does not ask `canAdd`: callers do.
    virtual void add(CN_LevelEntity* child, bool makeChild);
    /// `add` of a child that the caller owns: it goes over to the tree as soon as it stands there, also where a host's
    /// callback then throws, and is deleted where it does not come to stand there.
    void addOwned(std::unique_ptr<CN_LevelEntity> child, bool makeChild);
    /// Lets the child go without deleting it; its transforms stay. Nothing happens if it is no child of this entity.
    virtual void remove(CN_LevelEntity* child);
    virtual CN_LevelEntity* getParent() const;
    /// True if `ancestor` is the parent or any further ancestor.
    virtual bool isParent(const CN_LevelEntity* ancestor) const;
    virtual bool isVisible() const;
    virtual void setVisible(bool visible);
    virtual bool isExpanded() const;
    virtual void setExpanded(bool expanded);
    /// @}

    /// @name Space
    /// @{
    /// Derives the world values of the subtree from the parent's. Without `force` an invisible entity and its subtree
    /// keep their old ones.
    virtual void handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force);
    /// `handleHierarchy` from the parent's world values; a detached entity has its document's root done instead, so
    /// that placing many detached entities costs a walk of the tree each: add first, then place.
    virtual void handleOwnHierarchy();
    /// `handleHierarchy` from the world's origin, with force.
    virtual void handleParenting(bool unused);
    /// Rewrites the place (and the keyframes of a dynamic mesh) of a child that came from `oldParent`, which may be
    /// null, so that it stays where its world values say. Where this entity's world placement has no inverse the child's
    /// place and keyframes stay as stored. World values of a detached entity are those of its last
    /// update, not of a later `setPosition`.
    virtual void makeChild(CN_LevelEntity* child, CN_LevelEntity* oldParent);
    /// `changeSpaceExplicit` to the other entity's place.
    virtual void changeSpace(CN_LevelEntity* other);
    /// Moves this entity's origin to the placement `m` while its children stay where they are in the parent's space.
    /// World values are not touched. A rotation without inverse is refused: nothing changes.
    virtual void changeSpaceExplicit(const M_Matrix4x3Template<double>& m);
    /// @}

    /// @name Rays
    /// @{
    /// The nearest hit of the ray from `origin` along the unit vector `direction`, at most `distance` away. On a hit
    /// true, `point` and `distance` are set. `cull` leaves out faces seen from behind, `local` says that origin is
    /// relative to the entity; `filter` (may be null) is for kinds with polygons. This class: false.
    virtual bool intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                              bool local, CN_RayFilter filter);
    /// True if the ray meets the bounding sphere; `t` (may be null) becomes the distance of the entry, 0 from inside.
    /// A radius of exactly 0 is never met.
    virtual bool rayToBoundingVolume(double* t, const Vector& origin, const Vector& direction,
                                     bool originIsRelative) const;
    /// @}

    /// @name Cached forms
    /// @{
    virtual void invalidateObject(bool deep);
    virtual void invalidateMapping();
    virtual void invalidatePosition();
    /// @}

    /// @name State machine
    /// @{
    /// True if the entity has a state machine.
    virtual bool canBeMessageTarget() const;
    virtual void deleteFSM();
    /// Creates a state machine of this entity if there is none.
    virtual void createFSM();
    /// @}

    /// The first child in list order of that name, without regard to case, or null. Constant time.
    virtual CN_LevelEntity* hasChildNamed(const CString& name);

  protected:
    /// The name with the least number, from its own on, whose base and number no sibling has, without regard to case
    /// and to the count of digits. It needs a parent. Constant time but for the first call under a parent.
    virtual CString getNextUniqueName(const CString& name);
    /// True if this kind may hold entities of that id.
    virtual bool onCanAdd(int entityId) = 0;
    /// False where the entity stands on polygons that are not the parent's.
    virtual bool mayStandBelow(const CN_LevelEntity& parent) const;

  public:
    const Vector& getPosition() const { return m_position; }
    const Vector& getWorldPosition() const { return m_worldPosition; }
    const Matrix& getRotation() const { return m_rotation; }
    const Matrix& getWorldRotation() const { return m_worldRotation; }
    const Matrix& getInvWorldRotation() const { return m_invWorldRotation; }
    const Vector& getBoundingMin() const { return m_boundingMin; }
    const Vector& getBoundingMax() const { return m_boundingMax; }
    double getBoundingRadius() const { return m_boundingRadius; }
    bool isObjectDirty() const { return m_objectDirty; }
    void setObjectDirty(bool dirty) { m_objectDirty = dirty; }
    CN_Document* getDocument() const { return m_document; }
    void setDocument(CN_Document* document) { m_document = document; }
    /// The path of names from below the root, each led by "::"; empty for an entity without parent. Valid until the
    /// next rename or move on the way.
    const istring& getQualifiedName() const { return m_qualifiedName; }
    /// Renews the stored qualified name of this entity alone, from its parent's.
    void generateQualifiedName();
    const CN_GeneralEntityProperties& getGeneralProperties() const { return m_generalProperties; }
    CN_GeneralEntityProperties& accessGeneralProperties() { return m_generalProperties; }
    void setGeneralProperties(const CN_GeneralEntityProperties& properties) { m_generalProperties = properties; }
    bool isExcludedFromGame() const { return m_generalProperties.isExcludedFromGame(); }
    bool isExportRegroupingEnabled() const { return m_generalProperties.isExportRegroupingEnabled(); }
    const ChildList& getChildren() const { return m_children; }
    CN_EntityRendererInterface* getRenderer() const { return m_renderer.get(); }

    /// Stores the place relative to the parent and brings the subtree's world values up to date.
    void setPosition(const Vector& position);
    void setRotation(const Matrix& rotation);

    /// `out` becomes `in` times the world rotation plus the world position.
    void transform(Vector& out, const Vector& in) const { out = worldTransform(in); }
    Vector worldTransform(const Vector& v) const { return v * m_worldRotation + m_worldPosition; }
    /// (v - world position) times the inverse world rotation.
    Vector worldToObject(const Vector& v) const { return (v - m_worldPosition) * m_invWorldRotation; }
    Vector vectorWorldToObject(const Vector& v) const { return v * m_invWorldRotation; }
    /// v times the rotation plus the position.
    Vector inParentSpace(const Vector& v) const { return v * m_rotation + m_position; }
    /// Widens the box from `min` to `max` to hold `v`.
    static void checkBoundingBox(const Vector& v, Vector& min, Vector& max);

    /// True if the document's selection holds this entity.
    bool selected() const;
    /// A new mesh entity in this entity's document, added here with makeChild.
    CN_LevelEntityMesh* getNewMesh();
    bool hasFSM() const { return m_fsm != nullptr; }
    E_FSM* accessFSM() { return m_fsm.get(); }
    const E_FSM* getFSM() const { return m_fsm.get(); }
    /// Takes over the machine and with it its ownership. A machine that was there is not deleted: release or delete it
    /// first.
    void assignFSMTo(E_FSM* fsm);
    /// Hands the machine and its ownership to the caller.
    E_FSM* releaseFSM();

    /// `CN_HierarchyUtils::mapNameToObject` from this entity.
    CN_LevelEntity* mapNameToObject(const istring& name, const CN_LevelEntity** deepest) const;
    /// True if the path ahead of "->" in `text`, read from this entity, reaches `target`; `position` and `length` then
    /// mark the step that names it. Otherwise than `mapNameToObject` it looks for a step's name, with case, in the whole
    /// subtree in pre-order, its root included: a step may cost a walk of the tree.
    bool getObjectReferenceFromMessageString(const CN_LevelEntity* target, const istring& text, int& position,
                                             int& length) const;

    /// Calls the functor on this entity and then on every descendant in pre-order.
    void forEachEntity(CN_ForEach* forEach);
    void forEachEntity(CN_ForEachConst* forEach) const;

    bool isInExcludedFromGameSubtree() const;
    bool isInExportRegroupingEnabledSubtree() const;
    bool isGameplayCritical() const;

    /// Splits a name into base and trailing decimal digits: their count and their value as text without leading zeros
    /// ("" for none and for zeros alone), so that no number overflows.
    static void splitName(std::string_view full, std::string& base, std::string& number, int& digits);

    /// @name Identity
    /// @{
    /// The number that a save writes for `entity`: 0 for null, 0xFFFFFFFF for one that is no longer alive, the number
    /// that a document's save has given it, else its process-unique number, whose top bit is set. A dead pointer is
    /// not followed.
    static std::uint32_t getSerialisationId(const CN_LevelEntity* entity);
    static bool isAlive(const CN_LevelEntity* entity);
    /// The number that this entity alone has in the process: it tells an entity from one that had its address before.
    std::uint32_t getProcessNumber() const { return m_processNumber; }
    /// The document's save numbers its entities, when it has called `checkAheadOfSave`; 0 takes the number away again.
    void setSaveNumber(std::uint32_t number) { m_saveNumber = number; }
    /// @}

  protected:
    /// For kinds that set the fields themselves.
    CN_LevelEntity();
    /// Takes the renderer over, in place of one that was there; null for none.
    void setRenderer(CN_EntityRendererInterface* renderer);
    /// The host's renderer factory where this entity has no renderer yet, else null; null too where the host has set
    /// none. For the last lines of the most derived kind's copy constructor and `operator=`, and nowhere else:
    ///
    ///     if (CN_EntityRendererFactory* factory = getFactoryOfMissingRenderer())
    ///         setRenderer(factory->createMeshRenderer(this));
    CN_EntityRendererFactory* getFactoryOfMissingRenderer() const;

    /// The two halves of `handleHierarchy`: this entity's world values from its parent's, then the children's from its own.
    void placeInWorld(const Vector& parentPosition, const Matrix& parentRotation);
    void placeChildrenInWorld(bool force);
    /// The path of the entity that is being read, which is not attached to its ancestors yet.
    std::string getLoadPath() const;

    /// Throws that the entity, with its qualified name, cannot be saved for what is the end of the sentence.
    [[noreturn]] void refuseSave(const string& why) const;
    void saveCommonEntityData(F_MemoryFile& file);
    void loadCommonEntityData(F_MemoryFile& file);
    void saveChildren(F_MemoryFile& file);
    void loadChildren(F_MemoryFile& file);

    Vector m_position;         ///< in the parent's space
    Vector m_worldPosition;    ///< derived
    Matrix m_rotation;         ///< relative to the parent
    Matrix m_worldRotation;    ///< derived
    Matrix m_invWorldRotation; ///< derived: the transpose of the world rotation
    Vector m_boundingMin{CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND};    ///< of the bounding box
    Vector m_boundingMax{-CN_UNSET_BOUND, -CN_UNSET_BOUND, -CN_UNSET_BOUND}; ///< of the bounding box
    double m_boundingRadius = 0;                                             ///< of the sphere about the world position
    bool m_objectDirty = true;                              ///< a renderer's cached form is out of date
    CN_Document* m_document = nullptr;                      ///< not owned: set by the factory
    istring m_qualifiedName;                                ///< never stored
    CString m_name;                                         ///< unique among siblings without regard to case
    CN_GeneralEntityProperties m_generalProperties;         ///< settings of every kind
    int m_imageIndex = -1;                                  ///< icon in the host's image list
    int m_entityId = -1;                                    ///< kind
    bool m_expanded = false;                                ///< tree-view state
    CN_LevelEntity* m_parent = nullptr;                     ///< not owned
    ChildList m_children;                                   ///< owned, in insertion order
    std::unique_ptr<CN_EntityRendererInterface> m_renderer; ///< may be null
    std::unique_ptr<E_FSM> m_fsm;                           ///< may be null

  private:
    friend class CN_ChildNames;
    class LoadScope;

    /// True for the kinds that carry the gameplay critical flag themselves.
    static bool hasCriticalFlag(int entityId);

    void copyFields(const CN_LevelEntity& other);
    void deleteDescendants();
    CString getDefaultName() const;
    void storeName(const CString& name);
    void generateQualifiedNamesBelow(std::size_t& bytesLeft);
    void loadRecord(F_MemoryFile& file, const LoadScope& scope);
    void saveRecord(F_MemoryFile& file);
    std::vector<CN_LevelEntity*> checkTree(string (CN_LevelEntity::*findFault)() const);
    void generateLoadedNames();
    void generateNamesOfFailedLoad();
    CN_ChildNames* accessChildNames();
    void tellChildNames(const std::function<void(CN_ChildNames&)>& change);
    void countEnemy(CN_LevelEntity* child, int step);
    CN_Document* getLivingDocument() const;
    void advanceWaitCursor() const;
    std::unique_ptr<CN_LevelEntity> createChild(int entityId, F_MemoryFile& file);
    CN_LevelEntity* adoptLoaded(std::unique_ptr<CN_LevelEntity> child);
    const char* findNotFinite() const;
    void checkRotation();
    void reportUnread(std::size_t bytes) const;
    void reportLeftOut(const CN_LevelEntity* child) const;
    bool isGameplayCritical_traverseUp() const;
    bool isGameplayCritical_traverseDown() const;

    std::unique_ptr<CN_ChildNames> m_childNames; ///< look-up of the children's names, built on demand; null while few
    ChildList::iterator m_place;                 ///< of this entity among its parent's children; valid while listed
    bool m_listed = false;                       ///< stands among its parent's children
    std::uint32_t m_processNumber;               ///< its number in this process, stored where a document has given none
    std::uint32_t m_saveNumber = 0;              ///< in the save under way, 0 outside one
    std::uint32_t m_loadedId = 0;                ///< the identity it was read under, 0 for none
};

} // namespace cairn
