#include "cairn/document/host_interfaces.h"
#include "cairn/document/level_file_library.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/level_entity.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/fsm.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

#include <set>

namespace cairn::test {
namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;
using testing::ElementsAre;

constexpr double TOLERANCE = 1e-12;

void expectNear(const Vector& a, const Vector& b) {
    EXPECT_LE((a - b).length(), TOLERANCE) << a.x << ' ' << a.y << ' ' << a.z;
}

/// Keeps what it is told, for as long as it lives.
struct Listener : CN_HierarchyManagerInterface {
    Listener() { CN_LevelFileLibrary::setHierarchyManagerInterface(this); }
    ~Listener() override { CN_LevelFileLibrary::setHierarchyManagerInterface(nullptr); }
    void onEntityRemoved(CN_LevelEntity* entity) override {
        told.push_back("-" + entity->getName().str() + (entity->getParent() ? "?" : ""));
    }
    void onEntityAdded(CN_LevelEntity* entity) override { told.push_back("+" + qualifiedName(entity)); }
    std::vector<std::string> told;
};

/// A marker that a test can call by a name that `setName` refuses.
struct NamedAtWill : CN_LevelEntityWaypoint {
    explicit NamedAtWill(const char* name) { m_name = name; }
};

TEST(LevelEntity, MovesChildrenAndTellsEachStep) {
    auto root = makeEntity(CN_KIND_LEVEL);
    const Listener listener;
    CN_LevelEntity* a = addChild(*root, CN_KIND_MESH, "a");
    CN_LevelEntity* w = addChild(*root, CN_KIND_WAYPOINT, "w");
    addChild(*a, CN_KIND_WAYPOINT, "W");
    a->add(w, false);
    a->add(w, false); // is here already
    a->add(nullptr, false);
    a->add(a, false);
    a->add(root.get(), false); // would make a ring
    root->remove(w);           // no child of it
    EXPECT_THAT(listener.told, ElementsAre("+::a", "+::w", "+::a::W", "-w", "+::a::w01"));
    EXPECT_EQ(w->getParent(), a);
    EXPECT_TRUE(w->isParent(root.get()));
    EXPECT_FALSE(root->isParent(w));
    EXPECT_EQ(root->getChildren().size(), 1u);
}

TEST(LevelEntity, WhatItTookOverStaysWhereACallbackThrows) {
    struct Thrower : Listener {
        void onEntityAdded(CN_LevelEntity* entity) override {
            Listener::onEntityAdded(entity);
            const auto* prefab = dynamic_cast<const CN_LevelEntityPrefab*>(entity->getParent());
            EXPECT_TRUE(!prefab || prefab->getPrefabContent() == entity);
            throw new F_Exception("told");
        }
    };
    auto root = makeEntity(CN_KIND_LEVEL);
    auto* prefab = dynamic_cast<CN_LevelEntityPrefab*>(addChild(*root, CN_KIND_PREFAB, "p"));
    {
        const Thrower listener;
        EXPECT_EQ(failureText([&] { root->getNewMesh(); }), "told");
        EXPECT_EQ(failureText([&] { prefab->createPrefabContent(); }), "told");
    }
    EXPECT_EQ(root->getChildren().size(), 2u);
    ASSERT_EQ(prefab->getChildren().size(), 1u);
    EXPECT_EQ(prefab->getPrefabContent(), prefab->getChildren().front());
    auto refused = makeEntity(CN_KIND_MESH);
    const CN_LevelEntity* gone = refused.get();
    CN_LevelEntity* below = addChild(*refused, CN_KIND_MESH, "m");
    below->addOwned(std::move(refused), false);
    EXPECT_FALSE(CN_LevelEntity::isAlive(gone)) << "what would make a ring is not taken over";
}

TEST(LevelEntity, NeverHasTwoChildrenOfOneName) {
    for (const char* name : {"a ", " a", "a 01 ", "\ta", " ", " this"}) {
        auto root = makeEntity(CN_KIND_LEVEL);
        std::set<std::string> names;
        constexpr int COUNT = 40; // so many that the parent builds its look-up on the way
        for (int i = 0; i < COUNT; ++i)
            names.insert(addChild(*root, CN_KIND_MESH, name)->getName().str());
        EXPECT_EQ(names.size(), std::size_t{COUNT}) << '"' << name << '"';
    }
}

TEST(LevelEntity, CountsEnemiesOfKnownGroups) {
    LevelDocument document;
    auto& groups = document.accessAICharacterGroups();
    groups["guards"] = 0;
    auto* enemy = new CN_LevelEntityEnemy;
    enemy->setDocument(&document);
    enemy->setGroup("guards");
    groups["guards"] = 0;
    CN_LevelEntity* room = addChild(document.root(), CN_KIND_MESH, "room");
    room->add(enemy, false);
    EXPECT_EQ(groups["guards"], 1);
    document.root().remove(room);
    EXPECT_EQ(groups["guards"], 1) << "only the enemy's own moves count";
    document.root().add(room, false);
    room->remove(enemy);
    EXPECT_EQ(groups.at("guards"), 0) << "the group stays in the map";
    enemy->setGroup("strangers");
    room->add(enemy, false);
    EXPECT_EQ(groups.count("strangers"), 0u);
}

TEST(LevelEntity, CopiesStandAlone) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* a = addChild(*root, CN_KIND_MESH, "a");
    addChild(*a, CN_KIND_WAYPOINT, "w");
    a->createFSM();
    a->setExpanded(true);
    const std::unique_ptr<CN_LevelEntity> copy(a->clone());
    EXPECT_EQ(copy->getName(), "a");
    EXPECT_EQ(qualifiedName(copy.get()), "");
    EXPECT_EQ(copy->getParent(), nullptr);
    EXPECT_TRUE(copy->getChildren().empty());
    EXPECT_FALSE(copy->hasFSM());
    EXPECT_FALSE(copy->isExpanded());
    EXPECT_TRUE(copy->isObjectDirty());

    CN_LevelEntityMesh other;
    other.setName("b", false);
    dynamic_cast<CN_LevelEntityMesh&>(*a) = other;
    EXPECT_EQ(a->getParent(), root.get());
    EXPECT_EQ(a->getChildren().size(), 1u);
    EXPECT_FALSE(a->hasFSM());
    EXPECT_EQ(root->hasChildNamed("B"), a);
    auto* const sibling = new CN_LevelEntityMesh;
    sibling->setName("b", false);
    root->add(sibling, false);
    dynamic_cast<CN_LevelEntityMesh&>(*a) = *sibling;
    EXPECT_NE(a->getName(), sibling->getName());
    EXPECT_EQ(root->hasChildNamed(a->getName()), a);
    EXPECT_NE(qualifiedName(a), "");
}

TEST(LevelEntity, IdentitiesTellTheLivingFromTheDead) {
    auto first = makeEntity(CN_KIND_WAYPOINT), second = makeEntity(CN_KIND_WAYPOINT);
    const std::uint32_t number = CN_LevelEntity::getSerialisationId(first.get());
    EXPECT_EQ(CN_LevelEntity::getSerialisationId(nullptr), 0u);
    EXPECT_EQ(number >> 31, 1u);
    EXPECT_NE(number, CN_LevelEntity::getSerialisationId(second.get()));
    first->setSaveNumber(5);
    EXPECT_EQ(CN_LevelEntity::getSerialisationId(first.get()), 5u);
    const CN_LevelEntity* dead = first.get();
    first.reset();
    EXPECT_FALSE(CN_LevelEntity::isAlive(dead));
    EXPECT_EQ(CN_LevelEntity::getSerialisationId(dead), 0xFFFFFFFFu);
}

TEST(LevelEntity, DiesWithATreeOfAnyDepth) {
    auto root = std::make_unique<NamedAtWill>("root");
    CN_LevelEntity* at = root.get();
    for (int i = 0; i < 100000; ++i) {
        auto* child = new NamedAtWill("this"); // without a qualified name, which would take gigabytes
        at->add(child, false);
        at = child;
    }
    root.reset();
    EXPECT_FALSE(CN_LevelEntity::isAlive(at));
}

TEST(LevelEntity, IsCriticalByItselfByWhatItIsPartOfAndByWhatStandsBelow) {
    LevelDocument document;
    CN_LevelEntity* outer = addChild(document.root(), CN_KIND_MESH, "outer");
    CN_LevelEntity* inner = addChild(*outer, CN_KIND_MESH, "inner");
    auto alone = makeEntity(CN_KIND_MESH);
    for (CN_LevelEntity* mesh : {outer, inner, alone.get()})
        mesh->accessGeneralProperties().setGameplayCritical(false);
    EXPECT_TRUE(outer->isGameplayCritical()) << "the root above counts as critical";
    EXPECT_FALSE(alone->isGameplayCritical());
    CN_LevelEntity* below = addChild(*alone, CN_KIND_PREFAB, "p");
    below->accessGeneralProperties().setGameplayCritical(false);
    EXPECT_FALSE(alone->isGameplayCritical());
    addChild(*below, CN_KIND_WAYPOINT, "w");
    EXPECT_TRUE(alone->isGameplayCritical());
    for (const int kind : {CN_KIND_POLYGON_GROUP, CN_KIND_RADIOSITY_LIGHT, CN_KIND_PREFAB_CONTENT})
        EXPECT_FALSE(makeEntity(kind)->isGameplayCritical()) << kind;
}

TEST(LevelEntity, KeepsChildrenInPlaceAsTheirParentsChange) {
    LevelDocument document;
    CN_LevelEntity* a = addChild(document.root(), CN_KIND_MESH, "a");
    CN_LevelEntity* b = addChild(*a, CN_KIND_PREFAB, "b");
    CN_LevelEntity* w = addChild(document.root(), CN_KIND_WAYPOINT, "w");
    a->setPosition({1, 2, 3});
    a->setRotation(Matrix::rotationY(0.5));
    b->setPosition({0, 0, 4});
    b->setRotation(Matrix::rotationX(-1));
    w->setPosition({7, 8, 9});
    expectNear(b->getWorldPosition(), a->worldTransform({0, 0, 4}));
    expectNear(b->worldToObject(b->worldTransform({1, 1, 1})), {1, 1, 1});

    b->add(w, true);
    expectNear(w->getWorldPosition(), {7, 8, 9});
    expectNear(b->worldTransform(w->getPosition()), {7, 8, 9});
    EXPECT_NEAR((w->getWorldRotation().row(0) - Vector(1, 0, 0)).length(), 0, TOLERANCE);

    const Vector before = b->inParentSpace(w->getPosition());
    b->changeSpaceExplicit({Matrix::rotationZ(2), Vector(5, 5, 5)});
    expectNear(b->getPosition(), {5, 5, 5});
    expectNear(b->inParentSpace(w->getPosition()), before);

    const Vector place = w->getPosition();
    b->changeSpaceExplicit({Matrix({0, 0, 0}, {0, 0, 0}, {0, 0, 0}), Vector()});
    expectNear(w->getPosition(), place);
    expectNear(b->getPosition(), {5, 5, 5});
}

TEST(LevelEntity, MeetsRaysWithItsBoundingSphere) {
    CN_LevelEntityWaypoint sphere;
    sphere.setRadius(2);
    double t = -1;
    EXPECT_TRUE(sphere.rayToBoundingVolume(&t, {-5, 0, 0}, {1, 0, 0}, false));
    EXPECT_DOUBLE_EQ(t, 3);
    EXPECT_TRUE(sphere.rayToBoundingVolume(&t, {1, 0, 0}, {1, 0, 0}, true));
    EXPECT_EQ(t, 0) << "from inside";
    EXPECT_FALSE(sphere.rayToBoundingVolume(&t, {5, 0, 0}, {1, 0, 0}, false)) << "it lies behind";
    EXPECT_FALSE(sphere.rayToBoundingVolume(nullptr, {-5, 2.1, 0}, {1, 0, 0}, false));
    EXPECT_FALSE(CN_LevelEntityMesh().rayToBoundingVolume(nullptr, {0, 0, 0}, {1, 0, 0}, false)) << "radius 0";
}

} // namespace
} // namespace cairn::test
