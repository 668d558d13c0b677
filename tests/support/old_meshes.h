#pragma once

#include "cairn/math/planar_space3.h"
#include "tests/support/old_animations.h"
#include "tests/support/old_records.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// Writers of meshes and their polygons as older versions wrote them, and of what no version writes.
namespace cairn::test {

/// A texture space as it shall stand in a file, sound or not.
struct OldSpace {
    M_Matrix3Template<double> matrix{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
    M_Vector3Template<double> origin = {};
    M_Vector2Template<double> offset = {};
};

/// A polygon as it shall stand in a file: a triangle on the floor where nothing else is told.
struct OldPolygon {
    unsigned int index = 0; ///< stored above version 1
    int edgeCount = -1;     ///< as stored; -1 for that of the edges
    M_Vector3Template<double> normal{0, 1, 0}, referenceNormal{0, 1, 0};
    OldSpace space = {};
    M_Vector3Template<double> pointOnPlane{0.5, 0, 0.5};
    int holes = 0;
    OldSpace lightmapSpace = {};
    float lightmapResolution = 4;
    unsigned int lightmap = 0xFFFFFFFFu;
    unsigned int mode = 0;
    int exit = -1;
    std::string category = {}, material = {};
    std::vector<std::pair<int, int>> edges{{0, 1}, {1, 2}, {2, 0}};
    int triangleCount = -1; ///< as stored; -1 for that of the triangles
    std::vector<std::vector<int>> triangles{{0, 1, 2}};
    std::vector<std::pair<int, OldSpace>> spaces = {}; ///< the extra ones
};

/// A mesh as it shall stand in a file.
struct OldMesh {
    int version = 9;
    int polygonVersion = 3;
    unsigned int features = 0x36DFF; ///< of the polygons
    bool facesFlipped = true;
    std::vector<M_Vector3Template<double>> vertices{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {1, 0, 1}};
    std::vector<OldPolygon> polygons{{}};
    bool dynamic = false; ///< with the animations
    bool trigger = false; ///< stored above version 2
    OldAnimations animations = {};
};

void writeOldMesh(F_MemoryFile& file, const OldMesh& mesh);

/// A form of which one mesh by itself is stored in tests/data/records.
struct StoredMesh {
    std::string name; ///< of the file, without its ending
    OldMesh mesh;

    std::filesystem::path path() const;
    Bytes bytes() const;
};

/// "mesh_<version>" and "polygon_<version>" for each version, and the layouts that masks choose. Each has two polygons: the
/// first of the material "Stone" in "Old" with an extra texture space 1, the second without a material. The meshes from
/// version 3 on are triggers, the odd ones dynamic.
std::vector<StoredMesh> storedMeshes();

} // namespace cairn::test
