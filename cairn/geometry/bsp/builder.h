#pragma once

#include "cairn/geometry/bsp/piece_boxes.h"
#include "cairn/geometry/bsp/tree.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

namespace cairn {

/// Builds a subtree from pieces; see `CN_BSPTree::build` for the rule.
///
/// The rule scores each piece's plane against each piece, at each node. Here planes that score the same are scored once, over
/// boxes; and where a subtree gets nearly all of a list, as each does in a convex room, the counts of its parent are mended by
/// what it did not get.
class CN_BSPBuilder {
  public:
    using Vector = CN_Ngon::Vector;
    using Plane = CN_Ngon::Plane;

    explicit CN_BSPBuilder(CN_BSPTree::NgonList& ngons);

    /// False where a node found no plane.
    bool build(CN_BSPNode& root);

  private:
    using Id = std::uint32_t;
    static constexpr Id NONE = 0xFFFFFFFF;

    /// A piece of the list, or one that was cut.
    struct Piece {
        const CN_Ngon* ngon; ///< not owned: of the list, or of `m_made`
        CN_Ngon* made;       ///< not owned: the same where it was cut
        Id plane;            ///< place in `m_planes`
        bool isLinear;       ///< gives no plane and goes with the first one
        unsigned node;       ///< that cut it
    };
    /// A plane of pieces. Those of one class lie alike to every piece.
    struct KnownPlane {
        Plane plane;
        Id planeClass; ///< `NONE` for one that divides nothing
        unsigned node; ///< the last one that has pieces in it
    };
    struct PlaneClass {
        CN_SideCounts counts; ///< at the current node
        Id blocker = NONE;    ///< a plane against which it could not be taken, when it was last tried
        unsigned list = 0;    ///< the last one that has it among its candidates
    };
    /// A list to be divided, and where its node comes.
    struct Task {
        std::vector<Id> pieces;
        std::vector<Id> candidates;        ///< the first piece of each class that may give a plane
        std::vector<CN_SideCounts> counts; ///< of the candidates; empty where they are not known
        CN_BSPNode* parent;                ///< not owned; null for the root
        bool isInside;
    };
    /// What becomes of a list: pieces in its order.
    struct Division {
        std::vector<Id> gone, cut, inside, outside;
    };
    using PlaneKey = std::array<double, 6>;
    struct PlaneHash {
        std::size_t operator()(const PlaneKey& key) const;
    };

    Id findPlane(const Plane& plane);
    Id findClass(const Plane& plane);
    Task makeTask(std::vector<Id> pieces, CN_BSPNode* parent, bool isInside);
    bool step(Task& task, CN_BSPNode& node);
    void countSides(const Task& task);
    Id choose(const Task& task);
    bool isBlocked(PlaneClass& planeClass, const Plane& plane);
    Division divide(const Task& task, const CN_BSPNode& node, Id winner);
    void cut(const CN_Ngon& ngon, const CN_BSPNode& node, Division& division);
    Id makePiece(const CN_Ngon& ngon, Id plane);
    void mendCounts(Task& child, const Division& division, const std::vector<Id>& others);
    CN_SideCounts::Side sideOf(Id piece, const Plane& plane) const;
    void release(const std::vector<Id>& pieces);
    void report(const Task& task) const;

    Piece& at(Id piece) { return m_pieces[piece]; }
    const Piece& at(Id piece) const { return m_pieces[piece]; }

    CN_BSPTree::NgonList& m_list;                           ///< what is built from
    std::vector<Piece> m_pieces;                            ///< those of the list first
    std::vector<Id> m_free;                                 ///< places of cut pieces that are no more
    std::deque<CN_Ngon> m_made;                             ///< cut pieces, which keep their addresses
    std::vector<KnownPlane> m_planes;                       ///< of all pieces
    std::vector<PlaneClass> m_classes;                      ///< of all planes
    std::unordered_map<PlaneKey, Id, PlaneHash> m_planeIds; ///< normal and point
    std::unordered_map<PlaneKey, Id, PlaneHash> m_classIds; ///< normal and what counts of the point
    std::vector<Id> m_present;                              ///< planes with pieces at the current node
    std::vector<Task> m_open;                               ///< the next one last
    CN_PieceBoxes m_boxes;                                  ///< of the current node
    unsigned m_node = 0;                                    ///< number of the current node, from 1
    unsigned m_lists = 0;                                   ///< how many lists have got their candidates
};

} // namespace cairn
