#include "host/brush_solid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

using namespace cairn;
using namespace cairn::host;

namespace {

using Vector = M_Vector3Template<double>;

BrushPlane plane(const Vector& normal, double distance) { return {normal / normal.length(), distance}; }

std::vector<BrushPlane> cube(double half) {
    std::vector<BrushPlane> planes;
    for (const double sign : {-1.0, 1.0})
        for (const Vector& axis : {Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)})
            planes.push_back(plane(axis * sign, half));
    return planes;
}

/// Every edge runs back along exactly one other face, faces look outward, and the whole is one ball.
void expectClosed(const BrushSolid& solid, const std::vector<BrushPlane>& planes) {
    std::map<std::pair<unsigned, unsigned>, int> edges;
    for (const BrushSolid::Face& face : solid.faces) {
        Vector area;
        for (std::size_t i = 0; i < face.corners.size(); ++i) {
            const unsigned a = face.corners[i], b = face.corners[(i + 1) % face.corners.size()];
            ++edges[{a, b}];
            area += (solid.corners[a] - solid.corners[face.corners[0]])
                        .cross(solid.corners[b] - solid.corners[face.corners[0]]);
            EXPECT_LT(std::abs(solid.corners[a].dot(planes[face.plane].normal) - planes[face.plane].distance),
                      4 * BRUSH_TOLERANCE);
        }
        EXPECT_GT(area.dot(planes[face.plane].normal), 0);
    }
    for (const auto& [edge, count] : edges) {
        EXPECT_EQ(count, 1);
        EXPECT_TRUE(edges.count({edge.second, edge.first}));
    }
    EXPECT_EQ(solid.corners.size() + solid.faces.size(), edges.size() / 2 + 2);
    for (const Vector& corner : solid.corners)
        for (const BrushPlane& p : planes)
            EXPECT_LT(corner.dot(p.normal) - p.distance, 4 * BRUSH_TOLERANCE);
}

/// The corners by the plain way: where three planes meet and no other cuts them off.
std::vector<Vector> cornersOfTriples(const std::vector<BrushPlane>& planes) {
    std::vector<Vector> corners;
    for (std::size_t i = 0; i < planes.size(); ++i)
        for (std::size_t j = i + 1; j < planes.size(); ++j)
            for (std::size_t k = j + 1; k < planes.size(); ++k) {
                const BrushPlane &a = planes[i], &b = planes[j], &c = planes[k];
                const double volume = a.normal.cross(b.normal).dot(c.normal);
                const Vector at = (b.normal.cross(c.normal) * a.distance + c.normal.cross(a.normal) * b.distance +
                                   a.normal.cross(b.normal) * c.distance) /
                                  volume;
                if (std::abs(volume) > 1e-9 && std::all_of(planes.begin(), planes.end(), [&](const BrushPlane& p) {
                        return at.dot(p.normal) - p.distance < BRUSH_TOLERANCE / 2;
                    }))
                    corners.push_back(at);
            }
    return corners;
}

TEST(BrushSolid, HasTheCornersOfItsPlaneTriples) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> coordinate(-1, 1), distance(20, 64);
    for (int round = 0; round < 60; ++round) {
        std::vector<BrushPlane> planes = cube(64);
        for (int i = 0; i < round / 2; ++i)
            planes.push_back(plane({coordinate(random), coordinate(random), coordinate(random)}, distance(random)));
        std::shuffle(planes.begin(), planes.end(), random);
        const BrushSolid solid = intersectHalfSpaces(planes);
        ASSERT_TRUE(solid.isSolid()) << solid.fault;
        EXPECT_EQ(solid.faces.size() + solid.idle.size(), planes.size());
        expectClosed(solid, planes);
        const std::vector<Vector> expected = cornersOfTriples(planes);
        const auto isNear = [](const Vector& a) {
            return [a](const Vector& b) { return (a - b).length() < 20 * BRUSH_TOLERANCE; };
        };
        for (const Vector& corner : solid.corners)
            EXPECT_TRUE(std::any_of(expected.begin(), expected.end(), isNear(corner)));
        for (const Vector& corner : expected)
            EXPECT_TRUE(std::any_of(solid.corners.begin(), solid.corners.end(), isNear(corner)));
    }
}

TEST(BrushSolid, StaysClosedWherePlanesNearlyMeetInOneCorner) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> jitter(-1, 1);
    for (const double size : {1e-12, 1e-6, BRUSH_TOLERANCE, 3 * BRUSH_TOLERANCE, 0.01})
        for (int round = 0; round < 50; ++round) {
            // A cone of 24 sides whose tip is cut by planes that all but touch it.
            std::vector<BrushPlane> planes{plane({0, 0, -1}, 0)};
            for (int i = 0; i < 24; ++i) {
                const double angle = i * 3.14159265358979 / 12;
                const Vector normal(std::cos(angle), std::sin(angle), 1);
                planes.push_back(plane(normal, 32 / normal.length() + size * jitter(random)));
            }
            for (int i = 0; i < 3; ++i)
                planes.push_back(plane({jitter(random) / 4, jitter(random) / 4, 1}, 32 + size * jitter(random)));
            for (int i = 25; i < 28; ++i)
                planes[static_cast<std::size_t>(i)].distance =
                    planes[static_cast<std::size_t>(i)].normal.z * 32 + size * jitter(random);
            const BrushSolid solid = intersectHalfSpaces(planes);
            ASSERT_TRUE(solid.isSolid()) << solid.fault;
            expectClosed(solid, planes);
        }
}

TEST(BrushSolid, SaysWhyThereIsNone) {
    std::vector<BrushPlane> open = cube(8), empty = cube(8), flat = cube(8), twice = cube(8);
    open.pop_back();
    empty.push_back(plane({1, 1, 1}, -20));
    flat.push_back(plane({1, 0, 0}, -8));
    twice.push_back(plane({1, 0, 0}, 8));
    twice.push_back(plane({1, 0, 0}, 9));
    EXPECT_EQ(intersectHalfSpaces(open).fault, "its planes enclose no bounded space");
    EXPECT_EQ(intersectHalfSpaces({}).fault, "its planes enclose no bounded space");
    EXPECT_EQ(intersectHalfSpaces(empty).fault, "it encloses nothing");
    EXPECT_EQ(intersectHalfSpaces(flat).fault, "it encloses nothing");
    const BrushSolid solid = intersectHalfSpaces(twice);
    EXPECT_EQ(solid.faces.size(), 6u);
    EXPECT_EQ(solid.idle, (std::vector<std::uint32_t>{6, 7}));

    BrushPlane made;
    const Vector line[3] = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, far[3] = {{0, 0, 0}, {1e300, 0, 0}, {0, 1, 0}};
    const Vector floor[3] = {{0, 0, 5}, {1, 0, 5}, {0, 1, 5}};
    EXPECT_FALSE(makeBrushPlane(line, made));
    EXPECT_FALSE(makeBrushPlane(far, made));
    ASSERT_TRUE(makeBrushPlane(floor, made));
    EXPECT_EQ(made.normal, Vector(0, 0, -1));
    EXPECT_EQ(made.distance, -5);
}

} // namespace
