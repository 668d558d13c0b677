#include "cairn/animation/keyframes.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/mesh/mesh.h"

#include <gtest/gtest.h>

using namespace cairn;

using Vector = CN_LevelEntity::Vector;
using Placement = M_Matrix4x3Template<double>;

TEST(Mesh, ACopyOwnsCopiesOfThePolygons) {
    CN_LevelEntityMesh mesh, assigned;
    mesh.setDynamic(true);
    CN_Polygon* const polygon = mesh.addPolygon();
    polygon->setPolygonIndex(7);
    CN_LevelEntityMesh copy(mesh);
    assigned = mesh;
    for (CN_LevelEntityMesh* const other : {&copy, &assigned}) {
        ASSERT_EQ(other->getPolygonList().count(), 1);
        CN_Polygon& own = other->accessPolygonList()[0];
        EXPECT_EQ(own.getParent(), other);
        EXPECT_EQ(own.getPolygonIndex(), -1);
        EXPECT_EQ(other->findPolygonIndex(&own), 0);
        EXPECT_EQ(other->findPolygonIndex(polygon), -1);
        EXPECT_TRUE(other->isDynamic());
    }
}

TEST(Mesh, ADynamicOneHasItsHandlers) {
    CN_LevelEntityMesh mesh;
    mesh.createFSM();
    EXPECT_EQ(mesh.getFSM()->getMessageHandlerCount(), 1);
    mesh.setDynamic(true);
    mesh.createFSM();
    EXPECT_EQ(mesh.getFSM()->getMessageHandlerCount(), 5);
    EXPECT_TRUE(mesh.getFSM()->hasMessageHandler("DO_OnDeath"));
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

TEST(PolygonValidator, NumbersPolygonsInTheTreesOrder) {
    CN_Document document;
    document.createCairnLevelEntities();
    auto* const outer = new CN_LevelEntityMesh;
    auto* const inner = new CN_LevelEntityMesh;
    auto* const last = new CN_LevelEntityMesh;
    document.accessLevel()->add(outer, false);
    document.accessLevel()->add(last, false);
    outer->add(inner, false);
    const std::vector<CN_Polygon*> expected{outer->addPolygon(), outer->addPolygon(), inner->addPolygon(),
                                            last->addPolygon()};
    std::vector<CN_Polygon*> numbered;
    CN_PolygonValidator::instance()->enumeratePolygons(&document, &numbered);
    EXPECT_EQ(numbered, expected);
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(expected[i]->getPolygonIndex(), static_cast<int>(i));
    CN_PolygonValidator::instance()->enumeratePolygons(nullptr, &numbered);
    EXPECT_EQ(numbered.size(), expected.size());
}
