#pragma once

#include "host/picture_view.h"

namespace cairn::host {

/// The faces from the farthest to the nearest, so that each may be painted over those before it: faces that other faces'
/// planes part are cut there, and the cuts are no edges. After H. Fuchs, Z. Kedem and B. Naylor, "On Visible Surface
/// Generation by A Priori Tree Structures", 1980. From some number of pieces on, sixteen a face, no more is cut, and what
/// lies on both sides of a plane is ordered by its middle.
std::vector<SeenFace> orderForPainting(std::vector<SeenFace> faces);

} // namespace cairn::host
