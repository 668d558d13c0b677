#pragma once

#include "tests/support/facets.h"
#include "tests/support/random_polygons.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <vector>

/// Closed rooms with shared corners, the same ones for the same random numbers.
namespace cairn::test {

/// A prism over a simple outline on the grid of 1/8, with up to two pillars; some walls are in two halves. `tilted` gives it a
/// floor and a roof that are not level.
inline CN_LevelEntityMesh* randomPrism(CN_Document& document, RandomPolygons& random, bool tilted) {
    using Vector = M_Vector3Template<double>;
    using Outline = std::vector<Vector>;
    const auto onGrid = [](double value) { return std::round(value * 8) / 8; };
    const auto star = [&](const Vector& center, double least, double largest, int corners, int way) {
        Outline outline;
        for (int i = 0; i < corners; ++i) {
            const double angle = -way * (i + random.number(0, 0.4)) * 2 * 3.141592653589793 / corners;
            const double radius = random.number(least, largest);
            const Vector corner(onGrid(center.x + radius * std::cos(angle)), 0,
                                onGrid(center.z + radius * std::sin(angle)));
            outline.push_back(corner);
        }
        return outline;
    };
    std::vector<Outline> outlines{star({}, 6, 10, random.count(4, 9), 1)};
    for (int hole = random.count(0, 2); hole > 0; --hole)
        outlines.push_back(star({hole == 1 ? -2.0 : 2.0, 0, 0}, 0.75, 1.5, random.count(4, 5), -1));
    if (random.count(0, 1) == 0) { // a corner in the middle of a wall
        const auto wall = static_cast<std::size_t>(random.count(0, static_cast<int>(outlines[0].size()) - 2));
        const Vector middle = (outlines[0][wall] + outlines[0][wall + 1]) * 0.5;
        outlines[0].insert(outlines[0].begin() + static_cast<std::ptrdiff_t>(wall) + 1, middle);
    }
    const auto slope = [&] { return tilted ? random.count(-1, 1) / 8.0 : 0; };
    const auto slopes = [&slope] { // the same for each compiler
        const double z = slope(), x = slope();
        return Vector(x, 0, z);
    };
    const Vector floorSlope = slopes(), roofSlope = slopes();
    CN_LevelEntityMesh* const mesh = addFixture(document, "Prism");
    const auto addLevel = [&](double height, const Vector& rise) {
        std::vector<Loop> loops;
        for (const Outline& outline : outlines) {
            loops.emplace_back();
            for (const Vector& corner : outline) {
                loops.back().push_back(mesh->getVertexList().count());
                mesh->addVertex(corner + Vector(0, height + rise.dot(corner), 0));
            }
        }
        return loops;
    };
    const std::vector<Loop> bottoms = addLevel(0, floorSlope), tops = addLevel(6, roofSlope);
    fixturePolygon(*mesh, bottoms);
    std::vector<Loop> ceiling = tops;
    for (Loop& loop : ceiling)
        std::reverse(loop.begin(), loop.end());
    fixturePolygon(*mesh, ceiling);
    for (std::size_t k = 0; k < bottoms.size(); ++k)
        for (std::size_t i = 0; i < bottoms[k].size(); ++i) {
            const std::size_t next = (i + 1) % bottoms[k].size();
            fixturePolygon(*mesh, {{bottoms[k][i], tops[k][i], tops[k][next], bottoms[k][next]}});
        }
    finishFixture(*mesh);
    return mesh;
}

/// Cells that are open or not, with a square for each wall of each: walls in many parts, corners that many edges leave.
inline CN_LevelEntityMesh* randomCells(CN_Document& document, RandomPolygons& random) {
    using Vector = M_Vector3Template<double>;
    const int deep = random.count(1, 3), high = random.count(1, 3), wide = random.count(1, 4);
    CellRoom room(wide, high, deep);
    const int closed = random.count(0, 2); // of eight
    for (int x = 0; x < room.cells(0); ++x)
        for (int y = 0; y < room.cells(1); ++y)
            for (int z = 0; z < room.cells(2); ++z)
                if (random.count(0, 7) >= closed)
                    room.open(x, y, z);
    CN_LevelEntityMesh* const mesh = addFixture(document, "Cells");
    std::map<std::tuple<double, double, double>, int> numbers;
    const auto numberOf = [&](const Vector& place) {
        const auto [entry, isNew] = numbers.try_emplace({place.x, place.y, place.z}, mesh->getVertexList().count());
        if (isNew)
            mesh->addVertex(place * 2);
        return entry->second;
    };
    const Facets facets = room.facets();
    for (std::size_t i = 0; i + 1 < facets.getPieces().size(); i += 2) {
        const Facets::Corners &first = facets.getPieces()[i].corners, &second = facets.getPieces()[i + 1].corners;
        fixturePolygon(*mesh, {{numberOf(first[0]), numberOf(first[1]), numberOf(first[2]), numberOf(second[2])}});
    }
    finishFixture(*mesh);
    return mesh;
}

} // namespace cairn::test
