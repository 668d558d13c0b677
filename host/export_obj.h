#pragma once

#include "host/export_scene.h"

#include <string>
#include <vector>

namespace cairn::host {

/// A file of an export, named within its folder.
struct ExportFile {
    std::string name;
    std::vector<unsigned char> bytes;
};

/// The scene as Wavefront OBJ, in the world's space: the images, the material library and, as the last one, the geometry
/// under the name `objName`. All names are plain ones for one folder. What cannot be written is added to the scene's
/// losses. The same scene gives the same bytes.
std::vector<ExportFile> writeObj(ExportScene& scene, const std::string& objName);

} // namespace cairn::host
