#pragma once

#include "cairn/math/vector2.h"
#include "cairn/math/vector3.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// A corner of a face, by places in the lists of an `ObjFile`.
struct ObjCorner {
    std::uint32_t position;
    std::int32_t coordinate; ///< texture coordinate, -1 for none
};

/// A face: a run of at least three corners in `ObjFile::corners`.
struct ObjFace {
    std::uint32_t line = 0; ///< from 1
    std::uint32_t firstCorner = 0;
    std::uint32_t cornerCount = 0;
    std::uint32_t group = 0;    ///< in `ObjFile::groups`
    std::uint32_t material = 0; ///< in `ObjFile::materials`
};

/// What `o` and `g` name: faces under the same two names are one group, wherever they stand.
struct ObjGroup {
    std::string_view object, group; ///< empty where the file names none
    std::uint32_t line = 0;         ///< of the first face, from 1
};

/// A file of materials that is named, with the line that names it.
struct ObjLibrary {
    std::string_view name;
    std::uint32_t line = 0;
};

/// The content of a Wavefront `.obj`; views point into the text that was read.
struct ObjFile {
    std::vector<M_Vector3Template<double>> positions;
    std::vector<M_Vector2Template<double>> coordinates; ///< from the lower left corner of the picture
    std::vector<ObjCorner> corners;                     ///< of all faces, one after the other
    std::vector<ObjFace> faces;
    std::vector<ObjGroup> groups; ///< in order; none is empty
    std::vector<std::string_view>
        materials; ///< as `usemtl` first names them; the first, of no name, is that of faces without
    std::vector<ObjLibrary> libraries; ///< what `mtllib` names, in order
    std::uint32_t passedOver = 0;      ///< lines, points and curves aside faces, which are not imported
    std::uint32_t firstPassedOver = 0; ///< line of the first of them
};

/// The most corners of a face that are read.
inline constexpr std::uint32_t MAX_OBJ_CORNERS = 100000;

/// The farthest a vertex may lie out along an axis, in units of the file: areas and volumes stay numbers.
inline constexpr double MAX_OBJ_COORDINATE = 1e15;

/// The largest text of an object or of materials that is read, in bytes.
inline constexpr std::size_t MAX_OBJ_BYTES = std::size_t{256} << 20;

/// Reads the text of a Wavefront `.obj`: vertices, texture coordinates and faces of any number of corners, with indices
/// from the front or, negative, from the end; objects, groups, materials. Normals, smoothing and what no mesh is made of
/// are read over. A long line may go on behind a "\". The result points into `text`, which must outlive it. What cannot be
/// read throws an `F_Exception*` whose text begins with "line N: ".
ObjFile readObj(std::string_view text);

/// A material of a `.mtl`.
struct MtlMaterial {
    std::string_view name;
    std::string_view image; ///< of `map_Kd`, options left out; empty for none
};

/// The materials of a `.mtl` text, in its order; what is no `newmtl` and no `map_Kd` is read over.
std::vector<MtlMaterial> readMtl(std::string_view text);

} // namespace cairn::host
