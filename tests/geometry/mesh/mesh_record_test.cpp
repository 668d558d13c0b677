#include "cairn/animation/keyframes.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/file.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/validate.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/old_meshes.h"
#include "tests/support/polygon_statics_guard.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <limits>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::OldMesh;
using test::OldPolygon;
using test::OldSpace;
using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double ENDLESS = std::numeric_limits<double>::infinity();

/// A document with the material "Stone" in the category "Old", beside the default one, and a mesh to be read.
struct Shelf {
    Shelf() {
        auto* const category = document.accessMaterials().addCategory(&document.accessTextures(), "Old");
        stone = category->add(0, "", nullptr);
        stone->setName("Stone");
        mesh = test::addFixture(document, "Room");
    }
    CN_LevelEntityMesh* load(const Bytes& bytes) {
        F_MemoryFile file(bytes.data(), bytes.size(), false);
        mesh->loadEntitySpecificData(file);
        EXPECT_EQ(file.getRemaining(), 0u);
        return mesh;
    }
    CN_LevelEntityMesh* load(const OldMesh& old) { return load(test::StoredMesh{"", old}.bytes()); }
    /// The polygon in a mesh of its own.
    CN_Polygon& load(const OldPolygon& polygon) { return load(OldMesh{.polygons = {polygon}})->accessPolygonList()[0]; }
    Bytes save() {
        F_MemoryFile file;
        mesh->saveEntitySpecificData(file);
        return test::bytesOf(file);
    }
    CN_Material* plain() { return document.accessMaterials().getDefaultMaterial(); }

    test::ProcessStateGuard process;
    test::PolygonStaticsGuard statics;
    test::ShelfDocument document;
    CN_Material* stone;
    CN_LevelEntityMesh* mesh;
};

/// Makes the stored files anew: for a form that is added. Those that are there must not change.
TEST(OldMeshes, DISABLED_StoreEveryForm) {
    for (const test::StoredMesh& stored : test::storedMeshes())
        F_File::replace(stored.path().string(), stored.bytes());
}

TEST(OldMeshes, EveryStoredFormLoadsAndSavesInTheNewest) {
    for (const test::StoredMesh& stored : test::storedMeshes()) {
        SCOPED_TRACE(stored.name);
        const Bytes bytes = stored.bytes();
        EXPECT_EQ(F_File::readAll(stored.path().string()), bytes);
        Shelf shelf;
        CN_Polygon::m_suiRunningDocIndex = 40;
        CN_Polygon::m_loadFeatures = stored.mesh.features;
        const unsigned int triangles = CN_Polygon::s_uiTriangleIndex;
        CN_LevelEntityMesh& mesh = *shelf.load(bytes);
        EXPECT_EQ(CN_Polygon::s_uiTriangleIndex, triangles + 2);
        const int version = stored.mesh.version;
        const bool dynamic = stored.mesh.dynamic, trigger = stored.mesh.trigger;
        EXPECT_TRUE(mesh.areFacesFlipped());
        ASSERT_EQ(mesh.getVertexList().count(), 4);
        EXPECT_EQ(mesh.getVertexList()[3].local, Vector(1, 0, 1));
        ASSERT_EQ(mesh.getPolygonList().count(), 2);
        const CN_Polygon& first = mesh.getPolygonList()[0];
        EXPECT_EQ(first.getPolygonIndex(), stored.mesh.polygonVersion > 1 ? 0u : 40u);
        const bool painted = trigger && version <= 6, hasSpaces = stored.mesh.features & PF_UV_SPACES;
        EXPECT_EQ(first.getMaterial(), painted ? shelf.plain() : shelf.stone);
        EXPECT_EQ(mesh.getPolygonList()[1].getMaterial(), shelf.plain());
        EXPECT_EQ(shelf.plain()->getUseCount() + shelf.stone->getUseCount(), 2);
        EXPECT_EQ(first.getEdgeList()[2].index(1), 0);
        EXPECT_EQ(first.getTriangleList()[0].getVertices(), (std::vector<int>{0, 1, 2}));
        EXPECT_EQ(first.hasUVSpace(2), hasSpaces && !painted) << "the new material has no light layer";
        EXPECT_EQ(first.getUVSpace(1).getOffset().x, hasSpaces ? 0.5 : 0);

        EXPECT_EQ(mesh.isTrigger(), trigger);
        EXPECT_EQ(mesh.isDynamic(), dynamic);
        EXPECT_EQ(dynamic, mesh.hasFSM() && mesh.getFSM()->hasMessageHandler("DO_MovedToInvalidPositionEnds"));
        EXPECT_EQ(shelf.process.boxes().size(), dynamic ? 1u : 0u) << "no machine was stored";
        EXPECT_EQ(mesh.getGeneralProperties().isGameplayCritical(), version <= 7 && (dynamic || trigger));
        const CN_MeshProperties& properties = mesh.getMeshProperties();
        EXPECT_EQ(properties.collideA, version == 1);
        EXPECT_EQ(properties.collideB, version == 1 || (version > 5 && (dynamic || version > 8)));
        EXPECT_EQ(properties.physicalMaterial, dynamic && version > 5 ? "stone" : "");

        CN_Polygon::m_loadFeatures = CN_Polygon::m_saveFeatures;
        const Bytes saved = shelf.save();
        Shelf again;
        again.load(saved);
        EXPECT_EQ(again.save(), saved);
    }
}

TEST(PolygonRecord, RepairsWhatItCan) {
    const OldSpace singular{.matrix = {{1, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
    const OldSpace tilted{.matrix = {{1, 0, 0}, {0, 0, -1}, {0, 0.99, 0.14}}, .offset = {7, 7}};
    const OldSpace flat{.matrix = {{1, 0, 0}, {0, 0, 0}, {0, 1, 0}}};
    const Matrix alongTheEdge({0, 0, 1}, {1, 0, 0}, {0, 1, 0});
    struct Case {
        const char* what;
        std::function<void(OldPolygon&)> make;
        std::function<void(const CN_Polygon&, Shelf&)> check;
        const char* boxes; ///< the texts of all shown
        int findings;
    };
    const Case cases[] = {
        {"nothing", [](OldPolygon&) {},
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getWorldNormal(), p.getNormal()); }, "", 0},
        {"a short reference normal", [](OldPolygon& p) { p.referenceNormal = Vector(0.4, 0, 0); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getReferenceNormal(), Vector(0, 1, 0)); }, "", 1},
        {"a long one", [](OldPolygon& p) { p.referenceNormal = Vector(3, 0, 0); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getReferenceNormal(), Vector(1, 0, 0)); }, "", 0},
        {"one that is none", [](OldPolygon& p) { p.referenceNormal = Vector(0, ENDLESS, NOT_A_NUMBER); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getReferenceNormal(), Vector(0, 1, 0)); }, "", 1},
        {"normals of no length", [](OldPolygon& p) { p.referenceNormal = p.normal = {}; },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getReferenceNormal(), Vector()); }, "", 0},
        {"a singular space",
         [&](OldPolygon& p) {
             p.space = singular;
             p.spaces = {{1, tilted}};
         },
         [&](const CN_Polygon& p, Shelf&) {
             EXPECT_EQ(p.getUVSpace(0).getMatrix(), alongTheEdge);
             EXPECT_EQ(p.getUVSpace(1).getMatrix(), alongTheEdge);
             EXPECT_TRUE(p.isUVDirty());
         },
         "Polygon 0 has an invalid texture space. Resetting...", 1},
        {"a singular space beside a sound one",
         [&](OldPolygon& p) {
             p.space = singular;
             p.normal = p.referenceNormal = {1, 0, 0};
             p.spaces = {{5, {.matrix = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}, .offset = {7, 7}}}, {6, tilted}};
         },
         [&](const CN_Polygon& p, Shelf&) {
             EXPECT_EQ(p.getUVSpace(0).getMatrix().row(2), Vector(1, 0, 0));
             EXPECT_EQ(p.getUVSpace(5).getOffset().x, 7) << "it is in the plane";
             EXPECT_EQ(p.getUVSpace(6).getMatrix(), p.getUVSpace(0).getMatrix());
         },
         "Polygon 0 has an invalid texture space. Resetting...", 1},
        {"a space that is no number",
         [](OldPolygon& p) {
             p.space.matrix.row(0).x = NOT_A_NUMBER;
             p.edges = {{0, 0}};
         },
         [](const CN_Polygon& p, Shelf&) { EXPECT_TRUE(p.getUVSpace(0).getMatrix().isInvertible()); },
         "Polygon 0 has an invalid texture space. Resetting...Polygon 0 has a null edge", 2},
        {"a tilted extra space", [&](OldPolygon& p) { p.spaces.emplace_back(1, tilted); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getUVSpace(1).getOffset().x, 0); }, "", 0},
        {"a singular extra space", [&](OldPolygon& p) { p.spaces.emplace_back(5, singular); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getUVSpace(5).getMatrix(), p.getUVSpace(0).getMatrix()); }, "",
         1},
        {"a short row", [](OldPolygon& p) { p.space.matrix.row(0) = Vector(0.00005, 0, 0); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getUVSpace(0).getMatrix().row(0), Vector(0.001, 0, 0)); }, "",
         1},
        {"a short row that stays none",
         [&](OldPolygon& p) {
             p.space = flat; // singular, and no edge to lay it along
             p.edges.clear();
             p.normal = {};
         },
         [](const CN_Polygon& p, Shelf&) { EXPECT_TRUE(p.getUVSpace(0).getMatrix().isInvertible()); },
         "Polygon 0 has an invalid texture space. Resetting...", 1},
        {"an exit's material", [](OldPolygon& p) { p.mode = PT_EXIT, p.category = "Old", p.material = "Stone"; },
         [](const CN_Polygon& p, Shelf& shelf) {
             EXPECT_EQ(p.getMaterial(), nullptr);
             EXPECT_EQ(shelf.stone->getUseCount(), 0);
         },
         "", 0},
        {"an unknown material", [](OldPolygon& p) { p.category = "Old", p.material = "Wood"; },
         [](const CN_Polygon& p, Shelf& shelf) { EXPECT_EQ(p.getMaterial(), shelf.plain()); },
         "Poly 0 in mesh Room : Material Wood in category Old not found!", 1},
        {"a mode beside a blending material",
         [](OldPolygon& p) { p.mode = PT_MUL, p.category = "OLD", p.material = "STONE"; },
         [](const CN_Polygon& p, Shelf& shelf) {
             EXPECT_EQ(p.getMaterial(), shelf.stone);
             EXPECT_EQ(p.getPolyMode(), PT_SOLID);
         },
         "", 1},
        {"a null edge",
         [](OldPolygon& p) {
             p.edges = {{0, 1}, {1, 1}, {1, 0}};
         },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getEdgeList().count(), 3); }, "Polygon 0 has a null edge", 1},
        {"a lightmap that is not there", [](OldPolygon& p) { p.lightmap = 12; },
         [](const CN_Polygon& p, Shelf& shelf) {
             EXPECT_EQ(p.getLightmapMapping().getLightmapID(), 12u) << "kept as a number";
             EXPECT_FALSE(p.getLightmapMapping().isLightmapValid());
             EXPECT_NE(shelf.process.log().find("lightmap 12"), std::string::npos);
         },
         "", 0},
        {"a singular space on the lightmap", [&](OldPolygon& p) { p.lightmapSpace = singular; },
         [](const CN_Polygon& p, Shelf&) {
             EXPECT_EQ(p.getLightmapMapping().getMatrix(), CN_LightmapMapping().getMatrix());
         },
         "", 1},
        {"a resolution that is no number",
         [](OldPolygon& p) { p.lightmapResolution = std::numeric_limits<float>::quiet_NaN(); },
         [](const CN_Polygon& p, Shelf&) { EXPECT_EQ(p.getLightmapMapping().getResolution(), 4); }, "", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Shelf shelf;
        shelf.stone->setBlendType(CN_Material::BLEND_ALPHA);
        OldPolygon polygon;
        c.make(polygon);
        c.check(shelf.load(polygon), shelf);
        std::string boxes;
        for (const test::ShownBox& box : shelf.process.boxes())
            boxes += box.text;
        EXPECT_EQ(boxes, c.boxes);
        EXPECT_EQ(shelf.document.getLoadReport().getFindings().size(), static_cast<std::size_t>(c.findings));
        if (shelf.mesh->getPolygonList()[0].getEdgeList().empty())
            continue;
        const Bytes saved = shelf.save();
        Shelf again;
        again.load(saved);
        EXPECT_EQ(again.save(), saved) << "what was repaired is repaired once";
    }
}

TEST(PolygonRecord, RefusesWhatGeometryCouldNotBear) {
    const std::pair<const char*, std::function<void(OldPolygon&)>> cases[] = {
        {"an edge from vertex 2 to vertex 4", [](OldPolygon& p) { p.edges[2].second = 4; }},
        {"an edge from vertex -1", [](OldPolygon& p) { p.edges[2].first = -1; }},
        {"a corner at vertex 4", [](OldPolygon& p) { p.triangles[0][2] = 4; }},
        {"-1 holes", [](OldPolygon& p) { p.holes = -1; }},
        {"4 holes", [](OldPolygon& p) { p.holes = 4; }},
        {"-7 edges", [](OldPolygon& p) { p.edgeCount = -7; }},
        {"2147483647 edges", [](OldPolygon& p) { p.edgeCount = 0x7FFFFFFF; }},
        {"2147483647 triangles", [](OldPolygon& p) { p.triangleCount = 0x7FFFFFFF; }},
        {"65 texture spaces", [](OldPolygon& p) { p.spaces.resize(64); }},
        {"a normal", [](OldPolygon& p) { p.normal.z = NOT_A_NUMBER; }},
        {"a point", [](OldPolygon& p) { p.pointOnPlane.x = ENDLESS; }},
    };
    for (const auto& [what, make] : cases) {
        Shelf shelf;
        OldPolygon polygon{.index = 17};
        make(polygon);
        const string text = failureText([&] { shelf.load(polygon); });
        EXPECT_NE(text.find("Polygon 17 of the mesh \"Room\""), string::npos) << text;
        EXPECT_NE(text.find(what), string::npos) << text;
    }
    Shelf shelf;
    shelf.stone->setLightTexture(shelf.document.accessTextures().addNew());
    OldPolygon lit{.category = "Old", .material = "Stone"};
    for (int key = 3; key < 3 + 63; ++key)
        lit.spaces.emplace_back(key, OldSpace{});
    EXPECT_NE(failureText([&] { shelf.load(lit); }).find("65 texture spaces"), string::npos)
        << "one is the light layer's";
    EXPECT_NE(failureText([&] {
                  shelf.load(OldMesh{.vertices = {{0, NOT_A_NUMBER, 0}}});
              }).find("vertex"),
              string::npos);
}

TEST(PolygonRecord, MasksChooseTheLayout) {
    const auto saveWith = [](unsigned int features) {
        Shelf shelf;
        shelf.load(test::storedMeshes().back().mesh.polygons[0]);
        CN_Polygon::m_saveFeatures = features;
        const Bytes saved = shelf.save();
        Shelf again;
        CN_Polygon::m_loadFeatures = features;
        again.load(saved);
        const CN_Polygon& polygon = again.mesh->getPolygonList()[0];
        return std::to_string(polygon.getEdgeList().count()) + " " + std::to_string(polygon.getUVSpaces().size()) +
               " " + std::to_string(polygon.getUVSpace(2).getOffset().x);
    };
    EXPECT_EQ(saveWith(0x36DFF), "3 3 2.000000");
    EXPECT_EQ(saveWith(0x16DFF), "3 3 2.000000") << "without keys they are 1 and 2";
    EXPECT_EQ(saveWith(0x37DFF), "3 3 2.000000") << "without normals in the triangles";
    EXPECT_EQ(saveWith(0x32DFF), "3 1 0.000000") << "without extra spaces";
    EXPECT_EQ(saveWith(0x36DF7), "0 3 2.000000") << "edges are constructed, of no corners";

    Shelf shelf;
    OldMesh old{.polygonVersion = 2, .features = 0x26DFF}; // without the old extent
    CN_Polygon::m_loadFeatures = old.features;
    EXPECT_EQ(shelf.load(old)->getPolygonList()[0].getEdgeList().count(), 3);
}

TEST(PolygonRecord, TakesThePlaceOfWhatThePolygonWas) {
    Shelf shelf;
    auto& pool = dynamic_cast<CN_LightmapPool&>(*shelf.document.accessLightmaps());
    pool.allocateNew(1);
    pool.allocateNew(2);
    shelf.load(OldMesh{.polygons = {{.index = 8, .lightmap = 1}, {.index = 9, .lightmap = 1}}});
    CN_Polygon& polygon = shelf.mesh->accessPolygonList()[0];
    CN_PolygonValidator::instance()->enumeratePolygons(&shelf.document, nullptr);
    F_MemoryFile file;
    polygon.save(file);
    const auto reload = [&] {
        file.toRead();
        polygon.load(file);
    };
    polygon.setExitDestination(&shelf.mesh->accessPolygonList()[1]);
    reload();
    EXPECT_FALSE(polygon.isExitPolygon());
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 2u);
    shelf.mesh->accessPolygonList()[1].setLightmap(2);
    reload();
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 1u) << "its last user may read it again";
    polygon.setLightmap(2);
    reload();
    EXPECT_EQ(pool.getLightmap(1), nullptr) << "the last user had left";
    EXPECT_EQ(pool.getLightmap(2)->getRefCount(), 1u);
}

TEST(PolygonRecord, CountsOnNoLightmapWhereIdsAreNotThePools) {
    Shelf shelf;
    auto& pool = dynamic_cast<CN_LightmapPool&>(*shelf.document.accessLightmaps());
    pool.allocateNew(12);
    CN_Polygon::s_bLightmapIDsAreValidAtLoadTime = false;
    CN_Polygon& polygon = shelf.load(OldPolygon{.lightmap = 12});
    EXPECT_EQ(pool.getLightmap(12)->getRefCount(), 0u);
    for (const CN_Finding& finding : CN_validateDocument(shelf.document, CN_LEVEL_TOLERANCE))
        EXPECT_STREQ(finding.code, "mesh-open");
    pool.referenceLightmap(12);
    shelf.mesh->deletePolygon(&polygon);
    EXPECT_EQ(pool.getLightmap(12)->getRefCount(), 1u) << "another's";
}

TEST(MeshRecord, AnExitMakesAMeshCollideAndOldOnesCritical) {
    for (const bool hasEdges : {true, false})
        for (const int version : {7, 8, 9}) {
            Shelf shelf;
            OldPolygon exit{.mode = PT_EXIT, .exit = 0};
            if (!hasEdges)
                exit.edges.clear();
            shelf.load(OldMesh{.version = version, .polygons = {exit}});
            const CN_MeshProperties& properties = shelf.mesh->getMeshProperties();
            EXPECT_TRUE(properties.collideA && properties.collideB && properties.collideC);
            EXPECT_EQ(shelf.mesh->getGeneralProperties().isGameplayCritical(), version == 7);
            EXPECT_EQ(test::reportCodes(shelf.document), hasEdges ? "" : "repaired");
        }
}

TEST(MeshRecord, OldTriggersPaintWhatIsNoExitAndTheOldestMeshesAreNone) {
    Shelf shelf;
    shelf.load(OldMesh{.version = 6, .polygons = {{.mode = PT_EXIT}, {}}, .trigger = true});
    EXPECT_EQ(shelf.mesh->getPolygonList()[0].getMaterial(), nullptr);
    EXPECT_EQ(shelf.mesh->getPolygonList()[1].getMaterial(), shelf.plain());
    EXPECT_TRUE(shelf.mesh->isTrigger());
    shelf.load(OldMesh{.version = 2});
    EXPECT_FALSE(shelf.mesh->isTrigger());
}

TEST(MeshRecord, DynamicMeshesTriggersAndEdgelessPolygonsComeBackOnce) {
    const test::ProcessStateGuard process;
    test::ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::twoRooms(document);
    mesh->makeDynamic(true);
    mesh->setPosition({1, 2, 3});
    mesh->addKeyframe("second");
    const CN_TriggerProperties trigger;
    mesh->setTriggerProperties(&trigger);
    mesh->addPolygon();
    mesh->accessPolygonList().moveBefore(mesh->getPolygonList().last(), mesh->getPolygonList().first());
    const Bytes saved = test::saveLevel(document);
    CN_Document again;
    test::loadLevel(again, saved);
    auto* const loaded = dynamic_cast<CN_LevelEntityMesh*>(again.accessLevel()->hasChildNamed("First"));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->getPolygonList().count(), 6) << "the polygon without edges is gone";
    EXPECT_TRUE(loaded->isRoom());
    EXPECT_TRUE(loaded->isTrigger());
    EXPECT_EQ(loaded->getKeyframes()->getCount(), 2);
    EXPECT_TRUE(loaded->getMeshProperties().lightDynamic);
    EXPECT_EQ(test::saveLevel(again), saved);
}

TEST(MeshRecord, SaveRefusesWhatLoadWould) {
    const std::pair<const char*, std::function<void(CN_LevelEntityMesh&, CN_Polygon&)>> cases[] = {
        {"vertices", [](CN_LevelEntityMesh& mesh, CN_Polygon&) { mesh.accessVertexList()[0].local.x = ENDLESS; }},
        {"plane", [](CN_LevelEntityMesh&, CN_Polygon& p) { p.setNormal(Vector(NOT_A_NUMBER, 0, 0)); }},
        {"holes", [](CN_LevelEntityMesh&, CN_Polygon& p) { p.setNumHoles(-1); }},
        {"edge", [](CN_LevelEntityMesh&, CN_Polygon& p) { p.addEdge(0, 99, false); }},
        {"triangle",
         [](CN_LevelEntityMesh&, CN_Polygon& p) {
             p.accessTriangleList().addNew().accessVertices() = {0, 1, -1};
         }},
        {"texture spaces",
         [](CN_LevelEntityMesh&, CN_Polygon& p) {
             for (int key = 0; key <= CN_Polygon::MAX_UV_SPACES; ++key)
                 p.addUVSpace(key);
         }},
    };
    for (const auto& [what, spoil] : cases) {
        test::ShelfDocument document;
        CN_LevelEntityMesh* const mesh = test::boxRoom(document);
        spoil(*mesh, mesh->accessPolygonList()[3]);
        F_MemoryFile file;
        const string text = failureText([&] { document.save(file); });
        EXPECT_NE(text.find("\"::Box\""), string::npos) << text;
        EXPECT_NE(text.find(what), string::npos) << text;
        EXPECT_EQ(file.getSize(), 0u);
        EXPECT_EQ(failureText([&] { document.accessLevel()->checkSavable(); }), text);
        file << 1;
        EXPECT_EQ(failureText([&] { mesh->save(file); }), text);
        EXPECT_EQ(file.getSize(), sizeof(int));
        EXPECT_EQ(failureText([&] { file.toRead(); }), "(nothing thrown)") << "no chunk is open";
    }
}

TEST(MeshRecord, ABrokenKeyframeIsTold) {
    Shelf shelf;
    shelf.mesh->makeDynamic(false);
    shelf.mesh->accessKeyframes()->getFirst()->setMatrix({Matrix({1, 0, 0}, {0, 1, 0}, {0, 0, 0}), {4, 5, 6}});
    const Bytes saved = test::saveLevel(shelf.document);
    CN_Document again;
    test::loadLevel(again, saved);
    ASSERT_EQ(shelf.process.boxes().size(), 1u);
    EXPECT_EQ(shelf.process.boxes()[0].text,
              "Entity : ::Room has a broken keyframe matrix! Contact a programmer immediately!!");
    EXPECT_EQ(test::reportCodes(again), "broken-keyframe");
    EXPECT_NE(shelf.process.log().find("(  4.000   5.000   6.000)"), std::string::npos);
}

TEST(MeshRecord, WhatAnAnimationLosesIsTold) {
    const std::pair<test::OldAnimations, std::string> cases[] = {
        {{}, ""},
        {{.twice = true},
         "Keyframes dropped, as there was one of their name: 2; Animations dropped, as there was one of their name: 1"},
        {{.samples = 1025}, "Animations with a curve that could not stay as it was: 1"},
    };
    for (const auto& [animations, text] : cases) {
        Shelf shelf;
        shelf.load(OldMesh{.dynamic = true, .animations = animations});
        std::string told;
        for (const CN_LoadFinding& finding : shelf.document.getLoadReport().getFindings())
            if (finding.text.find("no FSM was stored") == std::string::npos)
                told += finding.text;
        EXPECT_EQ(told, text);
        const Bytes saved = shelf.save();
        Shelf again;
        again.load(saved);
        EXPECT_EQ(again.mesh->getKeyframes()->getCount(), 2);
        EXPECT_EQ(again.document.getLoadReport().getFindings().size(), 1u) << "once";
        EXPECT_EQ(again.save(), saved);
    }
}

TEST(MeshRecord, EveryDamageIsRefusedOrLoads) {
    Shelf shelf;
    CN_LevelEntityMesh* const mesh = shelf.load(test::storedMeshes()[8].mesh);
    mesh->accessPolygonList()[1].setPolyMode(PT_EXIT);
    const Bytes record = shelf.save();
    const Bytes oldest = test::storedMeshes()[0].bytes();
    const auto read = [](std::span<const unsigned char> bytes) {
        test::ShelfDocument document;
        CN_LevelEntityMesh* const damaged = test::addFixture(document, "Room");
        F_MemoryFile file(bytes.data(), bytes.size(), false);
        damaged->loadEntitySpecificData(file);
        F_MemoryFile saved;
        damaged->checkSavable();
        damaged->saveEntitySpecificData(saved);
        damaged->calculateBoundingBox();
        damaged->updateMaterialRefCounts(false);
    };
    for (const Bytes& bytes : {record, oldest}) {
        const auto result = test::driveHostileBytes(bytes, read);
        EXPECT_EQ(result.text(), "");
        EXPECT_GT(result.taken, 0u);
        EXPECT_GT(result.refused, 0u);
    }
    if (const char* folder = std::getenv("CAIRN_FUZZ_SEED_DIR")) {
        const std::filesystem::path place = std::filesystem::path(folder) / "mesh_load";
        std::filesystem::create_directories(place);
        F_File::replace((place / "newest").string(), record);
        for (const test::StoredMesh& stored : test::storedMeshes())
            F_File::replace((place / stored.name).string(), stored.bytes());
    }
}

} // namespace
} // namespace cairn
