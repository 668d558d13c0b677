#pragma once

#include "host/picture_labels.h"

#include <string>

namespace cairn::host {

/// The picture as a drawing of the format SVG 1.1: faces from the farthest to the nearest. `wire` strokes the edges of
/// surfaces, too. The same scene gives the same text everywhere.
std::string drawSvg(const PictureView& view, std::vector<SeenFace> faces, const PictureLabels& labels, bool wire);

} // namespace cairn::host
