#pragma once

#include "cairn/math/plane3.h"

#include <map>
#include <vector>

namespace cairn {

class CN_Polygon;
struct CN_Vertex;

/// Planes nearer than this to parallel, in radians, have one direction: 1 degree.
inline constexpr double CN_ONE_DIRECTION = 0.017453292522222223;

/// @name What one weld keeps between its steps (`CN_Mesh::createWeldGroups`, `CN_Mesh::weldVertices`)
/// They belong to no mesh: one weld runs to its end before another starts. Pointers hold until the mesh changes.
/// @{
/// The first vertex of each cluster and the places of all of its vertices in the mesh's list. Other vertices have none.
extern std::map<CN_Vertex*, std::vector<int>> weldGroups;
/// Polygons that `CN_Mesh::getNearbyPolygons` left out, and the first one of nearly their direction that stood for each.
extern std::map<CN_Polygon*, CN_Polygon*> polygonReplacements;
/// The most vertices that lay within the radius of one up to now. Nothing sets it back.
extern unsigned int maxWeldGroupSize;
/// @}

/// Moves a place to where planes meet, by their number; normals need not be unit.
///
/// | planes | place                                                                                             |
/// |--------|---------------------------------------------------------------------------------------------------|
/// | none   | stays                                                                                             |
/// | 1      | goes straight onto the plane                                                                      |
/// | 2      | goes straight onto the line of both; stays where they are within 0.1 degree of parallel           |
/// | 3      | is their common point where the determinant of the normals is beyond 0.01, and goes to the grid   |
/// | more   | is the mean of the common points of all such triples, where there are any, and goes to the grid   |
///
/// Onto the grid of 0.0125 goes each component that is nearer to it than 0.0001; than 0.001 where there are three planes, all
/// within 0.9999 of an axis. Of the two last, what stays goes there too. Cost: n cubed for n planes.
void fitToPlanes(const std::vector<M_Plane3Template<double>>& planes, M_Vector3Template<double>& position);

} // namespace cairn
