#pragma once

#include "cairn/document/document.h"

#include <cstdint>

namespace cairn::host {

/// The most rooms that a level is generated with.
inline constexpr int MAX_GENERATED_ROOMS = 20000;

/// Fills a fresh level: closed rooms "Room1", "Room2", ... on a square grid, each with a light and some with a trigger; the
/// player stands in the first. A room is a box, an L, or has a ramp up to a higher floor, and pillars from floor to ceiling
/// stand in some; doors, which are exits, lead from each room into those beside it. State machines of lights and triggers
/// speak to those of their own room and of the rooms behind its doors. All coordinates are multiples of 1/8. The same
/// numbers give the same level, and a room of one number is the same, but for its place, its doors and what is said through
/// them, whatever the number of rooms.
void generateLevel(CN_Document& document, int rooms, std::uint64_t seed);

} // namespace cairn::host
