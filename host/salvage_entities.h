#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"
#include "host/salvage.h"
#include "host/salvage_map.h"
#include "host/salvage_tree.h"

#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cairn {
class CN_LevelEntityPortal;
class CN_Polygon;
class CN_VirtualNode;
} // namespace cairn

namespace cairn::host {

/// A box in the world.
struct WorldBox {
    using Vector = CN_LevelEntity::Vector;

    Vector min{CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND};
    Vector max{-CN_UNSET_BOUND, -CN_UNSET_BOUND, -CN_UNSET_BOUND};

    bool isSet() const { return min.x <= max.x && min.y <= max.y && min.z <= max.z; }
    Vector centre() const { return min * 0.5 + max * 0.5; }
    bool agrees(const WorldBox& other) const {
        constexpr double TOLERANCE = 1e-4;
        const double slack = TOLERANCE * (1 + (other.max - other.min).length() + other.centre().length());
        return (min - other.min).length() <= slack && (max - other.max).length() <= slack;
    }
};

/// One entity of the file, on its way into the document.
struct SalvagedEntity {
    using Placement = M_Matrix4x3Template<double>;

    EntityRemains remains;
    int kind = 0; ///< what it is, whatever its id says; 0 where that is not known
    std::string name;
    std::string fault;                        ///< why it is lost, empty where it is kept
    std::unique_ptr<CN_LevelEntity> detached; ///< until it stands in the tree
    CN_LevelEntity* entity = nullptr;         ///< not owned: null where it is lost
    std::optional<Placement> local, world; ///< relative to the parent, and in the world as it was; none where not known
    WorldBox box;                      ///< as the common record has it: some kinds make theirs anew when they are read
    int parent = TreeShape::NO_PARENT; ///< the place of its parent in the file
};

/// Builds the tree of a level again from what is left of its entities. The document must have its root and player, and what
/// the entities use.
class EntitySalvage {
  public:
    EntitySalvage(std::span<const unsigned char> bytes, const LevelRemains& remains, CN_Document& document,
                  std::vector<LostPart>& lost);
    ~EntitySalvage();

    /// Reads what is whole and puts it into the tree.
    void run();
    /// How many entities of the file stand in the tree now.
    std::size_t countKept() const;
    /// Tells what is lost: at the end, when all that must go has gone.
    void report();
    /// Tells of an entity of the file that stands in the tree, but not as it was.
    void tell(const CN_LevelEntity& entity, const std::string& reason);

    /// The entities with the numbers of a stored selection, which count the last child of each first; none where parents are lost.
    std::vector<CN_LevelEntity*> findNumbered(const std::vector<unsigned int>& numbers) const;
    /// True where an entity is lost, may be, or does not stand where it stood.
    bool isAnyLost() const;

  private:
    class Witness;

    void readAll();
    void read(SalvagedEntity& one);
    bool readAs(SalvagedEntity& one, int kind, bool mayLeave);
    int findKind(SalvagedEntity& one);
    bool isComplete(SalvagedEntity& one) const;
    void writeAlone(const SalvagedEntity& one, F_MemoryFile& file) const;
    void readPlace(SalvagedEntity& one);
    void findParents();
    void attachAll();
    void takeRoot(SalvagedEntity& one);
    void attach(SalvagedEntity& one);
    void attachTo(SalvagedEntity& one, CN_LevelEntity& parent);
    bool takeDoor(CN_VirtualNode& node);
    void attachOrphan(SalvagedEntity& one, SalvagedEntity* lostParent);
    CN_LevelEntity& orphanParent(const SalvagedEntity& one, const SalvagedEntity* lostParent);
    CN_LevelEntity& recovered();
    CN_LevelEntity& standIn(std::size_t lost);
    void settleOrphans();
    bool hasRoom(const SalvagedEntity& one, const CN_LevelEntity& parent);
    void lose(SalvagedEntity& one, const std::string& why);
    void reportCounts();

    std::span<const unsigned char> m_bytes;
    const LevelRemains& m_remains;
    CN_Document& m_document;
    std::vector<LostPart>& m_lost;
    std::vector<SalvagedEntity> m_all; ///< in pre-order
    std::unordered_map<const CN_Polygon*, CN_LevelEntityPortal*>
        m_doors; ///< not owned: portals by exits; looked up only
    std::unordered_map<const CN_LevelEntity*, std::size_t>
        m_places; ///< of those in the tree, among all; looked up only
    TreeShape m_shape;
    CN_LevelEntity* m_recovered = nullptr;             ///< not owned: null until it is needed
    std::map<std::size_t, CN_LevelEntity*> m_standIns; ///< not owned: for lost parents whose place is known
    std::map<const SalvagedEntity*, CN_LevelEntity*>
        m_prefabs; ///< not owned: new ones for contents without one; looked up only
    std::vector<std::pair<CN_LevelEntity*, SalvagedEntity::Placement>>
        m_placed;                           ///< not owned: new ones, with their places in the world
    std::vector<SalvagedEntity*> m_orphans; ///< not owned: below the stand-ins
    /// How deep an entity of the tree stands, and the bytes of its qualified name; looked up only.
    std::unordered_map<const CN_LevelEntity*, std::pair<int, std::size_t>> m_depths;
    std::size_t m_nameBytes = 0; ///< of all qualified names
};

} // namespace cairn::host
