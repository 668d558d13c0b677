#pragma once

#include "cairn/document/document.h"

#include <string>

namespace cairn::test {

/// The bytes of what is worked out from a level and kept by no file, in an order that the level alone gives: qualified names,
/// boxes, triangulations with their coordinates, smooth normals, fits to lightmaps, trees of space, and which polygons meet.
/// Triangulations and coordinates of the level are made anew.
std::string deriveData(CN_Document& document);

} // namespace cairn::test
