#include "cairn/entities/cairn_level.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "tests/support/mesh_places.h"
#include "tests/support/naive_restructuring.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;
using Polygons = std::vector<CN_Polygon*>;
using Mesh = CN_LevelEntityMesh;
using test::cornersOf;
using test::farthest;
using test::polygonsOf;

/// Two rooms in one mesh that touch nowhere: polygons 0 to 5 and 6 to 11. The mesh stands turned in the world.
Mesh& twoBoxes(CN_Document& document) {
    Mesh &mesh = *test::boxRoom(document), &other = *test::boxRoom(document);
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

/// The walk from the polygon, held against the one that is told.
test::NaiveParts walkFrom(CN_Mesh& mesh, CN_Polygon* start) {
    test::ProcessStateGuard process;
    F_DLList<CN_Polygon*> reached, rest;
    const bool separated = mesh.separated(start, reached, rest);
    const std::string log = process.log();
    process.clear();
    const test::NaiveParts walk{separated, {reached.begin(), reached.end()}, {rest.begin(), rest.end()}};
    const test::NaiveParts told = test::naiveSeparated(mesh, start);
    EXPECT_EQ(log, process.log());
    EXPECT_TRUE(walk.separated == told.separated && walk.reached == told.reached && walk.rest == told.rest);
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
            const test::NaiveParts walk = walkFrom(mesh, start);
            EXPECT_EQ(walk.rest.empty(), shelf.closed || shelf.polygons == 1 || shelf.name == "tPair");
            if (shelf.polygons > 100)
                break;
        }
    }
    Mesh& boxes = twoBoxes(m_document);
    for (CN_Polygon* const start : polygonsOf(boxes))
        EXPECT_EQ(walkFrom(boxes, start).rest.size(), 6u);
    Mesh &room = *test::boxRoom(m_document), &elsewhere = *test::boxRoom(m_document);
    const Polygons walls = polygonsOf(room);
    link(*walls[2], *walls[4]);
    EXPECT_FALSE(walkFrom(room, walls[2]).separated) << "it meets the other side";
    link(*walls[2], *walls[3]);
    EXPECT_FALSE(walkFrom(room, walls[2]).separated) << "not by the edge between them, but on a way round";
    link(*walls[2], elsewhere.accessPolygonList()[0]);
    const test::NaiveParts walk = walkFrom(room, walls[2]);
    EXPECT_TRUE(walk.separated && walk.rest.empty()) << "the other side is not to be met";
}

TEST_F(Restructuring, AMeshFallsIntoTwoAndIsJoinedAgain) {
    Mesh &mesh = twoBoxes(m_document), &outside = *test::boxRoom(m_document);
    const Polygons old = polygonsOf(mesh);
    link(*old[2], *old[8]);                        // from one part into the other
    link(*old[4], outside.accessPolygonList()[4]); // into another mesh
    link(*old[9], *old[11]);                       // within one part
    auto& pool = dynamic_cast<CN_LightmapPool&>(*m_document.accessLightmaps());
    pool.allocateNew(1);
    old[0]->setLightmap(1);
    mesh.accessMeshProperties().lightDynamic = true;
    CN_LevelEntityPolygonGroup settings;
    settings.setMaxAngle(7);
    for (const Polygons& members : {Polygons{old[1], old[0], old[7]}, Polygons{old[6]}}) {
        CN_LevelEntityPolygonGroup* const group = mesh.addNewPolygroup(&settings, false);
        for (CN_Polygon* const member : members)
            group->addPolygon(member);
    }
    const CN_Material* const material = m_document.getMaterials().getDefaultMaterial();
    const int uses = material->getUseCount();

    F_DLList<CN_Polygon*> reached, rest;
    ASSERT_TRUE(mesh.separated(old[1], reached, rest));
    const std::pair<CN_Mesh*, CN_Mesh*> parts = mesh.separate(old[1], reached, rest, 0.5);
    CN_Mesh *const a = parts.first, *const b = parts.second;
    for (const auto& [part, sources] : {std::pair(a, &reached), std::pair(b, &rest)}) {
        EXPECT_LT(farthest(cornersOf(polygonsOf(*part)), cornersOf({sources->begin(), sources->end()})), 2e-3);
        EXPECT_NEAR(CN_volume(*part), 192, 1e-3);
        EXPECT_EQ(part->getParent(), m_document.accessLevel());
        EXPECT_EQ(part->getVertexList().count(), 8);
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_EQ(std::fmod(part->getPosition()[axis], 0.5), 0);
        EXPECT_TRUE(part->getMeshProperties().lightDynamic);
        EXPECT_GT(part->getBoundingRadius(), 0);
    }
    const auto copyOf = [&](std::size_t i) -> CN_Polygon* {
        return i < 6 ? &a->accessPolygonList()[reached.indexOfValue(old[i])]
                     : &b->accessPolygonList()[rest.indexOfValue(old[i])];
    };
    const std::pair<CN_Polygon*, CN_Polygon*> pairs[] = {
        {copyOf(2), copyOf(8)}, {copyOf(4), &outside.accessPolygonList()[4]}, {copyOf(9), copyOf(11)}};
    for (const auto& [exit, partner] : pairs)
        EXPECT_TRUE(exit->getExitDestination() == partner && partner->getExitDestination() == exit);
    ASSERT_EQ(a->getPolygonGroups().size(), 1u) << "the other one has no member here";
    EXPECT_EQ((*a->getPolygonGroups().begin())->getSet(), (std::set<CN_Polygon*>{copyOf(0), copyOf(1)}));
    EXPECT_EQ((*a->getPolygonGroups().begin())->getMaxAngle(), 7);
    EXPECT_EQ(b->getChildren().back()->getName(), mesh.getChildren().back()->getName()) << "in the order of children";
    EXPECT_EQ(material->getUseCount(), uses + 7);
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 2u);
    EXPECT_EQ(mesh.getPolygonList().count(), 12);

    a->join(b);
    EXPECT_EQ(a->getPolygonList().count(), 12);
    EXPECT_NEAR(CN_volume(*a), 2 * 192, 1e-3);
    EXPECT_TRUE(a->connected(nullptr));

    mesh.makeDynamic(false);
    for (const auto& [polygon, x] : {std::pair(0, 4), std::pair(7, 24)}) {
        const auto [part, none] = mesh.separate(&mesh.accessPolygonList()[polygon], reached, rest, 0);
        EXPECT_EQ(none, nullptr) << "a moving mesh gives one part away";
        EXPECT_EQ(part->getPolygonList().count(), 6);
        EXPECT_NEAR(mesh.worldToObject(part->getWorldPosition()).x, x, 2e-3) << "on no grid";
    }
}

TEST_F(Restructuring, WhatIsJoinedStaysWhereItIsAndKeepsWhatDependsOnIt) {
    Mesh& first = *test::twoRooms(m_document);
    Mesh& second = dynamic_cast<Mesh&>(*first.accessPolygonList()[4].getExitDestination()->getParent());
    CN_Polygon& source = second.accessPolygonList()[0];
    source.setPolyMode(PT_ADD);
    source.editUVSpace(5).setPoint({1, 2, 3});
    CN_LevelEntityRadiosityLight light;
    light.setRadiosityPolygon(&source);
    CN_LevelEntityPolygonGroup settings;
    CN_LevelEntityPolygonGroup* const groups[] = {first.addNewPolygroup(&settings, false),
                                                  second.addNewPolygroup(&settings, false)};
    for (CN_LevelEntityPolygonGroup* const group : groups)
        group->addPolygon(&source);
    second.setRotation(Matrix::rotationY(1e-3)); // within what is an axis
    first.setPosition({1, 0, 0});
    const CN_LevelEntityPortal* const portal = second.getPolygonList()[2].getLevelEntityPortal();

    first.join(&second);
    const Polygons all = polygonsOf(first);
    ASSERT_EQ(all.size(), 12u);
    EXPECT_LT(farthest(cornersOf({all.begin() + 6, all.end()}), cornersOf(polygonsOf(second))), 2e-6);
    EXPECT_EQ(first.getVertexList().count(), 16);
    EXPECT_EQ(all[6]->getPolyMode(), PT_SOLID);
    EXPECT_EQ(light.getRadiosityPolygon(), all[6]);
    EXPECT_FALSE(source.isLight());
    EXPECT_EQ(groups[0]->getSet(), std::set<CN_Polygon*>{all[6]});
    EXPECT_EQ(groups[1]->getSet(), std::set<CN_Polygon*>{&source}) << "it is not this mesh's";
    EXPECT_FALSE(all[6]->hasUVSpace(1)) << "no more spaces than it had";
    const Vector there = first.worldToObject(second.worldTransform({2, 0, 1}));
    EXPECT_LT((all[6]->getUVSpace(5).toUV(there) - source.getUVSpace(5).toUV({2, 0, 1})).length(), 1e-9);
    EXPECT_TRUE(all[8]->getExitDestination() == all[4] && all[4]->getExitDestination() == all[8]);
    EXPECT_EQ(all[8]->getPolyMode(), PT_EXIT);
    EXPECT_EQ(all[8]->getLevelEntityPortal(), portal);
    EXPECT_EQ(all[8]->getNormal(), Vector(1, 0, 0)) << "snapped";
    EXPECT_NEAR(first.getLocalBox().maxX, 13, 0.01) << "current";
}

TEST_F(Restructuring, CopiesShareTheFirstVertexThatIsNearOrTakeThemByNumber) {
    Mesh &source = *test::emptyMesh(m_document), &slow = *test::emptyMesh(m_document),
         &fast = *test::emptyMesh(m_document);
    std::mt19937 random(5);
    std::uniform_int_distribution<int> step(-1, 1);
    // Clusters on the borders of cells and inside them, near the origin and far away.
    const auto place = [&] {
        return step(random) / 65536.0 + step(random) * 0.45e-6 + 1e6 * std::max(0, step(random));
    };
    std::vector<const CN_Polygon*> polygons;
    F_DLList<CN_Polygon*> list;
    for (int i = 0; i < 1000; i += 2) {
        for (const int end : {0, 1})
            source.addVertex({place() + end * 1e-9, place(), place()});
        CN_Polygon* const polygon = source.addPolygon();
        polygon->addEdge(i, i + 1, false);
        polygons.push_back(polygon);
        list.add(polygon);
    }
    const auto outlinesOf = [](const CN_Mesh& mesh) {
        std::vector<std::pair<int, Vector>> outlines;
        for (const CN_Polygon& polygon : mesh.getPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                for (const int end : {0, 1})
                    outlines.emplace_back(edge.index(end), edge.getLocal(end));
        return outlines;
    };
    {
        const test::ProcessStateGuard process; // such polygons enclose nothing
        fast.buildFrom(&source, list);
        test::naiveAddOutlines(slow, polygons);
    }
    EXPECT_LT(slow.getVertexList().count(), 900);
    EXPECT_TRUE(outlinesOf(fast) == outlinesOf(slow));

    Mesh& mesh = *test::boxRoom(m_document);
    for (int i = 0; i < 8; ++i)
        mesh.addVertex(mesh.getVertexList()[i].local + Vector(0, 10, 0));
    mesh.copyPolygonsLocal(mesh.getPolygonList(), 8);
    ASSERT_EQ(mesh.getPolygonList().count(), 12) << "what it appends is no source";
    EXPECT_EQ(mesh.getPolygonList()[7].getEdgeList()[0].getLocal(0).y, 14);
    EXPECT_EQ(mesh.getPolygonList()[7].getTriangleList().count(), 1);
    EXPECT_TRUE(mesh.isMappingDirty());
    mesh.copyPolygonsLocal({}, 0);
    EXPECT_FALSE(mesh.isMappingDirty());
}

TEST_F(Restructuring, EveryEdgeOfAClosedMeshHasAPartner) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        SCOPED_TRACE(shelf.name);
        Mesh& mesh = *shelf.build(m_document);
        std::set<CN_Polygon*> open;
        const bool isClosed = mesh.connected(&open);
        EXPECT_EQ(isClosed, shelf.closed && shelf.tolerance < 0.005);
        EXPECT_EQ(open, shelf.polygons < 100 ? test::naiveOpenPolygons(mesh) : std::set<CN_Polygon*>());
    }
    Mesh& room = *test::boxRoom(m_document);
    const Polygons walls = polygonsOf(room);
    room.deletePolygon(walls[2]);
    room.addPolygon(); // without edges it is closed
    std::set<CN_Polygon*> open;
    EXPECT_FALSE(room.connected(&open) || room.connected(nullptr));
    EXPECT_EQ(open, (std::set<CN_Polygon*>{walls[0], walls[1], walls[3], walls[5]}));
}

TEST_F(Restructuring, FacesThatTouchNothingAreDeleted) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        Mesh* meshes[2];
        std::vector<int> left[2]; // the first vertices of faces
        for (const int which : {0, 1}) {
            std::mt19937 random(seed);
            std::uniform_int_distribution<int> step(0, 3);
            Mesh& mesh = *(meshes[which] = test::emptyMesh(m_document));
            std::set<CN_Polygon*> candidates{nullptr, meshes[0]->accessPolygonList().first()};
            for (int i = 0; i < 48; i += 4) {
                // Of two edges, one that leans may lie beside the other, but not that beside it.
                const double x = step(random), y = 2 * step(random), z = step(random) * 0.0011;
                for (const Vector& corner :
                     {Vector(x, y, 0), Vector(x, y + 1, 0), Vector(x + 4 - z, y + 1, z), Vector(x + 2, y, z)})
                    mesh.addVertex(corner);
                CN_Polygon* const face = test::fixturePolygon(mesh, {{i, i + 1, i + 2, i + 3}});
                face->buildBoundingBox(true);
                if (step(random) > 0)
                    candidates.insert(face);
            }
            mesh.handleOwnHierarchy();
            if (which == 0) {
                mesh.createSharedEdgeLists();
                const int count = mesh.deleteFloatingFaces(candidates);
                EXPECT_EQ(count, 12 - mesh.getPolygonList().count());
            } else
                test::naiveDeleteFloatingFaces(mesh, candidates);
            for (const CN_Polygon& face : mesh.getPolygonList())
                left[which].push_back(face.getEdgeList()[0].index(0));
        }
        EXPECT_EQ(left[0], left[1]);
        EXPECT_TRUE(CN_isConsistent(m_document)) << "nothing names what is gone, and counts are right";
    }
}

} // namespace
} // namespace cairn
