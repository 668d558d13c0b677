#include "cairn/animation/keyframes.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/geometry/validate.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/naive_restructuring.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;
using Placement = M_Matrix4x3Template<double>;
using Plane = M_Plane3Template<double>;
using Polygons = std::vector<CN_Polygon*>;
using Mesh = CN_LevelEntityMesh;

constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

Polygons polygonsOf(Mesh& mesh) {
    Polygons polygons;
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        polygons.push_back(&polygon);
    return polygons;
}

std::vector<Vector> worldCorners(const CN_Mesh& mesh) {
    std::vector<Vector> corners;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        for (const CN_Edge& edge : polygon.getEdgeList())
            corners.push_back(edge.getWorld(0));
    return corners;
}

std::vector<Vector> worldVertices(const CN_Mesh& mesh) {
    std::vector<Vector> places;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        places.push_back(vertex.world);
    return places;
}

double farthest(const std::vector<Vector>& a, const std::vector<Vector>& b) {
    double distance = a.size() == b.size() ? 0 : std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        distance = std::max(distance, (a[i] - b[i]).length());
    return distance;
}

/// The codes of what does not hold in the mesh, each once for a polygon.
std::string defectsOf(const CN_Mesh& mesh) {
    std::string codes;
    for (const CN_Finding& finding : CN_validateMesh(mesh, 2e-3))
        codes += std::to_string(finding.polygon) + finding.code + " ";
    return codes;
}

/// Two rooms in one mesh that touch nowhere: polygons 0 to 5 and 6 to 11. The mesh stands turned in the world.
Mesh& twoBoxes(CN_Document& document) {
    Mesh& mesh = *test::boxRoom(document);
    Mesh& other = *test::boxRoom(document);
    other.setPosition({20, 0, 1});
    mesh.join(&other);
    document.accessLevel()->remove(&other);
    other.updateMaterialRefCounts(false);
    delete &other;
    mesh.setPosition({3, 0.3, -1});
    mesh.setRotation(Matrix::rotationY(0.5));
    test::finishFixture(mesh);
    return mesh;
}

void link(CN_Polygon& a, CN_Polygon& b) {
    for (CN_Polygon* const exit : {&a, &b}) {
        exit->setMaterial(nullptr);
        exit->setPolyMode(PT_EXIT);
    }
    a.setExitDestination(&b);
    b.setExitDestination(&a);
}

/// Both walks from the polygon, which must agree; the library's one.
test::NaiveParts walkFrom(Mesh& mesh, CN_Polygon& start) {
    const test::ProcessStateGuard process;
    F_DLList<CN_Polygon*> reached, rest;
    test::NaiveParts walk;
    walk.separated = mesh.separated(&start, reached, rest);
    walk.reached.assign(reached.begin(), reached.end());
    walk.rest.assign(rest.begin(), rest.end());
    const std::size_t logged = process.log().size();
    const test::NaiveParts literal = test::naiveSeparated(mesh, &start);
    EXPECT_EQ(process.log().substr(logged), process.log().substr(0, logged));
    EXPECT_TRUE(walk.separated == literal.separated && walk.reached == literal.reached && walk.rest == literal.rest);
    return walk;
}

struct Restructuring : testing::Test {
    test::ShelfDocument m_document;
};

TEST_F(Restructuring, AWalkMeetsWhatHangsTogether) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        for (CN_Polygon* const start : polygonsOf(mesh)) {
            const test::NaiveParts walk = walkFrom(mesh, *start);
            if (shelf.closed && !start->isExitPolygon()) {
                EXPECT_EQ(static_cast<int>(walk.reached.size()), shelf.polygons);
            }
            if (shelf.polygons > 100)
                break;
        }
    }
    Mesh& boxes = twoBoxes(m_document);
    for (CN_Polygon* const start : polygonsOf(boxes)) {
        const test::NaiveParts walk = walkFrom(boxes, *start);
        EXPECT_TRUE(walk.separated);
        EXPECT_EQ(walk.reached.size(), 6u);
        EXPECT_EQ(walk.rest.size(), 6u);
    }
    Mesh& room = *test::boxRoom(m_document);
    Polygons walls = polygonsOf(room);
    link(*walls[2], *walls[4]);
    EXPECT_FALSE(walkFrom(room, *walls[2]).separated) << "it meets the other side";
    link(*walls[2], *walls[3]);
    EXPECT_FALSE(walkFrom(room, *walls[2]).separated) << "not by the edge between them, but on a way round";
    Mesh& elsewhere = *test::boxRoom(m_document);
    link(*walls[2], elsewhere.accessPolygonList()[0]);
    const test::NaiveParts walk = walkFrom(room, *walls[2]);
    EXPECT_TRUE(walk.separated && walk.rest.empty()) << "the other side is not to be met";
}

/// What `separate` makes of the two boxes, started from the polygon of the first one.
std::pair<CN_Mesh*, CN_Mesh*> separateBoxes(Mesh& mesh, CN_Polygon& start, double grid) {
    F_DLList<CN_Polygon*> reached, rest;
    EXPECT_TRUE(mesh.separated(&start, reached, rest));
    return mesh.separate(&start, reached, rest, grid);
}

TEST_F(Restructuring, AMeshFallsIntoTwo) {
    Mesh& mesh = twoBoxes(m_document);
    Mesh& outside = *test::boxRoom(m_document);
    Polygons old = polygonsOf(mesh);
    link(*old[2], *old[8]);                        // from one part into the other
    link(*old[4], outside.accessPolygonList()[4]); // into another mesh
    link(*old[9], *old[11]);                       // within one part
    auto& pool = dynamic_cast<CN_LightmapPool&>(*m_document.accessLightmaps());
    pool.allocateNew(1);
    old[0]->setLightmap(1);
    mesh.accessMeshProperties().lightDynamic = !mesh.getMeshProperties().lightDynamic;
    CN_LevelEntityPolygonGroup settings;
    settings.setMaxAngle(7);
    for (const std::vector<std::size_t>& members : {std::vector<std::size_t>{1, 0, 7}, {6}}) {
        CN_LevelEntityPolygonGroup* const group = mesh.addNewPolygroup(&settings, false);
        for (const std::size_t member : members)
            group->addPolygon(old[member]);
    }
    const std::vector<Vector> corners = worldCorners(mesh);
    const int uses = m_document.getMaterials().getDefaultMaterial()->getUseCount();

    const auto [a, b] = separateBoxes(mesh, *old[1], 0.5);
    EXPECT_NEAR(CN_volume(*a), 192, 1e-3);
    EXPECT_NEAR(CN_volume(*b), 192, 1e-3);
    std::vector<Vector> copied = worldCorners(*a), second = worldCorners(*b), expected;
    copied.insert(copied.end(), second.begin(), second.end());
    const test::NaiveParts walk = [&] {
        F_DLList<CN_Polygon*> reached, rest;
        mesh.separated(old[1], reached, rest);
        return test::NaiveParts{true, {reached.begin(), reached.end()}, {rest.begin(), rest.end()}};
    }();
    for (const Polygons* const part : {&walk.reached, &walk.rest})
        for (const CN_Polygon* const polygon : *part)
            for (const CN_Edge& edge : polygon->getEdgeList())
                expected.push_back(edge.getWorld(0));
    EXPECT_LT(farthest(copied, expected), 2e-3);
    EXPECT_EQ(farthest(worldCorners(mesh), corners), 0);
    for (const CN_Mesh* const part : {a, b}) {
        EXPECT_EQ(part->getParent(), m_document.accessLevel());
        EXPECT_EQ(part->getVertexList().count(), 8);
        EXPECT_EQ(part->getRotation(), Matrix());
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_EQ(std::fmod(part->getPosition()[axis], 0.5), 0);
        EXPECT_EQ(part->getMeshProperties().lightDynamic, mesh.getMeshProperties().lightDynamic);
        EXPECT_GT(part->getBoundingRadius(), 0);
        for (const CN_Polygon& polygon : part->getPolygonList()) {
            EXPECT_EQ(polygon.getTriangleList().count(), 1);
            if (const CN_Polygon* const partner = polygon.getExitDestination()) {
                EXPECT_EQ(partner->getExitDestination(), &polygon);
                EXPECT_NE(partner->getParent(), &mesh);
            }
        }
    }
    const auto copyOf = [&](std::size_t i) {
        const auto placeIn = [&](const Polygons& part) {
            return static_cast<int>(std::find(part.begin(), part.end(), old[i]) - part.begin());
        };
        return i < 6 ? &a->accessPolygonList()[placeIn(walk.reached)] : &b->accessPolygonList()[placeIn(walk.rest)];
    };
    EXPECT_EQ(copyOf(2)->getExitDestination(), copyOf(8));
    EXPECT_EQ(copyOf(4)->getExitDestination(), &outside.getPolygonList()[4]);
    EXPECT_EQ(copyOf(9)->getExitDestination(), copyOf(11));
    ASSERT_EQ(a->getPolygonGroups().size(), 1u);
    ASSERT_EQ(b->getPolygonGroups().size(), 2u);
    const CN_LevelEntityPolygonGroup& group = **a->getPolygonGroups().begin();
    EXPECT_EQ(group.getSet(), (std::set<CN_Polygon*>{copyOf(0), copyOf(1)}));
    EXPECT_EQ(group.getMaxAngle(), 7);
    EXPECT_EQ(b->getChildren().back()->getName(), mesh.getChildren().back()->getName())
        << "in the order of the children";
    EXPECT_EQ(m_document.getMaterials().getDefaultMaterial()->getUseCount(), uses + 7);
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 2u);
    EXPECT_EQ(mesh.getPolygonList().count(), 12);
}

TEST_F(Restructuring, OfAMovingMeshOnePartBecomesAMesh) {
    Mesh& mesh = twoBoxes(m_document);
    mesh.makeDynamic(false);
    F_DLList<CN_Polygon*> reached, rest;
    ASSERT_TRUE(mesh.separated(&mesh.accessPolygonList()[0], reached, rest));
    for (const auto& [polygon, x] : {std::pair(0, 4), std::pair(7, 24)}) {
        const auto [a, b] = mesh.separate(&mesh.accessPolygonList()[polygon], reached, rest, 0);
        EXPECT_EQ(b, nullptr);
        EXPECT_EQ(a->getPolygonList().count(), 6);
        EXPECT_NEAR(mesh.worldToObject(a->getWorldPosition()).x, x, 2e-3) << "at the part's middle, on no grid";
    }
    EXPECT_EQ(mesh.getPolygonList().count(), 12);
}

TEST_F(Restructuring, WhatIsJoinedStaysWhereItIsAndKeepsWhatDependsOnIt) {
    Mesh& first = *test::twoRooms(m_document);
    Mesh& second = *dynamic_cast<Mesh*>(first.accessPolygonList()[4].getExitDestination()->getParent());
    CN_Polygon& source = second.accessPolygonList()[0];
    source.setPolyMode(PT_ADD);
    source.setPolygonIndex(77);
    source.editUVSpace(5).setPoint({1, 2, 3});
    const auto uv = source.getUVSpace(5).toUV({2, 0, 1});
    CN_LevelEntityRadiosityLight light;
    light.setRadiosityPolygon(&source);
    CN_LevelEntityPolygonGroup settings;
    CN_LevelEntityPolygonGroup *const own = first.addNewPolygroup(&settings, false), *const theirs =
                                                                                         second.addNewPolygroup(
                                                                                             &settings, false);
    own->addPolygon(&source);
    theirs->addPolygon(&source);
    second.setRotation(Matrix::rotationY(1e-3)); // within what is an axis
    first.setPosition({1, 0, 0});
    const std::vector<Vector> corners = worldCorners(second);
    CN_LevelEntityPortal* const portal = second.getPolygonList()[2].getLevelEntityPortal();

    first.join(&second);
    ASSERT_EQ(first.getPolygonList().count(), 12);
    EXPECT_EQ(second.getPolygonList().count(), 6);
    const std::vector<Vector> all = worldCorners(first);
    EXPECT_LT(farthest({all.begin() + 24, all.end()}, corners), 2e-6);
    EXPECT_EQ(first.getVertexList().count(), 16);
    CN_Polygon& copy = first.accessPolygonList()[6];
    EXPECT_EQ(copy.getPolyMode(), PT_SOLID);
    EXPECT_EQ(copy.getPolygonIndex(), CN_Polygon::NO_INDEX);
    EXPECT_EQ(light.getRadiosityPolygon(), &copy);
    EXPECT_FALSE(source.isLight());
    EXPECT_EQ(own->getSet(), std::set<CN_Polygon*>{&copy});
    EXPECT_EQ(theirs->getSet(), std::set<CN_Polygon*>{&source});
    EXPECT_FALSE(copy.hasUVSpace(1)) << "no more spaces than it had";
    EXPECT_LT((copy.getUVSpace(5).toUV(first.worldToObject(second.worldTransform({2, 0, 1}))) - uv).length(), 1e-9);
    CN_Polygon &exit = first.accessPolygonList()[8], &back = first.accessPolygonList()[4];
    EXPECT_EQ(exit.getExitDestination(), &back);
    EXPECT_EQ(back.getExitDestination(), &exit);
    EXPECT_EQ(exit.getPolyMode(), PT_EXIT);
    EXPECT_EQ(exit.getLevelEntityPortal(), portal);
    EXPECT_EQ(exit.getNormal(), Vector(1, 0, 0)) << "snapped";
    EXPECT_NEAR(first.getLocalBox().maxX, 13, 0.01) << "current";
}

TEST_F(Restructuring, PartsThatAreJoinedAreTheWhole) {
    Mesh& mesh = twoBoxes(m_document);
    const auto [a, b] = separateBoxes(mesh, mesh.accessPolygonList()[0], 0.125);
    a->join(b);
    EXPECT_EQ(a->getPolygonList().count(), 12);
    EXPECT_NEAR(CN_volume(*a), 2 * 192, 1e-3);
    EXPECT_TRUE(a->connected(nullptr));
    EXPECT_EQ(defectsOf(*a), "");
}

TEST_F(Restructuring, CornersAreSharedWithTheFirstVertexThatIsNear) {
    Mesh &source = *test::emptyMesh(m_document), &slow = *test::emptyMesh(m_document), fast;
    std::mt19937 random(5);
    std::uniform_int_distribution<int> step(-1, 1);
    // Clusters on the borders of cells and inside them, near the origin and far away.
    const auto place = [&] {
        return step(random) / 65536.0 + step(random) * 0.45e-6 + 1e6 * std::max(0, step(random));
    };
    std::vector<const CN_Polygon*> polygons;
    F_DLList<CN_Polygon*> list;
    for (int i = 0; i < 1000; ++i) {
        source.addVertex({place(), place(), place()});
        if (i % 2 == 0)
            continue;
        CN_Polygon* const polygon = source.addPolygon();
        polygon->addEdge(i - 1, i, false);
        polygons.push_back(polygon);
        list.add(polygon);
    }
    const test::ProcessStateGuard process; // such polygons enclose nothing
    fast.buildFrom(&source, list);
    m_document.accessLevel()->remove(&fast);
    test::naiveAddOutlines(slow, polygons);
    EXPECT_LT(fast.getVertexList().count(), 900);
    ASSERT_EQ(fast.getVertexList().count(), slow.getVertexList().count());
    for (int i = 0; i < fast.getVertexList().count(); ++i)
        EXPECT_EQ(fast.getVertexList()[i], slow.getVertexList()[i]);
    for (int i = 0; i < fast.getPolygonList().count(); ++i) {
        const auto indices = [i](const CN_Mesh& mesh) {
            const auto& edges = mesh.getPolygonList()[i].getEdgeList();
            return edges.empty() ? std::pair(-1, -1) : std::pair(edges[0].index(0), edges[0].index(1));
        };
        EXPECT_EQ(indices(fast), indices(slow));
    }
}

TEST_F(Restructuring, CopiesOfPolygonsFindTheirVerticesByNumber) {
    Mesh& mesh = *test::boxRoom(m_document);
    for (const CN_Vertex& vertex : CN_Mesh::VertexList(mesh.getVertexList()))
        mesh.addVertex(vertex.local + Vector(0, 10, 0));
    mesh.setMappingDirty(false);
    mesh.copyPolygonsLocal(mesh.getPolygonList(), 8);
    ASSERT_EQ(mesh.getPolygonList().count(), 12) << "what it appends is no source";
    EXPECT_EQ(mesh.getPolygonList()[7].getEdgeList()[0].index(0),
              mesh.getPolygonList()[1].getEdgeList()[0].index(0) + 8);
    EXPECT_EQ(mesh.getPolygonList()[7].getTriangleList().count(), 1);
    EXPECT_TRUE(mesh.isMappingDirty());
    mesh.copyPolygonsLocal({}, 0);
    EXPECT_FALSE(mesh.isMappingDirty());
    for (const int offset : {9, -1, std::numeric_limits<int>::max()})
        EXPECT_NE(test::failureText([&] { mesh.copyPolygonsLocal(mesh.getPolygonList(), offset); }),
                  "(nothing thrown)");
    EXPECT_EQ(mesh.getPolygonList().count(), 12);
}

TEST_F(Restructuring, EveryEdgeOfAClosedMeshHasAPartner) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        std::set<CN_Polygon*> open;
        const bool isClosed = mesh.connected(&open);
        EXPECT_EQ(isClosed, open.empty());
        if (shelf.polygons < 100) {
            EXPECT_EQ(open, test::naiveOpenPolygons(mesh));
        }
        EXPECT_EQ(open.empty(), shelf.closed && shelf.tolerance < 0.005);
    }
    Mesh& room = *test::boxRoom(m_document);
    Polygons walls = polygonsOf(room);
    room.deletePolygon(walls[2]);
    room.addPolygon(); // without edges it is closed
    std::set<CN_Polygon*> open;
    EXPECT_FALSE(room.connected(&open) || room.connected(nullptr));
    EXPECT_EQ(open, (std::set<CN_Polygon*>{walls[0], walls[1], walls[3], walls[5]}));
}

TEST_F(Restructuring, FacesThatTouchNothingAreDeleted) {
    // Upright faces over one edge: each shares it with those whose end lies beside its line, which leans for some.
    for (unsigned seed = 0; seed < 20; ++seed) {
        Mesh* meshes[2];
        std::set<CN_Polygon*> candidates[2];
        for (const int which : {0, 1}) {
            std::mt19937 random(seed);
            std::uniform_int_distribution<int> step(0, 3);
            Mesh& mesh = *(meshes[which] = test::emptyMesh(m_document));
            for (int i = 0; i < 12; ++i) {
                const double x = step(random), y = 2 * step(random), lean = step(random) * 0.0011;
                const int first = mesh.getVertexList().count();
                for (const Vector& corner :
                     {Vector(x, y, 0), {x, y + 1, 0}, {x + 1 + step(random), y + 1, lean}, {x + 2, y, lean}})
                    mesh.addVertex(corner);
                test::fixturePolygon(mesh, {{first, first + 1, first + 2, first + 3}});
            }
            mesh.calculateBoundingBox();
            for (CN_Polygon& polygon : mesh.accessPolygonList())
                polygon.buildBoundingBox(true);
            for (CN_Polygon* const polygon : polygonsOf(mesh))
                if (step(random) > 0)
                    candidates[which].insert(polygon);
        }
        Polygons before = polygonsOf(*meshes[0]);
        candidates[0].insert({nullptr, &meshes[1]->accessPolygonList()[0]});
        meshes[0]->createSharedEdgeLists();
        const int count = meshes[0]->deleteFloatingFaces(candidates[0]);
        const std::vector<int> gone = test::naiveDeleteFloatingFaces(*meshes[1], candidates[1]);
        EXPECT_EQ(static_cast<std::size_t>(count), gone.size());
        for (auto place = gone.rbegin(); place != gone.rend(); ++place)
            before.erase(before.begin() + *place);
        EXPECT_EQ(polygonsOf(*meshes[0]), before);
        EXPECT_TRUE(CN_isConsistent(m_document)) << "nothing names what is gone, and counts are right";
    }
}

TEST_F(Restructuring, AMirroredMeshIsReflectedAboutItsOwnOrigin) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        if (shelf.polygons > 100 || shelf.tolerance > 1e-3)
            continue;
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        for (const Vector& normal : {Vector(1, 0, 0), Vector(0, 0.6, -0.8), Vector(0.48, 0.64, 0.6)}) {
            const std::vector<Vector> corners = worldCorners(mesh), vertices = worldVertices(mesh);
            const Vector position = mesh.getPosition(), center = mesh.getWorldPosition();
            const std::string defects = defectsOf(mesh);
            mesh.mirror({normal, {7, 7, 7}}, false);
            std::vector<Vector> reflected;
            for (const Vector& vertex : vertices)
                reflected.push_back(vertex - normal * (2 * normal.dot(vertex - center)));
            EXPECT_LT(farthest(worldVertices(mesh), reflected), 2e-3);
            if (shelf.closed) {
                EXPECT_NEAR(CN_volume(mesh), shelf.volume, 0.25);
            }
            EXPECT_EQ(defectsOf(mesh), defects);
            EXPECT_EQ(mesh.getPosition(), position);
            mesh.mirror({normal, {-5, 0, 0}}, false);
            EXPECT_LT(farthest(worldCorners(mesh), corners), 2e-3);
        }
    }
    Mesh& room = *test::boxRoom(m_document);
    const auto uv = room.getPolygonList()[2].getUVSpace(0).toUV({0, 1, 2});
    room.mirror({Vector(1e-3, 1, 0).normalized(), {}}, false);
    EXPECT_EQ(room.getPolygonList()[0].getNormal(), Vector(0, -1, 0))
        << "a plane that is nearly one of the axes' is that";
    EXPECT_EQ(room.getPolygonList()[0].getReferenceNormal(), Vector(0, -1, 0));
    EXPECT_LT((room.getPolygonList()[2].getUVSpace(0).toUV({0, -1, 2}) - uv).length(), 1e-12);
    EXPECT_TRUE(room.getPolygonList()[2].hasUVSpace(1) && room.getPolygonList()[2].hasUVSpace(2));
    EXPECT_EQ(room.getLocalBox().maxY, 0);
}

TEST_F(Restructuring, KeyframesAreMirroredInThePlaneItself) {
    for (const auto& [relative, expected] : {std::pair(false, Vector(3, 9, 2)), std::pair(true, Vector(3, -1, 2))}) {
        Mesh& parent = *test::boxRoom(m_document);
        parent.setPosition({100, 0, 0});
        Mesh& mesh = *test::boxRoom(m_document);
        parent.add(&mesh, false);
        mesh.makeDynamic(false);
        const Matrix turn = Matrix::rotationX(1);
        mesh.accessKeyframes()->insert("k", new CN_Keyframe({turn, {3, 1, 2}}));
        mesh.mirror({{0, 1, 0}, {-3, 5, 2}}, relative);
        EXPECT_EQ(mesh.getKeyframes()->find("k")->getMatrix(), Placement(turn, expected));
        mesh.mirror({{1, 0, 0}, {101, 0, 0}}, relative);
        EXPECT_EQ(mesh.getKeyframes()->find("k")->getMatrix().translation.x, relative ? -3 : -1)
            << "in the parent's space";
    }
}

TEST_F(Restructuring, AMeshIsScaledAlongAxes) {
    const Placement axes, quarter(Matrix({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}), {5, 5, 5});
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
        {"about a point along those of a space", {8, 0, 0}, {2, 3, 4}, &axes, {8, 16, 18}},
        {"turned inside out", {}, {-2, 1, 1}, nullptr, {-16, 4, 6}},
        {"turned over twice", {}, {-1, 1, -0.5}, nullptr, {-8, 4, -3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Mesh& mesh = *test::boxRoom(m_document);
        CN_Polygon& wall = mesh.accessPolygonList()[2];
        const auto uv = wall.getUVSpace(0).toUV({0, 4, 6});
        const Vector reference = mesh.getPolygonList()[0].getReferenceNormal();
        mesh.scale(c.center, c.factors, c.space);
        EXPECT_LT((mesh.getVertexList()[6].local - c.corner).length(), 1e-12);
        EXPECT_NEAR(CN_volume(mesh), 192 * std::abs(c.factors.x * c.factors.y * c.factors.z), 1e-9);
        EXPECT_LT((wall.getUVSpace(0).toUV(mesh.getVertexList()[5].local) - uv).length(), 1e-12)
            << "it stretches along";
        EXPECT_EQ(mesh.getPolygonList()[0].getReferenceNormal(), reference);
        EXPECT_EQ(mesh.getPosition(), Vector());
        EXPECT_EQ(mesh.getVertexList()[6].world, mesh.getVertexList()[6].local);
        EXPECT_EQ(defectsOf(mesh), "");
    }
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        if (shelf.tolerance > 1e-3)
            continue;
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        const std::string defects = defectsOf(mesh);
        const Placement tilted(Matrix::rotationX(1) * Matrix::rotationY(2), {});
        mesh.scale({1, 2, 3}, {2, -0.5, 1.5}, &tilted);
        if (shelf.closed) {
            EXPECT_NEAR(CN_volume(mesh), shelf.volume * 1.5, 1e-9 * (1 + shelf.volume));
        }
        EXPECT_EQ(defectsOf(mesh), defects);
        for (const CN_Polygon& polygon : mesh.getPolygonList())
            EXPECT_NEAR(polygon.getUVSpace(0).getMatrix().row(2).length(), 1, 1e-12);
    }
}

TEST_F(Restructuring, GeometryStaysWhenTheOriginIsMoved) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        if (shelf.tolerance > 1e-3)
            continue;
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        const std::vector<Vector> corners = worldCorners(mesh);
        const std::string defects = defectsOf(mesh);
        for (const double grid : {0.5, 0.0, 1e-320}) {
            mesh.relocateCenter(grid);
            EXPECT_EQ(mesh.getRotation(), Matrix());
            for (int axis = 0; axis < 3 && grid == 0.5; ++axis)
                EXPECT_EQ(std::fmod(mesh.getPosition()[axis], grid), 0);
            Vector mean;
            for (const CN_Vertex& vertex : mesh.getVertexList())
                mean += vertex.local / mesh.getVertexList().count();
            EXPECT_LT(mean.length(), std::max(grid, 2e-3)) << "0.5 off along each axis is 0.43";
            EXPECT_LT(farthest(worldCorners(mesh), corners), 2e-3);
            EXPECT_EQ(defectsOf(mesh), defects);
        }
    }
    Mesh& room = *test::boxRoom(m_document);
    const std::vector<Vector> corners = worldCorners(room);
    room.clearGeometryDirty();
    room.changeSpaceExplicit({Matrix({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}), {1.125, 2, -3}});
    EXPECT_LT(farthest(worldCorners(room), corners), 1e-12);
    EXPECT_EQ(room.getPolygonList()[2].getNormal(), Vector(0, 0, -1));
    EXPECT_TRUE(room.isGeometryDirty());
    room.changeSpaceExplicit({Matrix::rotationY(1e-3), {}});
    EXPECT_EQ(room.getPolygonList()[2].getNormal(), Vector(1, 0, 0)) << "what is nearly an axis is that";
}

TEST_F(Restructuring, WhatMakesNoSenseIsRefusedAndNothingHasChanged) {
    Mesh &mesh = twoBoxes(m_document), &other = *test::boxRoom(m_document), &broken = *test::boxRoom(m_document);
    CN_Polygon& flat = broken.accessPolygonList()[5];
    flat.accessUVSpaces()[0].space.setMatrix({{1e-170, 0, 0}, {0, 1, 0}, {0, 0, 1}}); // too short to have a direction
    F_DLList<CN_Polygon*> reached, rest, none, foreign, twice;
    ASSERT_TRUE(mesh.separated(&mesh.accessPolygonList()[0], reached, rest));
    foreign.add(&other.accessPolygonList()[0]);
    twice.add(*reached.first());
    CN_Polygon* const some = *reached.first();
    CN_Document elsewhere;
    Mesh stranger;
    stranger.setDocument(&elsewhere);
    const Placement collapsed(Matrix({1, 0, 0}, {1, 0, 0}, {0, 0, 1}), {}), unknown(Matrix(), {NONE, 0, 0});
    const std::vector<std::function<void()>> refused{
        [&] { mesh.separated(nullptr, none, none); },
        [&] { mesh.separated(&other.accessPolygonList()[0], none, none); },
        [&] { mesh.separate(some, reached, rest, NONE); },
        [&] { mesh.separate(some, reached, foreign, 1); },
        [&] { mesh.separate(some, reached, twice, 1); },
        [&] {
            mesh.setDynamic(true);
            const test::NaiveParts undo;
            try {
                mesh.separate(nullptr, reached, rest, 1);
            } catch (F_Exception*) {
                mesh.setDynamic(false);
                throw;
            }
        },
        [&] { mesh.buildFrom(&mesh, reached); },
        [&] { mesh.buildFrom(nullptr, none); },
        [&] { mesh.join(nullptr); },
        [&] { mesh.join(&mesh); },
        [&] { mesh.join(&stranger); },
        [&] { other.join(&broken); },
        [&] {
            mesh.mirror({{0, 0, 0}, {}}, false);
        },
        [&] {
            mesh.mirror({{NONE, 0, 1}, {}}, false);
        },
        [&] {
            mesh.mirror({{0, 0, 1}, {NONE, 0, 0}}, false);
        },
        [&] {
            mesh.scale({}, {1, 0, 1}, nullptr);
        },
        [&] {
            mesh.scale({}, {1, NONE, 1}, nullptr);
        },
        [&] {
            mesh.scale({}, {1, 1e300, 1e300}, nullptr);
        },
        [&] {
            mesh.scale({NONE, 0, 0}, {1, 2, 1}, nullptr);
        },
        [&] {
            mesh.scale({}, {1, 2, 1}, &collapsed);
        },
        [&] { mesh.relocateCenter(NONE); },
    };
    const test::Bytes before = test::saveLevel(m_document);
    for (std::size_t i = 0; i < refused.size(); ++i) {
        EXPECT_NE(test::failureText(refused[i]), "(nothing thrown)") << i;
        EXPECT_TRUE(test::saveLevel(m_document) == before) << i;
    }
    mesh.changeSpaceExplicit(unknown);
    EXPECT_TRUE(test::saveLevel(m_document) == before);

    Mesh& empty = *test::emptyMesh(m_document);
    empty.mirror({{0, 1, 0}, {}}, true);
    empty.scale({}, {1, 2, 3}, nullptr);
    empty.relocateCenter(0.25);
    empty.join(&other);
    EXPECT_EQ(empty.getPolygonList().count(), 6);
    EXPECT_EQ(other.deleteFloatingFaces({}), 0);
}

} // namespace
} // namespace cairn
