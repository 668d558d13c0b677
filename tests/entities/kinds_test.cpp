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

#include <vector>

using namespace cairn;

namespace {

template <class Kind> std::unique_ptr<CN_LevelEntity> make() { return std::make_unique<Kind>(); }

/// Gives `to`, which is of the same kind as `from`, what `from` has.
template <class Kind> void assign(CN_LevelEntity& to, const CN_LevelEntity& from) {
    dynamic_cast<Kind&>(to) = dynamic_cast<const Kind&>(from);
}

struct Kind {
    int id;
    double radius;                 ///< 0 for a kind that is no sphere
    std::vector<int> children;     ///< ids of the kinds it holds
    std::vector<istring> handlers; ///< of the state machine that it always has; empty for none
    const char* renderer;          ///< what its renderer is made by, "" for none
    std::unique_ptr<CN_LevelEntity> (*make)();
    void (*assign)(CN_LevelEntity&, const CN_LevelEntity&);
    bool (*visits)(CN_LevelEntity&); ///< whether the kind's visitor is called
};

const std::vector<int> ORDINARY{100, 104, 105, 106, 107, 108, 109, 110, 111, 117, 118, 119};

std::vector<int> ordinaryAnd(std::vector<int> more) {
    more.insert(more.end(), ORDINARY.begin(), ORDINARY.end());
    std::sort(more.begin(), more.end());
    return more;
}

template <class Kind, class KindVisitor> bool visits(CN_LevelEntity& entity) {
    struct Visitor : CN_AcyclicLevelVisitor, KindVisitor {
        bool called = false;
        void visit(Kind&) override { called = true; }
    } visitor;
    entity.acceptACVisitor(visitor);
    return visitor.called;
}

template <class T, class Visitor>
Kind kind(int id, double radius, std::vector<int> children, std::vector<istring> handlers, const char* renderer) {
    return {id, radius, std::move(children), std::move(handlers), renderer, make<T>, assign<T>, visits<T, Visitor>};
}

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all{
        kind<CN_LevelEntityMesh, CN_MeshACVisitor>(100, 0, ordinaryAnd({112, 113, 114, 120}), {}, "Mesh"),
        kind<CN_CairnLevel, CN_LevelACVisitor>(103, 0, ordinaryAnd({116, 120}), {}, "Level"),
        kind<CN_LevelEntityPrefab, CN_PrefabACVisitor>(104, 0.25, ORDINARY, {"Startup"}, "UISphere"),
        kind<CN_LevelEntityFSM, CN_FSMACVisitor>(105, 0.05000000074505806, ORDINARY, {"Startup"}, "UISphere"),
        kind<CN_LevelEntityTrigger, CN_TriggerACVisitor>(106, 0.5, ORDINARY, {"Startup", "T_Activate"}, "UISphere"),
        kind<CN_LevelEntityWaypoint, CN_WaypointACVisitor>(107, 0.5, {}, {}, "UISphere"),
        kind<CN_LevelEntityJumppoint, CN_JumppointACVisitor>(108, 0.5, {}, {}, "UISphere"),
        kind<CN_LevelEntityItem, CN_ItemACVisitor>(109, 0.05000000074505806, ORDINARY, {}, "UISphere"),
        kind<CN_LevelEntityEnemy, CN_EnemyACVisitor>(
            110, 0.5, ORDINARY, {"OnActivate", "OnDeath", "OnLowHealth", "OnPlayerAttack", "OnUse", "Startup"},
            "UISphere"),
        kind<CN_LevelEntityDynPointlight, CN_DynPointlightACVisitor>(111, 0.5, {}, {}, "DynPointlight"),
        kind<CN_LevelEntityPolygonGroup, CN_PolygonGroupACVisitor>(112, 0, {}, {}, ""),
        kind<CN_LevelEntityRadiosityLight, CN_RadiosityLightACVisitor>(113, 0, {}, {}, "RadiosityLight"),
        kind<CN_LevelEntityPortal, CN_PortalACVisitor>(114, 0, {}, {}, "Portal"),
        kind<CN_LevelEntityPrefabContent, CN_PrefabContentACVisitor>(
            115, 0, {100, 105, 106, 107, 108, 109, 110, 111, 117, 118, 119}, {}, "PrefabContent"),
        kind<CN_LevelEntityPlayer, CN_PlayerACVisitor>(116, 0, {}, {"OnActivate", "OnDeath", "OnLowHealth", "Startup"},
                                                       ""),
        kind<CN_LevelEntityTriMesh, CN_TriMeshACVisitor>(117, 0, ORDINARY, {}, "TriMesh"),
        kind<CN_LevelEntityAINode, CN_AINodeACVisitor>(118, 0.5, {}, {}, "UISphere"),
        kind<CN_LevelEntityFlare, CN_FlareACVisitor>(119, 0.25, {}, {}, "UISphere"),
        kind<CN_LevelEntityVolLightingBox, CN_VolLightingBoxACVisitor>(120, 0, {120}, {}, "VolLightingBox"),
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
            EXPECT_EQ(entity->getBoundingRadius(), k.radius);
            EXPECT_EQ(entity->isExpanded(), k.id == 103);
            EXPECT_EQ(entity->getGeneralProperties().isGameplayCritical(), k.id != 100);
            EXPECT_EQ(handlersOf(*entity), k.handlers);
            auto* const sphere = dynamic_cast<CN_UISphereEntity*>(entity);
            ASSERT_EQ(sphere != nullptr, k.radius != 0);
            EXPECT_EQ(sphere ? sphere->getRadius() : 0, k.radius);
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

TEST(Kinds, CallTheirOwnVisitorAndNoOther) {
    for (const Kind& k : kinds())
        for (const Kind& other : kinds())
            EXPECT_EQ(other.visits(*k.make()), &other == &k) << k.id << " and " << other.id;
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
