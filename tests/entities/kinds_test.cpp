#include "cairn/document/document.h"
#include "cairn/document/host_interfaces.h"
#include "cairn/document/level_file_library.h"
#include "cairn/entities/ai_node.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/flare.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/item.h"
#include "cairn/entities/jumppoint.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/player.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/trigger.h"
#include "cairn/entities/visitors.h"
#include "cairn/entities/vol_lighting_box.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/fsm.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace cairn;

namespace {

template <class Kind> std::unique_ptr<CN_LevelEntity> make() { return std::make_unique<Kind>(); }

/// Gives `to`, which is of the same kind as `from`, what `from` has.
template <class Kind> void assign(CN_LevelEntity& to, const CN_LevelEntity& from) {
    dynamic_cast<Kind&>(to) = dynamic_cast<const Kind&>(from);
}

struct Kind {
    int id, image;
    double radius;                 ///< 0 for a kind that is no sphere
    I_Color color;                 ///< of a sphere
    std::vector<int> children;     ///< ids of the kinds it holds
    std::vector<istring> handlers; ///< of the state machine that it always has; empty for none
    const char* renderer;          ///< what its renderer is made by, "" for none
    std::unique_ptr<CN_LevelEntity> (*make)();
    void (*assign)(CN_LevelEntity&, const CN_LevelEntity&);
};

const std::vector<int> ORDINARY{100, 104, 105, 106, 107, 108, 109, 110, 111, 117, 118, 119};

std::vector<int> ordinaryAnd(std::vector<int> more) {
    more.insert(more.end(), ORDINARY.begin(), ORDINARY.end());
    std::sort(more.begin(), more.end());
    return more;
}

template <class T>
Kind kind(int id, int image, double radius, I_Color color, std::vector<int> children, std::vector<istring> handlers,
          const char* renderer) {
    return {id, image, radius, color, std::move(children), std::move(handlers), renderer, make<T>, assign<T>};
}

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all{
        kind<CN_LevelEntityMesh>(100, 17, 0, {}, ordinaryAnd({112, 113, 114, 120}), {}, "Mesh"),
        kind<CN_CairnLevel>(103, 0, 0, {}, ordinaryAnd({116, 120}), {}, "Level"),
        kind<CN_LevelEntityPrefab>(104, 6, 0.25, {195, 110, 170}, ORDINARY, {"Startup"}, "UISphere"),
        kind<CN_LevelEntityFSM>(105, 9, 0.05000000074505806, {0, 255, 64}, ORDINARY, {"Startup"}, "UISphere"),
        kind<CN_LevelEntityTrigger>(106, 10, 0.5, {32, 64, 64}, ORDINARY, {"Startup", "T_Activate"}, "UISphere"),
        kind<CN_LevelEntityWaypoint>(107, 16, 0.5, {255, 128, 0}, {}, {}, "UISphere"),
        kind<CN_LevelEntityJumppoint>(108, 12, 0.5, {255, 0, 0}, {}, {}, "UISphere"),
        kind<CN_LevelEntityItem>(109, 14, 0.05000000074505806, {255, 255, 0}, ORDINARY, {}, "UISphere"),
        kind<CN_LevelEntityEnemy>(110, 13, 0.5, {0, 255, 255}, ORDINARY,
                                  {"OnActivate", "OnDeath", "OnLowHealth", "OnPlayerAttack", "OnUse", "Startup"},
                                  "UISphere"),
        kind<CN_LevelEntityDynPointlight>(111, 15, 0.5, {255, 255, 255}, {}, {}, "DynPointlight"),
        kind<CN_LevelEntityPolygonGroup>(112, 4, 0, {}, {}, {}, ""),
        kind<CN_LevelEntityRadiosityLight>(113, 3, 0, {}, {}, {}, "RadiosityLight"),
        kind<CN_LevelEntityPortal>(114, 5, 0, {}, {}, {}, "Portal"),
        kind<CN_LevelEntityPrefabContent>(115, 2, 0, {}, {100, 105, 106, 107, 108, 109, 110, 111, 117, 118, 119}, {},
                                          "PrefabContent"),
        kind<CN_LevelEntityPlayer>(116, 13, 0, {}, {}, {"OnActivate", "OnDeath", "OnLowHealth", "Startup"}, ""),
        kind<CN_LevelEntityTriMesh>(117, 18, 0, {}, ORDINARY, {}, "TriMesh"),
        kind<CN_LevelEntityAINode>(118, 19, 0.5, {0, 0, 255}, {}, {}, "UISphere"),
        kind<CN_LevelEntityFlare>(119, 21, 0.25, {240, 240, 130}, {}, {}, "UISphere"),
        kind<CN_LevelEntityVolLightingBox>(120, 22, 0, {}, {120}, {}, "VolLightingBox"),
    };
    return all;
}

std::vector<istring> handlersOf(const CN_LevelEntity& entity) {
    if (!entity.hasFSM())
        return {};
    EXPECT_EQ(entity.getFSM()->getParent(), &entity);
    std::vector<istring> names;
    for (const auto& [name, handler] : entity.getFSM()->getMessageHandlers())
        names.push_back(name);
    return names;
}

/// Answers to every kind and notes which of its operations was called for which kind.
struct EveryVisitor : CN_AcyclicLevelVisitor,
                      CN_LevelACVisitor,
                      CN_EntityACVisitor,
                      CN_AINodeACVisitor,
                      CN_DynPointlightACVisitor,
                      CN_EnemyACVisitor,
                      CN_FlareACVisitor,
                      CN_FSMACVisitor,
                      CN_ItemACVisitor,
                      CN_JumppointACVisitor,
                      CN_MeshACVisitor,
                      CN_PlayerACVisitor,
                      CN_PolygonGroupACVisitor,
                      CN_PortalACVisitor,
                      CN_PrefabACVisitor,
                      CN_PrefabContentACVisitor,
                      CN_RadiosityLightACVisitor,
                      CN_TriggerACVisitor,
                      CN_TriMeshACVisitor,
                      CN_VolLightingBoxACVisitor,
                      CN_WaypointACVisitor {
    std::vector<int> met;
    void visit(CN_CairnLevel&) override { met.push_back(103); }
    void visit(CN_LevelEntity&) override { met.push_back(-1); }
    void visit(CN_LevelEntityAINode&) override { met.push_back(118); }
    void visit(CN_LevelEntityDynPointlight&) override { met.push_back(111); }
    void visit(CN_LevelEntityEnemy&) override { met.push_back(110); }
    void visit(CN_LevelEntityFlare&) override { met.push_back(119); }
    void visit(CN_LevelEntityFSM&) override { met.push_back(105); }
    void visit(CN_LevelEntityItem&) override { met.push_back(109); }
    void visit(CN_LevelEntityJumppoint&) override { met.push_back(108); }
    void visit(CN_LevelEntityMesh&) override { met.push_back(100); }
    void visit(CN_LevelEntityPlayer&) override { met.push_back(116); }
    void visit(CN_LevelEntityPolygonGroup&) override { met.push_back(112); }
    void visit(CN_LevelEntityPortal&) override { met.push_back(114); }
    void visit(CN_LevelEntityPrefab&) override { met.push_back(104); }
    void visit(CN_LevelEntityPrefabContent&) override { met.push_back(115); }
    void visit(CN_LevelEntityRadiosityLight&) override { met.push_back(113); }
    void visit(CN_LevelEntityTrigger&) override { met.push_back(106); }
    void visit(CN_LevelEntityTriMesh&) override { met.push_back(117); }
    void visit(CN_LevelEntityVolLightingBox&) override { met.push_back(120); }
    void visit(CN_LevelEntityWaypoint&) override { met.push_back(107); }
};

struct Renderer : CN_EntityRendererInterface {
    void update() override {}
    void draw() override {}
    void drawSelected() override {}
    void releaseDeviceObjects() override {}
    bool wasVisible() const override { return false; }
};

/// Set as the host's renderer factory for its life; notes what was asked for.
struct RendererFactory : CN_EntityRendererFactory {
    std::vector<std::string> asked;
    RendererFactory() { CN_LevelFileLibrary::instance()->entityRendererFactory = this; }
    ~RendererFactory() override { CN_LevelFileLibrary::instance()->entityRendererFactory = nullptr; }
    CN_EntityRendererInterface* made(const char* what) {
        asked.emplace_back(what);
        return new Renderer;
    }
    using Made = CN_EntityRendererInterface*;
    Made createVolLightingBoxRenderer(CN_LevelEntityVolLightingBox*) override { return made("VolLightingBox"); }
    Made createRadiosityLightRenderer(CN_LevelEntityRadiosityLight*) override { return made("RadiosityLight"); }
    Made createTriMeshRenderer(CN_LevelEntityTriMesh*) override { return made("TriMesh"); }
    Made createPrefabContentRenderer(CN_LevelEntityPrefabContent*) override { return made("PrefabContent"); }
    Made createPortalRenderer(CN_LevelEntityPortal*) override { return made("Portal"); }
    Made createUISphereRenderer(CN_UISphereEntity*) override { return made("UISphere"); }
    Made createDynPointlightRenderer(CN_LevelEntityDynPointlight*) override { return made("DynPointlight"); }
    Made createMeshRenderer(CN_LevelEntityMesh*) override { return made("Mesh"); }
    Made createLevelRenderer(CN_CairnLevel*) override { return made("Level"); }
};

} // namespace

TEST(Kinds, StandWithTheirDefaultsAndGiveThemToCopies) {
    for (const Kind& k : kinds()) {
        SCOPED_TRACE(k.id);
        const std::unique_ptr<CN_LevelEntity> original = k.make();
        const std::unique_ptr<CN_LevelEntity> copy(original->clone());
        for (CN_LevelEntity* const entity : {original.get(), copy.get()}) {
            EXPECT_EQ(entity->getEntityId(), k.id);
            EXPECT_EQ(entity->getImageIndex(), k.image);
            EXPECT_EQ(entity->getBoundingRadius(), k.radius);
            EXPECT_EQ(entity->isExpanded(), k.id == 103);
            EXPECT_EQ(entity->getGeneralProperties().isGameplayCritical(), k.id != 100);
            EXPECT_EQ(handlersOf(*entity), k.handlers);
            auto* const sphere = dynamic_cast<CN_UISphereEntity*>(entity);
            ASSERT_EQ(sphere != nullptr, k.radius != 0);
            if (sphere) {
                EXPECT_EQ(sphere->getRadius(), k.radius);
                EXPECT_EQ(sphere->getColor(), k.color);
            }
        }
    }
}

TEST(Kinds, ACopyKeepsWhatWasSetOnTheOriginal) {
    for (const Kind& k : kinds()) {
        SCOPED_TRACE(k.id);
        const std::unique_ptr<CN_LevelEntity> original = k.make(), assigned = k.make();
        CN_GeneralEntityProperties properties = original->getGeneralProperties();
        properties.setGameplayCritical(k.id == 100);
        properties.setReserved(true);
        original->setGeneralProperties(properties);
        if (auto* const sphere = dynamic_cast<CN_UISphereEntity*>(original.get())) {
            sphere->setRadius(7);
            sphere->setSharedDBName("name", false);
        }
        assigned->deleteFSM();
        k.assign(*assigned, *original);
        const std::unique_ptr<CN_LevelEntity> cloned(original->clone());
        for (CN_LevelEntity* const copy : {cloned.get(), assigned.get()}) {
            EXPECT_EQ(copy->getGeneralProperties(), properties);
            EXPECT_EQ(copy->getBoundingRadius(), original->getBoundingRadius());
            EXPECT_EQ(handlersOf(*copy), k.handlers);
            if (auto* const sphere = dynamic_cast<CN_UISphereEntity*>(copy)) {
                EXPECT_EQ(sphere->getRadius(), 7);
                EXPECT_EQ(sphere->getSharedDBName(), "name");
            }
        }
    }
}

TEST(Kinds, HoldTheKindsOfTheTable) {
    for (const Kind& parent : kinds()) {
        std::vector<int> held;
        const std::unique_ptr<CN_LevelEntity> entity = parent.make();
        for (const Kind& child : kinds())
            if (entity->canAdd(child.make().get()))
                held.push_back(child.id);
        EXPECT_EQ(held, parent.children) << parent.id;
        EXPECT_FALSE(entity->canAdd(nullptr));
    }
}

TEST(Kinds, CallTheirOwnVisitorAndNoOther) {
    struct OnlyEntities : CN_AcyclicLevelVisitor, CN_EntityACVisitor {
        void visit(CN_LevelEntity& entity) override { ADD_FAILURE() << entity.getEntityId(); }
    } others;
    for (const Kind& k : kinds()) {
        EveryVisitor visitor;
        k.make()->acceptACVisitor(visitor);
        EXPECT_EQ(visitor.met, std::vector<int>{k.id});
        k.make()->acceptACVisitor(others);
    }
}

TEST(Kinds, AskForTheirRendererOnceWhenMadeAsACopy) {
    RendererFactory factory;
    for (const Kind& k : kinds()) {
        SCOPED_TRACE(k.id);
        const std::vector<std::string> once =
            *k.renderer ? std::vector<std::string>{k.renderer} : std::vector<std::string>{};
        const std::unique_ptr<CN_LevelEntity> original = k.make();
        EXPECT_TRUE(factory.asked.empty());
        const std::unique_ptr<CN_LevelEntity> copy(original->clone());
        EXPECT_EQ(factory.asked, once);
        EXPECT_EQ(copy->getRenderer() != nullptr, *k.renderer != 0);
        factory.asked.clear();
        k.assign(*copy, *original);
        EXPECT_EQ(factory.asked, once);
        factory.asked.clear();
    }
    CN_LevelEntityTriMesh mesh;
    mesh.discardGeometry(false);
    mesh.discardGeometry(true);
    EXPECT_EQ(factory.asked, std::vector<std::string>{"TriMesh"});
}

TEST(Enemy, CountsInTheGroupsThatTheDocumentKnows) {
    CN_Document document;
    auto& groups = document.accessAICharacterGroups();
    groups = {{"3", 1}, {"4", 0}};
    CN_LevelEntityEnemy enemy;
    enemy.setGroup("3"); // without a document nothing is counted
    EXPECT_EQ(groups["3"], 1);
    enemy.setDocument(&document);
    enemy.setGroup("4");
    EXPECT_EQ(groups, (CN_Document::GroupMap{{"3", 0}, {"4", 1}}));
    enemy.setGroup("unknown");
    EXPECT_EQ(groups, (CN_Document::GroupMap{{"3", 0}, {"4", 0}}));
    EXPECT_EQ(enemy.getGroup(), "UNKNOWN");
    EXPECT_EQ(toString(CN_LevelEntityEnemy(enemy).getGroup()), "unknown");
}

TEST(Player, CannotBeHiddenOrMovedToAnotherGroup) {
    CN_LevelEntityPlayer player;
    player.setVisible(false);
    player.setGroup("3");
    EXPECT_TRUE(player.isVisible());
    EXPECT_EQ(toString(player.getGroup()), "PLAYER_GROUP");
}
