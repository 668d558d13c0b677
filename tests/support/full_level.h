#pragma once

#include "cairn/document/document.h"

#include <memory>

namespace cairn::test {

/// A level with a mesh of every kind: two rooms joined by an exit with portals, polygon groups, a radiosity light, volume
/// lighting, a hole, extra texture spaces, pieces of a triangulation, lightmaps and materials; a dynamic mesh with two
/// keyframes and an animation, a trigger mesh, and a triangle mesh that stands still and one that moves. It is sound but
/// for the two flat meshes, which are open.
std::unique_ptr<CN_Document> makeFullLevel();

/// The full level with the kinds that it lacks, so that it has one of each: in two rooms and around them, with places that
/// differ, a machine that speaks to others, and a selection.
std::unique_ptr<CN_Document> makeEveryKind();

} // namespace cairn::test
