#pragma once

#include "host/map_import.h"
#include "host/obj_reader.h"

#include <filesystem>

namespace cairn::host {

/// What an import made of an object file, and what it left.
struct ObjImportSummary {
    ImportMeshCounts meshes;
    ImportMaterials::Counts materials;
    std::size_t bent = 0;                ///< polygons whose corners lie in no plane, as a level counts it
    std::size_t unmapped = 0;            ///< polygons whose texture coordinates are not those of a plane
    std::size_t flat = 0;                ///< faces without area, left out
    std::uint32_t firstFlatLine = 0;     ///< of the first of them
    std::uint32_t passedOver = 0;        ///< points, lines, curves and surfaces
    std::uint32_t firstPassedOver = 0;   ///< line of the first of them
    std::vector<ImportFinding> findings; ///< files of materials that cannot be had

    /// One line for people.
    std::string text() const;
};

/// The images that the materials of an object file name, by the materials' names.
using ObjImages = std::map<std::string, std::string, std::less<>>;

/// Reads the files of materials that the object names, from the object's folder alone. What cannot be had is told in
/// `findings`, once a name.
ObjImages readObjMaterials(const ObjFile& object, const std::filesystem::path& folder,
                           std::vector<ImportFinding>& findings);

/// Makes the faces of an object file polygons of mesh entities below the root, one for each object or group, named after it
/// (`name` where it has none), and numbers them. `scale` is our units to one of the file. Corners at the same place are one;
/// the z axis is mirrored and with it the loops, so that faces look where they looked. Where slits, edges that a face runs along
/// both ways, join loops, each outline is a polygon and the others are holes of the one around them.
ObjImportSummary importObj(const ObjFile& object, const ObjImages& images, const std::string& name, double scale,
                           ImportMaterials& materials, CN_Document& document);

} // namespace cairn::host
