#include "cairn/animation/keyframes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_places.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;
using Placement = M_Matrix4x3Template<double>;
using Mesh = CN_LevelEntityMesh;
using test::cornersOf;
using test::defectsOf;
using test::farthest;
using test::polygonsOf;

constexpr double NONE = std::numeric_limits<double>::quiet_NaN();
const Matrix QUARTER({0, 0, 1}, {0, 1, 0}, {-1, 0, 0});

// Mirrors, stretches and moves each exact mesh of the shelf: its vertices go where they should and it stays as sound.
TEST(MeshTransforming, MeshesStaySoundWhenTheirCoordinatesChange) {
    struct Change {
        const char* what;
        std::function<void(Mesh&)> apply;
        std::function<Vector(const Vector&)> expected; ///< of a place relative to the mesh's, in the world
        double volume;
    };
    const Vector normal(0.48, 0.64, 0.6), factors(2, -0.5, 1.5);
    const Placement tilted(Matrix::rotationX(1) * Matrix::rotationY(2), {});
    const auto mirror = [&](Mesh& mesh) { mesh.mirror({normal, {7, 7, 7}}, false); };
    const auto reflect = [&](const Vector& v) { return v - normal * (2 * normal.dot(v)); };
    const auto stay = [](const Vector& v) { return v; };
    const Change changes[] = {
        {"mirrored", mirror, reflect, 1},
        {"and back", mirror, reflect, 1},
        {"moved", [](Mesh& mesh) { mesh.relocateCenter(0.5); }, stay, 1},
        {"moved off the grid", [](Mesh& mesh) { mesh.relocateCenter(0); }, stay, 1},
        {"turned",
         [](Mesh& mesh) {
             mesh.changeSpaceExplicit(Placement(QUARTER, {1.125, 2, -3}));
         },
         stay, 1},
        {"scaled", [&](Mesh& mesh) { mesh.scale({}, factors, &tilted); },
         [&](const Vector& v) {
             Vector sum;
             for (const auto& [row, factor] : {std::pair(0, factors.x), {1, factors.z}, {2, factors.y}})
                 sum += tilted.rotation.row(row) * (factor * v.dot(tilted.rotation.row(row)));
             return sum;
         },
         1.5},
    };
    test::ShelfDocument document;
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        if (shelf.tolerance > 1e-3)
            continue;
        Mesh& mesh = *shelf.build(document);
        const std::string defects = defectsOf(mesh);
        const std::vector<Vector> corners = cornersOf(polygonsOf(mesh));
        for (const Change& change : changes) {
            SCOPED_TRACE(shelf.name + ", " + change.what);
            std::vector<Vector> expected, places;
            const Vector origin = mesh.getWorldPosition();
            for (const CN_Vertex& vertex : mesh.getVertexList())
                expected.push_back(origin + change.expected(vertex.world - origin));
            change.apply(mesh);
            for (const CN_Vertex& vertex : mesh.getVertexList())
                places.push_back(vertex.world);
            EXPECT_LT(farthest(places, expected), 2e-3);
            EXPECT_EQ(defectsOf(mesh), defects);
            if (shelf.closed) {
                EXPECT_NEAR(CN_volume(mesh), shelf.volume * change.volume, 1e-3 * shelf.volume);
            }
            if (&change > changes && change.volume == 1) {
                EXPECT_LT(farthest(cornersOf(polygonsOf(mesh)), corners), 4e-3) << "in the order they had";
            }
        }
    }
}

TEST(MeshTransforming, KeyframesAreMirroredInThePlaneItself) {
    test::ShelfDocument document;
    for (const bool relative : {false, true}) {
        Mesh &parent = *test::boxRoom(document), &mesh = *test::boxRoom(document);
        parent.setPosition({100, 0, 0});
        parent.add(&mesh, false);
        mesh.makeDynamic(false);
        const Matrix turn = Matrix::rotationX(1);
        mesh.accessKeyframes()->insert("k", new CN_Keyframe({turn, {3, 1, 2}}));
        const CN_Keyframe& keyframe = *mesh.getKeyframes()->find("k");
        mesh.mirror({{0, 1, 0}, {-3, 5, 2}}, relative);
        EXPECT_EQ(keyframe.getMatrix(), Placement(turn, {3, relative ? -1.0 : 9.0, 2}));
        mesh.mirror({{1, 0, 0}, {101, 0, 0}}, relative);
        EXPECT_EQ(keyframe.getMatrix().translation.x, relative ? -3 : -1) << "in the parent's space";
    }
}

TEST(MeshTransforming, FactorsRunAlongTheirAxes) {
    const Placement axes, quarter(QUARTER, {5, 5, 5});
    struct Case {
        const char* what;
        Vector center, factors;
        const Placement* space;
        Vector corner; ///< where the far corner comes to be
    };
    const Case cases[] = {
        {"its own axes", {}, {2, 3, 4}, nullptr, {16, 12, 24}},
        {"those of a space", {}, {2, 3, 4}, &axes, {16, 16, 18}},
        {"those of a space that is turned", {}, {2, 3, 4}, &quarter, {24, 16, 12}},
        {"about a point", {8, 4, 0}, {2, 3, 4}, nullptr, {8, 4, 24}},
        {"about a point along those", {8, 0, 0}, {2, 3, 4}, &axes, {8, 16, 18}},
        {"inside out", {}, {-2, 1, 1}, nullptr, {-16, 4, 6}},
        {"turned over", {}, {-1, 1, -0.5}, nullptr, {-8, 4, -3}},
    };
    test::ShelfDocument document;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Mesh& mesh = *test::boxRoom(document);
        const CN_Polygon& wall = mesh.getPolygonList()[2];
        const auto uv = wall.getUVSpace(0).toUV({0, 4, 6});
        mesh.scale(c.center, c.factors, c.space);
        EXPECT_LT((mesh.getVertexList()[6].local - c.corner).length(), 1e-12);
        EXPECT_EQ(mesh.getVertexList()[6].world, mesh.getVertexList()[6].local);
        EXPECT_NEAR(CN_volume(mesh), 192 * std::abs(c.factors.x * c.factors.y * c.factors.z), 1e-9);
        EXPECT_LT((wall.getUVSpace(0).toUV(mesh.getVertexList()[5].local) - uv).length(), 1e-12)
            << "it stretches along";
        EXPECT_EQ(wall.getReferenceNormal(), Vector(1, 0, 0)) << "it stays";
        EXPECT_EQ(mesh.getPosition(), Vector());
        EXPECT_EQ(defectsOf(mesh), "");
    }
}

TEST(MeshTransforming, PlanesThatAreNearlyAlongAnAxisAreAlongIt) {
    test::ShelfDocument document;
    Mesh& mirrored = *test::boxRoom(document);
    const CN_Polygon &floor = mirrored.getPolygonList()[0], &wall = mirrored.getPolygonList()[2];
    const auto uv = wall.getUVSpace(0).toUV({0, 1, 2});
    mirrored.mirror({Vector(1e-3, 1, 0).normalized(), {}}, false);
    EXPECT_EQ(floor.getNormal(), Vector(0, -1, 0));
    EXPECT_EQ(floor.getReferenceNormal(), Vector(0, -1, 0));
    EXPECT_LT((wall.getUVSpace(0).toUV({0, -1, 2}) - uv).length(), 1e-12);
    EXPECT_TRUE(wall.hasUVSpace(1) && wall.hasUVSpace(2));
    EXPECT_EQ(mirrored.getLocalBox().maxY, 0) << "current";
    Mesh& turned = *test::boxRoom(document);
    turned.clearGeometryDirty();
    turned.changeSpaceExplicit({Matrix::rotationY(1e-3), {}});
    EXPECT_EQ(turned.getPolygonList()[2].getNormal(), Vector(1, 0, 0));
    EXPECT_TRUE(turned.isGeometryDirty());
    turned.relocateCenter(0.5);
    EXPECT_EQ(turned.getRotation(), Matrix());
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(std::fmod(turned.getPosition()[axis], 0.5), 0);
}

TEST(MeshTransforming, WhatMakesNoSenseIsRefusedAndNothingHasChanged) {
    test::ShelfDocument document;
    Mesh &mesh = *test::boxRoom(document), &other = *test::boxRoom(document), &broken = *test::boxRoom(document),
         &moving = *test::boxRoom(document);
    // An axis that is too short to have a direction.
    broken.accessPolygonList()[5].accessUVSpaces()[0].space.setMatrix({{1e-170, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    moving.makeDynamic(false);
    F_DLList<CN_Polygon*> reached, none, foreign, ofMoving;
    reached.add(&mesh.accessPolygonList()[0]);
    foreign.add(&other.accessPolygonList()[0]);
    ofMoving.add(&moving.accessPolygonList()[0]);
    CN_Document elsewhere;
    Mesh stranger;
    stranger.setDocument(&elsewhere);
    std::vector<std::function<void()>> refused{
        [&] { mesh.separated(nullptr, none, none); },
        [&] { mesh.separated(*foreign.first(), none, none); },
        [&] { mesh.separate(nullptr, reached, none, NONE); },
        [&] { mesh.separate(nullptr, reached, foreign, 1); },
        [&] { mesh.separate(nullptr, reached, reached, 1); },
        [&] { moving.separate(nullptr, ofMoving, none, 1); },
        [&] { mesh.separate(nullptr, none, none, 1); },
        [&] { mesh.buildFrom(&mesh, reached); },
        [&] { moving.buildFrom(&mesh, foreign); },
        [&] { mesh.copyPolygonsLocal(mesh.getPolygonList(), std::numeric_limits<int>::max()); },
        [&] { broken.copyPolygonsLocal(broken.getPolygonList(), 0); },
        [&] { mesh.join(&mesh); },
        [&] { mesh.join(&stranger); },
        [&] { other.join(&broken); },
        [&] { mesh.relocateCenter(NONE); },
    };
    const Placement collapsed(Matrix({1, 0, 0}, {1, 0, 0}, {0, 0, 1}), {});
    for (const auto& [normal, x] : {std::pair(Vector(), 0.0), {Vector(NONE, 0, 1), 0.0}, {Vector(0, 0, 1), NONE}})
        refused.push_back([&mesh, plane = M_Plane3Template<double>(normal, {x, 0, 0})] { mesh.mirror(plane, false); });
    for (const auto& [x, factors] : {std::pair(0.0, Vector(1, 0, 1)),
                                     {0.0, Vector(1, NONE, 1)},
                                     {0.0, Vector(1, 1e300, 1e300)},
                                     {NONE, Vector(1, 2, 1)}})
        refused.push_back([&mesh, x = x, factors = factors] { mesh.scale({x, 0, 0}, factors, nullptr); });
    refused.push_back([&] { mesh.scale({}, Vector(1, 2, 1), &collapsed); });
    const test::Bytes before = test::saveLevel(document);
    for (std::size_t i = 0; i < refused.size(); ++i) {
        EXPECT_NE(test::failureText(refused[i]), "(nothing thrown)") << i;
        EXPECT_TRUE(test::saveLevel(document) == before) << i;
    }
    mesh.changeSpaceExplicit({Matrix(), {NONE, 0, 0}});
    EXPECT_TRUE(test::saveLevel(document) == before);
    EXPECT_TRUE(CN_isConsistent(document));

    Mesh& empty = *test::emptyMesh(document);
    empty.mirror({{0, 1, 0}, {}}, true);
    empty.scale({}, {1, 2, 3}, nullptr);
    empty.relocateCenter(1e-320); // too fine to count by
    empty.join(&other);
    EXPECT_EQ(empty.getPolygonList().count(), 6);
}

} // namespace
} // namespace cairn
