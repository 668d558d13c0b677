#pragma once

#include "tests/support/mesh_shelf.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Random edits of meshes: what was closed and flat must stay so, and what is refused must leave the level as it was.
namespace cairn::test {

/// The meshes of the shelf that may be edited so: neither empty nor huge, exact, and no room whose neighbour would stay behind.
std::vector<ShelfMesh> editableMeshes();

/// One edit; what its numbers mean hangs on the mesh as it is then.
struct MeshEdit {
    enum Kind : std::uint8_t {
        PUSH,
        TILT,
        WELD,
        MIRROR,
        SCALE,
        FLIP,
        RECENTER,
        T_JUNCTIONS,
        SPLIT,
        UNIFY,
        JOIN,
        SEPARATE,
        PLACE,
        KINDS
    };
    Kind kind = PUSH;
    std::uint8_t polygon = 0, other = 0; ///< modulo what there is
    std::int8_t a = 0, b = 0, c = 0;     ///< sizes, in steps of the kind
};

/// A mesh that edits are made to.
class MeshEditing {
  public:
    /// Corners may come to lie as far off their planes, and edges apart.
    MeshEditing(const ShelfMesh& shelf, double tolerance);

    /// Makes the edit; gives what is wrong afterwards, empty where nothing is.
    std::string apply(const MeshEdit& edit);
    int getRefusals() const { return m_refusals; }

  private:
    bool change(const MeshEdit& edit);
    bool split(CN_Polygon& polygon, const MeshEdit& edit);
    bool unite(const MeshEdit& edit);
    bool join(const MeshEdit& edit);
    bool separate(CN_Polygon& polygon);
    void remove(CN_LevelEntityMesh& mesh);
    void weld(double radius);
    void shareCorners();
    bool isNextToAxis() const;
    double leastEdge() const;
    std::string findFault();

    std::unique_ptr<ShelfDocument> m_document = std::make_unique<ShelfDocument>();
    CN_LevelEntityMesh* m_mesh; ///< not owned: below the document's root
    double m_tolerance;
    bool m_closed; ///< whether the mesh was closed at the start
    int m_refusals = 0;
};

/// The edits in words, a line each.
std::string toText(const std::vector<MeshEdit>& edits);

/// What goes wrong with the edits, with the shortest list of them that was found to bring it about; empty where nothing does.
std::string findMeshEditFault(const ShelfMesh& shelf, const std::vector<MeshEdit>& edits, double tolerance);

} // namespace cairn::test
