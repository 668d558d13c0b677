#pragma once

#include "cairn/entities/mesh_entity.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// Texture coordinates as they run over a plane: u = uAxis.p + offset.x, v = vAxis.p + offset.y, in repeats of the
/// texture, v downwards.
struct ImportMapping {
    M_Vector3Template<double> uAxis, vAxis;
    M_Vector2Template<double> offset;
};

/// The mapping that gives three or more corners their coordinates. None where the corners span no plane or where one's
/// coordinates are more than a small part of a texel off what the others say.
std::optional<ImportMapping> fitMapping(const std::vector<M_Vector3Template<double>>& corners,
                                        const std::vector<M_Vector2Template<double>>& coordinates,
                                        const M_Vector3Template<double>& normal);

/// A face on its way into a mesh.
struct ImportFace {
    std::vector<std::uint32_t> corners; ///< counter-clockwise seen from the normal's side, places in the mesh's corners
    std::vector<std::vector<std::uint32_t>> holes = {}; ///< the other way round
    M_Vector3Template<double> normal;                   ///< unit
    std::optional<ImportMapping> mapping;
    CN_Material* material = nullptr; ///< not owned
    std::uint32_t line = 0;          ///< of the source, from 1
};

/// A mesh on its way into a level, in the space of the level.
struct ImportMesh {
    std::string name;
    std::vector<M_Vector3Template<double>> corners; ///< those that no face has are left out
    std::vector<ImportFace> faces;
    std::uint32_t line = 0; ///< of the source, from 1; 0 for a mesh of many lines
};

/// What became of the faces of an import.
struct ImportMeshCounts {
    std::size_t meshes = 0;
    std::size_t polygons = 0;
    std::size_t unmapped = 0;       ///< polygons with a mapping that a level cannot hold: their axes are the usual ones
    std::size_t untriangulated = 0; ///< polygons without triangles
    std::size_t degenerate = 0;     ///< polygons so thin or small that a level does not count them as areas
    std::uint32_t firstDegenerateLine = 0; ///< of the source
};

/// Makes a mesh entity below `parent`, which takes it, in the middle of its corners: polygons with planes, texture spaces,
/// triangles, texture coordinates and boxes. A face whose mapping spans no plane, or repeats too finely or too coarsely,
/// gets the axes along which the world looks at it, as one without does. Valid as long as it is in the tree.
CN_LevelEntityMesh& addImportMesh(const ImportMesh& source, CN_LevelEntity& parent, ImportMeshCounts& counts);

/// The sum of the crosses of a loop's corners, twice its area long: M. Newell's normal.
M_Vector3Template<double> loopNormal(const std::vector<M_Vector3Template<double>>& corners,
                                     const std::vector<std::uint32_t>& loop);

/// The point of the grid of 1/8 that is nearest to the middle of the points' box; the origin for none.
M_Vector3Template<double> gridMiddle(const std::vector<M_Vector3Template<double>>& points);

/// Numbers all polygons of the document as a save does.
void numberPolygons(CN_Document& document);

/// A name for entities: bytes that names cannot have become "_", very long ones are cut; "unnamed" for none.
std::string toEntityName(std::string_view name);

} // namespace cairn::host
