#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/math/vector3.h"

#include <vector>

namespace cairn {

class CN_Document;
class CN_LevelEntity;
class CN_Mesh;
class CN_Polygon;

/// One thing that does not hold in a level.
struct CN_Finding {
    const char* code;             ///< a stable word, valid for ever
    const CN_LevelEntity* entity; ///< not owned: where it is
    int polygon;                  ///< place in the entity's mesh, -1 for none
    string message;               ///< says what
    bool internal;                ///< no file can bring it about: a fault of the program
};

/// How exact the geometry of a level is: the most that a corner lies off its polygon's plane, and the least distance at
/// which corners are two.
inline constexpr double CN_LEVEL_TOLERANCE = 0.001;

/// Everything that does not hold in the mesh by itself, polygon by polygon:
///
/// | code                 | when                                                                                  |
/// |----------------------|---------------------------------------------------------------------------------------|
/// | polygon-degenerate   | a loop that is not closed or has fewer than three corners, a null edge, no extent     |
/// | polygon-nonplanar    | a normal that is no unit vector, a corner farther from the plane than `tolerance`     |
/// | polygon-winding      | loops that run clockwise seen from the normal's side, a hole that does not            |
/// | polygon-holes        | fewer holes counted than there are loops behind the first one                         |
/// | polygon-reference    | a reference normal that is neither a unit vector nor zero                             |
/// | polygon-space-plane  | a first texture space that is not in the polygon's plane, a further one not in its    |
/// | polygon-untriangulated | a boundary that gives no triangles, or a triangulation that is there and leaves the |
/// |                      | plane, does not cover the area or runs the other way; one that was not made is none   |
/// | material-missing     | no exit and no material                                                               |
/// | exit-no-portal       | an exit without a portal, a portal that stands on no exit or on one with another      |
/// | exit-unpaired        | a polygon of an exit's mode, without a material, that leads nowhere                   |
/// | exit-mode            | an exit of another mode than `PT_EXIT`, or with a material                            |
/// | mesh-open            | see `CN_findOpenEdges`, with the tolerance as slack, at least 1e-6                    |
/// | broken-keyframe      | a keyframe's rotation of determinant 0                                                |
/// | polygon-index        | internal: an edge or a piece names a vertex that the mesh lacks                       |
/// | polygon-parent       | internal: polygon, edges and pieces do not name each other                            |
/// | polygon-space        | internal: no first texture space, or a space without inverse                          |
/// | polygon-triangle     | internal: a piece has coordinates, but not one for each corner                        |
/// | polygon-neighbor     | internal: a neighbour that is not of the mesh                                         |
/// | polygon-attached     | internal: a portal or light and a polygon that do not know each other                 |
/// | polygon-group        | internal: a group and a polygon or the mesh that do not know each other               |
///
/// Of a polygon whose parents or indices are wrong the shape is not looked at. Cost: n log n for n edges.
std::vector<CN_Finding> CN_validateMesh(const CN_Mesh& mesh, double tolerance);

/// The same for every mesh of the document's level in pre-order, and what holds between them:
///
/// | code                 | when                                                                                  |
/// |----------------------|---------------------------------------------------------------------------------------|
/// | exit-unpaired        | an exit whose partner does not lead back, or is not in the level                      |
/// | lightmap-dangling    | a polygon or a triangle mesh that names a lightmap which the pool lacks               |
/// | broken-keyframe      | of a triangle mesh too                                                                |
/// | triangle-parent      | internal: a triangle of a triangle mesh names another one                             |
/// | material-unknown     | internal: a material that the document does not have                                  |
/// | material-count       | internal: a material's use count is not the number of its users                       |
/// | lightmap-count       | internal: a lightmap's references are not the number of its users, where ids that     |
/// |                      | polygons load are valid at all; a level's triangle meshes may have left some behind   |
///
/// Users outside the level (copies that a host keeps) are not seen: a document to be validated has none.
std::vector<CN_Finding> CN_validateDocument(const CN_Document& document, double tolerance);
/// True where nothing internal is found in the document: for assertions and fuzzing.
bool CN_isConsistent(const CN_Document& document);

/// True for what `CN_validateMesh` finds as polygon-degenerate. Parents and indices must be right.
bool CN_isDegenerate(const CN_Polygon& polygon);
/// The polygon's area along the direction from which its outer loop runs counter-clockwise, holes taken away. M. Newell's
/// method, in the mesh's space. Parents and indices must be right.
M_Vector3Template<double> CN_areaVector(const CN_Polygon& polygon);
/// The volume inside a closed mesh, negative where its faces look outward; in the mesh's space. Of a mesh that is not
/// closed it is a number without meaning.
double CN_volume(const CN_Mesh& mesh);

} // namespace cairn
