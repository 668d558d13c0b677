#pragma once

#include "cairn/document/document.h"
#include "cairn/math/vector2.h"
#include "host/export_space.h"

#include <set>
#include <string>
#include <vector>

namespace cairn::host {

/// Which entities an export holds: those that all of these let through. The ancestors of one come along as bare places.
struct ExportChoice {
    /// Lets through what has the text in its name, without regard to case, and all below it; empty lets through all.
    std::string filter;
    bool selectionOnly = false;                ///< lets through what is in `selection` alone
    std::set<const CN_LevelEntity*> selection; ///< not owned; its order means nothing
};

/// The surfaces of one material of an entity, in the entity's own space across the border, with all loops reversed.
struct ExportSurface {
    const CN_Material* material = nullptr; ///< not owned; null for none
    std::vector<M_Vector3Template<double>> positions;
    std::vector<M_Vector3Template<double>> normals; ///< unit, one a position
    std::vector<M_Vector2Template<double>> uvs; ///< one a position; u runs right and v down an image from its top left
    std::vector<unsigned> indices;              ///< three a triangle, counter-clockwise seen from the front
};

/// A placement of an animated entity at a moment.
struct ExportKey {
    double time = 0; ///< in seconds
    M_Vector3Template<double> translation;
    M_QuaternionTemplate<double> rotation; ///< unit, of the sign that is nearer to the key's before
};

/// A motion of one entity across the border. Between keys it is even, the turn along the shorter way.
struct ExportAnimation {
    std::string name;
    std::vector<ExportKey> moves; ///< its translations count; times ascend
    std::vector<ExportKey> turns; ///< its rotations count; times ascend
    bool isStepped = false;       ///< each key holds until the next one
    bool isExact = true;          ///< false where a keyframe has another scale than its entity, or is sheared or flat
};

/// An entity in the export.
struct ExportNode {
    const CN_LevelEntity* entity = nullptr; ///< not owned
    int parent = -1;                        ///< place in the scene's nodes, ahead of this one; -1 for the root
    bool isChosen = false;                  ///< false for one that is there for those below it alone
    ExportPlacement placement;              ///< relative to the parent
    std::vector<ExportSurface> surfaces;    ///< one a material, in the order of first use
    std::vector<ExportAnimation> animations;
};

/// Things of one kind that the export leaves out or changes.
struct ExportLoss {
    const char* what; ///< as in "3 WHAT, the first is FIRST"
    std::size_t count = 0;
    std::string first; ///< a name, "ENTITY#POLYGON" for a polygon
};

/// What of a level is exported, across the border. It refers to the level, which must stay as it is.
struct ExportScene {
    std::vector<ExportNode> nodes; ///< in pre-order, the root first; empty where nothing was chosen
    std::vector<ExportLoss> losses;

    std::size_t triangleCount() const;
    /// Counts one more of a kind.
    void lose(const char* what, const std::string& name);
};

/// Collects what is chosen of the level below `root`. Exit polygons are openings and have no surface; a polygon that was
/// not triangulated is a loss.
ExportScene makeExportScene(const CN_LevelEntity& root, const ExportChoice& choice);

} // namespace cairn::host
