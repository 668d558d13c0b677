#include "cairn/animation/keyframes.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/fsm.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace cairn;

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;
using Placement = M_Matrix4x3Template<double>;

TEST(Mesh, ACopyOwnsCopiesOfItsGeometry) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    mesh.makeDynamic(true);
    const CN_TriggerProperties trigger;
    mesh.setTriggerProperties(&trigger);
    mesh.setFacesFlipped(true);
    CN_LevelEntityPolygonGroup settings;
    mesh.addNewPolygroup(&settings, false)->addPolygon(&mesh.accessPolygonList()[0]);
    const CN_Material* const material = document.getMaterials().getDefaultMaterial();
    CN_LevelEntityMesh copy(mesh), assigned;
    assigned = mesh;
    assigned = copy;
    EXPECT_EQ(material->getUseCount(), 18) << "each mesh's polygons count once";
    for (CN_LevelEntityMesh* const other : {&copy, &assigned}) {
        ASSERT_EQ(other->getPolygonList().count(), 6);
        EXPECT_EQ(other->getVertexList().count(), 8);
        CN_Polygon& own = other->accessPolygonList()[0];
        EXPECT_EQ(own.getParent(), other);
        EXPECT_TRUE(own.getGroups().empty());
        EXPECT_EQ(own.getEdgeList()[0].getParent(), &own);
        EXPECT_EQ(&own.getEdgeList()[0].getLocal(0), &other->getVertexList()[0].local);
        EXPECT_EQ(other->findPolygonIndex(&mesh.getPolygonList()[0]), -1);
        EXPECT_TRUE(other->isDynamic() && other->isTrigger() && other->areFacesFlipped());
        EXPECT_EQ(other->getKeyframes()->getCount(), 1);
        EXPECT_TRUE(other->getPolygonGroups().empty());
    }
}

TEST(Mesh, HasTheHandlersOfWhatItIs) {
    CN_LevelEntityMesh mesh;
    mesh.createFSM();
    EXPECT_EQ(mesh.getFSM()->getMessageHandlerCount(), 1);
    const CN_TriggerProperties trigger;
    mesh.setTriggerProperties(&trigger);
    mesh.createFSM();
    EXPECT_TRUE(mesh.getFSM()->hasMessageHandler("T_Activate"));
    mesh.makeStatic();
    EXPECT_TRUE(mesh.hasFSM()) << "it stood still before";
    mesh.makeDynamic(true);
    EXPECT_TRUE(mesh.getFSM()->hasMessageHandler("DO_OnDeath"));
    EXPECT_TRUE(mesh.getMeshProperties().lightDynamic);
    mesh.makeStatic();
    EXPECT_FALSE(mesh.hasFSM() || mesh.isDynamic() || mesh.getKeyframes());
}

TEST(Mesh, BoxesHoldTheCornersInBothSpaces) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    mesh.addVertex({100, 100, 100}); // of no polygon
    EXPECT_EQ(mesh.getBoundingMax(), Vector(100, 100, 100)) << "until they are calculated";
    mesh.setPosition({0, 10, 0});
    mesh.calculateBoundingBox();
    EXPECT_EQ(mesh.getBoundingMin(), Vector(0, 10, 0));
    EXPECT_EQ(mesh.getBoundingMax(), Vector(8, 14, 6));
    EXPECT_EQ(mesh.getLocalBox().maxY, 4);
    EXPECT_EQ(mesh.getCenterOfArea(), Vector(4, 2, 3));
    EXPECT_EQ(test::pyramid(document)->getCenterOfArea(), Vector(2, 0.75, 2)) << "each polygon's corners count";
    EXPECT_EQ(mesh.getBoundingRadius(), static_cast<double>(std::sqrt(116.0f)));
    mesh.addPolygon()->addVertex(Vector(-1, 0, 0));
    mesh.calculateBoundingBox();
    EXPECT_EQ(mesh.getLocalBox().minX, -1) << "a corner on its way to an edge";

    CN_LevelEntityMesh& empty = *test::emptyMesh(document);
    empty.calculateBoundingBox();
    EXPECT_EQ(empty.getBoundingMin().x, CN_UNSET_BOUND);
    EXPECT_EQ(empty.getLocalBox().maxZ, -CN_UNSET_BOUND);
    EXPECT_EQ(empty.getBoundingRadius(), 0);
}

TEST(Mesh, PolygonsThatDieLeaveNobodyBehind) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::twoRooms(document);
    CN_Polygon* const exit = &mesh.accessPolygonList()[4];
    CN_Polygon* const partner = exit->getExitDestination();
    CN_LevelEntityPortal* const portal = exit->getLevelEntityPortal();
    CN_LevelEntityPolygonGroup settings;
    settings.setSmooth(true);
    CN_LevelEntityPolygonGroup* const group = mesh.addNewPolygroup(&settings, false);
    group->addPolygon(exit);
    EXPECT_TRUE(exit->isSmoothed());
    EXPECT_FALSE(exit->isFrozenLightmap());
    group->setFreezeLightmaps(true);
    EXPECT_TRUE(exit->isFrozenLightmap());
    EXPECT_EQ(mesh.getExitList(), std::vector<const CN_Polygon*>{exit});
    EXPECT_TRUE(mesh.hasExits());
    mesh.clearGeometryDirty();
    const CN_Material& material = *document.getMaterials().getDefaultMaterial();
    const int uses = material.getUseCount();
    EXPECT_TRUE(mesh.deletePolygon(exit));
    EXPECT_EQ(material.getUseCount(), uses) << "an exit has none";
    EXPECT_TRUE(mesh.deletePolygon(mesh.accessPolygonList().first()));
    EXPECT_EQ(material.getUseCount(), uses - 1);
    EXPECT_TRUE(mesh.isGeometryDirty());
    EXPECT_EQ(partner->getExitDestination(), nullptr);
    EXPECT_EQ(portal->getPortalPolygon(), nullptr);
    EXPECT_TRUE(group->getSet().empty());

    group->addPolygon(mesh.accessPolygonList().first());
    group->generatePolygonIndicesFromPointers();
    CN_LevelEntityPolygonGroup* const copy = mesh.addNewPolygroup(group, true);
    EXPECT_EQ(copy->getSet(), group->getSet());
    EXPECT_TRUE(copy->getPolygonIndices().empty());
    EXPECT_EQ(mesh.getPolygonGroups().size(), 2u);
    mesh.remove(copy);
    EXPECT_EQ(mesh.getPolygonGroups(), CN_Mesh::PolygonGroups{group});
    delete copy;
    CN_LevelEntityMesh& floor = *test::unitFloor(document);
    EXPECT_FALSE(floor.deletePolygon(floor.accessPolygonList().first()));
}

TEST(Mesh, ACopyKnowsNothingOfWhatStandsOnTheOriginal) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::twoRooms(document);
    CN_Polygon* const exit = &mesh.accessPolygonList()[4];
    CN_LevelEntityPolygonGroup settings;
    settings.addPolygon(exit);
    mesh.addOwned(std::make_unique<CN_LevelEntityPolygonGroup>(settings), false);
    settings.removeAll();
    const std::unique_ptr<CN_LevelEntityMesh> copy(static_cast<CN_LevelEntityMesh*>(mesh.clone()));
    EXPECT_EQ(copy->getPolygonList()[4].getAttachedEntity(), nullptr);

    const CN_Polygon polygonCopy(*exit);
    EXPECT_EQ(polygonCopy.getLevelEntityPortal(), exit->getLevelEntityPortal());
    CN_LevelEntityPortal* const portal = exit->getLevelEntityPortal();
    mesh.remove(portal);
    delete portal;
    const CN_LevelEntityPortal next; // may well stand where the dead one stood
    EXPECT_EQ(polygonCopy.getLevelEntityPortal(), nullptr);
}

TEST(Mesh, ACopyOutlivesWhatItsPolygonsPointedTo) {
    CN_LevelEntityMesh copy;
    {
        CN_LevelEntityMesh mesh;
        CN_Polygon& polygon = *mesh.addPolygon();
        polygon.addVertex(Vector(1, 2, 3));
        polygon.addVertex(Vector(4, 5, 6));
        polygon.accessSharedEdgeList().add(&polygon);
        Vector point;
        polygon.setAdditionalPoint(&point);
        polygon.select();
        copy = mesh;
    }
    copy.calculateBoundingBox();
    EXPECT_EQ(copy.getLocalBox().maxY, 5);
    CN_Polygon& own = copy.accessPolygonList()[0];
    EXPECT_TRUE(own.getSharedEdgeList().empty());
    EXPECT_EQ(own.getAdditionalPoint(), nullptr);
    EXPECT_FALSE(own.selected());
    own.constructEdges();
    EXPECT_EQ(own.getEdgeList()[1].index(0), 1);
}

TEST(Mesh, PlacesInPointerListsAreFound) {
    const test::ProcessStateGuard process;
    CN_Vertex first, second, stranger;
    F_DLList<CN_Vertex*> list;
    list.add(&first);
    list.add(&second);
    EXPECT_EQ(getPointerListIndex(list, &second, "CN_Vertex"), 1);
    EXPECT_TRUE(process.boxes().empty());
    EXPECT_EQ(getPointerListIndex(list, &stranger, "CN_Vertex"), -1);
    ASSERT_EQ(process.boxes().size(), 1u);
    EXPECT_EQ(process.boxes()[0].text, "getPointerListIndex<CN_Vertex>; item not found!");
}

TEST(Mesh, CountsItsMaterialsHoweverItComesAndGoes) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    const CN_Material& material = *document.accessMaterials().getDefaultMaterial();
    mesh.makeDynamic(false);
    EXPECT_EQ(material.getUseCount(), 6);
    CN_LevelEntityMesh still;
    still.setDocument(&document);
    F_MemoryFile file;
    still.saveEntitySpecificData(file);
    file.toRead();
    mesh.loadEntitySpecificData(file);
    EXPECT_EQ(material.getUseCount(), 0);
    EXPECT_EQ(mesh.getKeyframes(), nullptr) << "of the dynamic mesh it was";
    test::boxRoom(document);
    EXPECT_EQ(material.getUseCount(), 6);
    document.createCairnLevelEntities();
    EXPECT_EQ(material.getUseCount(), 0);
}

TEST(Mesh, TexturizesWhatIsNoExit) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::twoRooms(document);
    CN_Material* const material = document.accessMaterials().find("Default")->add(0, "", nullptr);
    const struct {
        const char* what;
        CN_Material* given;
        bool applyTiles;
        double u, v;       ///< of the material
        double hasU, hasV; ///< of the polygon then
        bool changes, scales;
    } cases[] = {
        {"a new one", material, true, 2, 3, 2, 3, true, true},
        {"the same with other tiles", material, true, 4, 5, 4, 5, true, true},
        {"without them", material, false, 6, 7, 4, 5, false, false},
        {"a tile without length", material, true, 0, 7, 4, 5, true, true},
        {"none", nullptr, true, 6, 7, 4, 5, true, false},
    };
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        floor.setUVDirty(false);
        floor.setUVCalculated(true);
        mesh.setUVDirty(false);
        material->setTiles(c.u, c.v, true);
        mesh.texturize(c.given, c.applyTiles);
        EXPECT_EQ(floor.getMaterial(), c.given);
        EXPECT_EQ(mesh.getPolygonList()[4].getMaterial(), nullptr);
        EXPECT_EQ(material->getUseCount(), c.given ? 5 : 0);
        const Matrix& rows = floor.getUVSpace(0).getMatrix();
        EXPECT_DOUBLE_EQ(rows.row(0).length(), c.hasU);
        EXPECT_DOUBLE_EQ(rows.row(1).length(), c.hasV);
        EXPECT_EQ(floor.isUVDirty(), c.changes);
        EXPECT_EQ(floor.isUVCalculated(), !c.scales) << "extents are those of the old axes";
        EXPECT_EQ(mesh.isUVDirty(), c.changes);
    }
}

TEST(Mesh, HiddenMeshesArePlacedByForceOnly) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    mesh.setVisible(false);
    const Matrix halfTurn({-1, 0, 0}, {0, 1, 0}, {0, 0, -1});
    for (const bool force : {false, true}) {
        mesh.handleHierarchy({1, 2, 3}, halfTurn, force);
        const Vector place = force ? Vector(1, 2, 3) : Vector();
        EXPECT_EQ(mesh.getWorldPosition(), place);
        EXPECT_EQ(mesh.getVertexList()[0].world, place);
        EXPECT_EQ(mesh.getPolygonList()[2].getWorldNormal(), Vector(force ? -1 : 1, 0, 0));
    }
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        polygon.setMappingDirty(false);
    mesh.setMappingDirty(false);
    mesh.invalidateMapping();
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        EXPECT_TRUE(polygon.isUVDirty() && polygon.isMappingDirty());
    EXPECT_TRUE(mesh.isUVDirty() && mesh.isMappingDirty());
}

TEST(Mesh, GeometryStaysWhereItIsWhenTheOriginMoves) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::rotatedRoom(document);
    mesh.handleOwnHierarchy();
    const Vector corner = mesh.getVertexList()[5].world, normal = mesh.getPolygonList()[2].getWorldNormal();
    const auto uv = mesh.getPolygonList()[2].getUVSpace(0).toUV(mesh.getVertexList()[5].local);
    mesh.changeSpaceExplicit({Matrix::rotationX(0.25), {0, 0, 7}});
    EXPECT_NEAR((mesh.getVertexList()[5].world - corner).length(), 0, 1e-12);
    EXPECT_NEAR((mesh.getPolygonList()[2].getWorldNormal() - normal).length(), 0, 1e-12);
    EXPECT_NEAR((mesh.getPolygonList()[2].getUVSpace(0).toUV(mesh.getVertexList()[5].local) - uv).length(), 0, 1e-12);
}

TEST(Mesh, KeyframesAndChildrenStayWhereTheyAreWhenTheOriginMoves) {
    CN_Document document;
    document.createCairnLevelEntities();
    auto* const mesh = new CN_LevelEntityMesh;
    mesh->setDocument(&document);
    document.accessLevel()->add(mesh, false);
    mesh->setPosition({1, 0, 0});
    auto* const child = new CN_LevelEntityWaypoint;
    mesh->add(child, false);
    child->setPosition({0, 1, 0});
    mesh->setDynamic(true);
    mesh->setKeyframes(new CN_Keyframes);
    const Placement key(CN_LevelEntity::Matrix::rotationY(0.5), {4, 5, 6});
    mesh->accessKeyframes()->insert("k", new CN_Keyframe(key));

    // A point of the mesh, the same one in the old space and in the new one.
    const Placement before(mesh->getRotation(), mesh->getPosition());
    const Placement after(CN_LevelEntity::Matrix::rotationX(0.25), {0, 0, 7});
    const Vector inOld(1, 2, 3), inNew = inOld * before * after.inverse();
    const Vector childPlace = child->getWorldPosition();
    mesh->changeSpaceExplicit(after);
    EXPECT_EQ(mesh->getPosition(), after.translation);
    EXPECT_NEAR((child->getWorldPosition() - childPlace).length(), 0, 1e-12);
    const Placement moved = mesh->getKeyframes()->getFirst()->getMatrix();
    EXPECT_NEAR((inNew * moved - inOld * key).length(), 0, 1e-12);

    const CN_LevelEntity::Matrix flat({1, 0, 0}, {0, 1, 0}, {0, 0, 0});
    mesh->changeSpaceExplicit({flat, {1, 1, 1}});
    EXPECT_EQ(mesh->getKeyframes()->getFirst()->getMatrix(), moved) << "refused as a whole";
    EXPECT_EQ(mesh->getPosition(), after.translation);
    mesh->setRotation(flat);
    mesh->changeSpaceExplicit(before);
    EXPECT_EQ(mesh->getKeyframes()->getFirst()->getMatrix(), moved);
    EXPECT_EQ(mesh->getRotation(), flat);
}

TEST(Mesh, KeyframesOfADynamicChildStayWhereTheyAre) {
    struct Sized : CN_LevelEntityMesh {
        Sized() { m_boundingRadius = 5; }
    };
    CN_Document document;
    document.createCairnLevelEntities();
    const auto addMesh = [&](CN_LevelEntityMesh* mesh, const Placement& placement) {
        mesh->setDocument(&document);
        document.accessLevel()->add(mesh, false);
        mesh->setPosition(placement.translation);
        mesh->setRotation(placement.rotation);
        return mesh;
    };
    const Placement firstPlace(CN_LevelEntity::Matrix::rotationZ(1), {1, 2, 3});
    const Placement secondPlace(CN_LevelEntity::Matrix::rotationX(2), {-4, 0, 9});
    CN_LevelEntityMesh* const first = addMesh(new CN_LevelEntityMesh, firstPlace);
    CN_LevelEntityMesh* const second = addMesh(new CN_LevelEntityMesh, secondPlace);
    const Placement key(CN_LevelEntity::Matrix::rotationY(0.5), {4, 5, 6});
    auto* const child = new Sized;
    child->setDocument(&document);
    child->setDynamic(true);
    child->setKeyframes(new CN_Keyframes);
    child->accessKeyframes()->insert("k", new CN_Keyframe(key));
    const auto keyIn = [&](const Placement& parent) {
        return Vector(1, 2, 3) * child->getKeyframes()->getFirst()->getMatrix() * parent;
    };

    first->add(child, true);
    EXPECT_EQ(child->getKeyframes()->getFirst()->getMatrix(), key) << "it came from no other space";
    EXPECT_EQ(child->getBoundingRadius(), 0) << "the bounding volume is renewed";
    const Vector point = keyIn(firstPlace);
    second->add(child, true);
    EXPECT_NEAR((keyIn(secondPlace) - point).length(), 0, 1e-12);
    const Placement thirdPlace(CN_LevelEntity::Matrix::rotationY(3), {7, 7, 7});
    second->changeSpaceExplicit(thirdPlace);
    EXPECT_NEAR((keyIn(thirdPlace) - point).length(), 0, 1e-12);
}
