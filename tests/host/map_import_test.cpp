#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "host/level_session.h"
#include "host/map_import.h"

#include <gtest/gtest.h>

using namespace cairn;
using namespace cairn::host;

namespace {

using Vector = CN_LevelEntity::Vector;

class MapImport : public testing::Test {
  protected:
    MapImportSummary import(const std::string& text, double scale = 1) {
        m_document->createCairnLevelEntities();
        return importMap(readMap(text), scale, *m_document);
    }
    CN_LevelEntity* child(const char* name) { return m_document->accessLevel()->hasChildNamed(name); }
    static void expectNear(const Vector& a, const Vector& b) { EXPECT_LT((a - b).length(), 1e-12); }

    Console m_console;
    LevelSession m_session{m_console, ""};
    std::unique_ptr<CN_Document> m_document = m_session.createDocument();
};

TEST_F(MapImport, TurnsAxesAndDirections) {
    const MapImportSummary summary =
        import("{\"classname\" \"info_player_start\" \"origin\" \"32 64 96\" \"angle\" \"90\"}"
               "{\"classname\" \"a\" \"angle\" \"-1\"}{\"classname\" \"b\" \"angles\" \"30 0 0\"}"
               "{\"classname\" \"c\" \"mangle\" \"0 0 90\"}",
               1.0 / 32);
    EXPECT_TRUE(summary.playerPlaced);
    const CN_LevelEntity& player = *m_document->accessPlayer();
    EXPECT_EQ(player.getPosition(), Vector(-2, 3, 1));
    // Forward is +Z of ours; a quarter to the left of it is -X.
    EXPECT_EQ(Vector(0, 0, 1) * player.getRotation(), Vector(-1, 0, 0));
    EXPECT_EQ(Vector(1, 0, 0) * player.getRotation(), Vector(0, 0, 1));
    expectNear(Vector(0, 0, 1) * child("a")->getRotation(), {0, 1, 0});
    expectNear(Vector(0, 0, 1) * child("b")->getRotation(), {0, -0.5, std::sqrt(0.75)});
    expectNear(Vector(0, 1, 0) * child("c")->getRotation(), {1, 0, 0});
    for (const char* name : {"a", "b", "c"})
        EXPECT_NEAR(child(name)->getRotation().determinant(), 1, 1e-12);
}

TEST_F(MapImport, MakesTheNearestKindOfEachClass) {
    const MapImportSummary summary = import(
        "{\"classname\" \"worldspawn\"}{\"classname\" \"weapon_axe\"}{\"classname\" \"monster_rat\"}"
        "{\"classname\" \"trigger_once\" \"target\" \"x\"}{\"classname\" \"player\"}{\"classname\" \"odd thing!\"}"
        "{\"classname\" \"_x\"}{}{\"classname\" \"weapon_axe\" \"targetname\" \"x\"}");
    EXPECT_EQ(summary.made, (std::map<int, std::size_t>{
                                {CN_KIND_TRIGGER, 1}, {CN_KIND_WAYPOINT, 4}, {CN_KIND_ITEM, 2}, {CN_KIND_ENEMY, 1}}));
    EXPECT_FALSE(summary.playerPlaced);
    EXPECT_EQ(summary.links, 2u);
    for (const char* name : {"player_", "odd_thing_", "e_x", "unnamed", "weapon_axe"})
        EXPECT_NE(child(name), nullptr) << name;
    EXPECT_EQ(static_cast<CN_UISphereEntity*>(child("monster_rat"))->getSharedDBName(), "monster_rat");
    EXPECT_EQ(m_document->getLevel()->getChildren().size(), 9u);
    EXPECT_LT(toEntityName(std::string(1 << 20, 'x')).size(), 64u);
}

TEST_F(MapImport, ReadsLightsAndCountsWhatItDoesNotUnderstand) {
    const MapImportSummary summary = import(
        "{\"classname\" \"light\" \"light\" \"600\" \"_color\" \"1 0.5 0\"}\n"
        "{\"classname\" \"light_torch\" \"_light\" \"10 20 30 150\"}\n"
        "{\"classname\" \"lights\" \"light\" \"bright\" \"angle\" \"up\"}\n{\"classname\" \"x\" \"angle\" \"up\"}",
        0.5);
    const auto& light = dynamic_cast<CN_LevelEntityDynPointlight&>(*child("light")).getDynLightProperties();
    EXPECT_EQ(light.intensity, 2);
    EXPECT_EQ(light.falloff, 300);
    EXPECT_EQ(light.color, I_FColor(255, 127.5f, 0));
    const auto& torch = dynamic_cast<CN_LevelEntityDynPointlight&>(*child("light_torch")).getDynLightProperties();
    EXPECT_EQ(torch.intensity, 0.5f);
    EXPECT_EQ(torch.color, I_FColor(10, 20, 30));
    EXPECT_EQ(dynamic_cast<CN_LevelEntityDynPointlight&>(*child("lights")).getIntensity(), 1);
    EXPECT_EQ(summary.oddValues, 2u);
    EXPECT_EQ(summary.firstOddLine, 3u);
}

} // namespace
