#pragma once

#include "host/export_scene.h"

#include <string>

namespace cairn::host {

/// The scene as one glTF 2.0 file: text with the buffer and the images inside, or (`binary`) GLB. The same scene gives the
/// same bytes. What cannot be written is added to the scene's losses; the surfaces are taken out of the scene. Throws a
/// `Failure` about `output` where the file would be larger than the format allows.
std::string writeGltf(ExportScene& scene, bool binary, const std::string& output);

} // namespace cairn::host
