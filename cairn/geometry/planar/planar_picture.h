#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

class CN_2DPolygon;

/// The planar polygon as a picture (SVG), for whoever looks for a fault: triangles filled, edges as arrows with the loop's
/// colour, vertices with their numbers, and the number of the source as caption. Vertices that are not finite are left out.
string CN_drawPlanarPolygon(const CN_2DPolygon& polygon);

/// Writes that picture into the file "BASENUMBER.svg" of a folder, NUMBER counting the pictures of this process from 0, and
/// the same into "tempBASENUMBER.svg"; the log names the file. Gives its path. Throws an `F_Exception*` where a file cannot be
/// written.
string CN_writePlanarPicture(const CN_2DPolygon& polygon, const string& folder, const string& base);

} // namespace cairn
