#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/geometry/validate.h"
#include "host/level_session.h"
#include "host/map_import.h"
#include "tests/support/machine_text.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sstream>

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
    for (const char* name : {"player_", "odd_thing_", "e_x", "unnamed", "weapon_axe"})
        EXPECT_NE(child(name), nullptr) << name;
    EXPECT_EQ(static_cast<CN_UISphereEntity*>(child("monster_rat"))->getSharedDBName(), "monster_rat");
    EXPECT_EQ(m_document->getLevel()->getChildren().size(), 9u);
    EXPECT_LT(toEntityName(std::string(1 << 20, 'x')).size(), 64u);
}

TEST_F(MapImport, TurnsTargetsIntoMessages) {
    const MapImportSummary summary = import(
        "{\"classname\" \"trigger_once\" \"target\" \"x\"}{\"classname\" \"monster_rat\" \"target\" \"x\" "
        "\"targetname\" \"x\"}"
        "{\"classname\" \"light\" \"targetname\" \"x\"}{\"classname\" \"path\" \"target\" \"X\" \"killtarget\" \"x\"}");
    EXPECT_EQ(summary.links.messages, 4u);
    EXPECT_EQ(summary.links.unbound, 1u); // names of maps are told apart by case
    EXPECT_EQ(summary.links.kills, 1u);
    const auto machine = [this](const char* name) { return test::textOf(*child(name)->getFSM()); };
    const std::string both =
        "{parent::monster_rat->FSM_Send(Activate);|FSM_Send|::monster_rat|Activate,|to ::monster_rat|with none}"
        "{parent::light->FSM_Send(Activate);|FSM_Send|::light|Activate,|to ::light|with none}";
    EXPECT_EQ(machine("trigger_once"),
              "; Activate ; ;\nFSM_Send(Activate): before" + both +
                  "\nStartup:\nT_Activate: before"
                  "{this->FSM_Send(Activate);|FSM_Send|::trigger_once|Activate,|to ::trigger_once|with none}");
    EXPECT_NE(machine("monster_rat").find("OnDeath: before{this->FSM_Send(Activate);"), std::string::npos);
    EXPECT_EQ(machine("light"), "; Activate ; ;\nFSM_Send(Activate):\nStartup:");
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

/// A block between two corners of the map's space, all faces with one texture's placement.
std::string block(const std::string& from, const std::string& to, const std::string& placement) {
    std::istringstream a(from), b(to);
    int x, y, z, X, Y, Z;
    a >> x >> y >> z;
    b >> X >> Y >> Z;
    const auto face = [&](int px, int py, int pz, int i, int j) {
        const int q[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        return fmt::format("( {} {} {} ) ( {} {} {} ) ( {} {} {} ) {}\n", px, py, pz, px + q[i][0], py + q[i][1],
                           pz + q[i][2], px + q[j][0], py + q[j][1], pz + q[j][2], placement);
    };
    return "{\n" + face(x, y, z, 1, 2) + face(x, y, z, 2, 0) + face(x, y, z, 0, 1) + face(X, Y, Z, 2, 1) +
           face(X, Y, Z, 0, 2) + face(X, Y, Z, 1, 0) + "}\n";
}

class BrushImport : public MapImport {
  protected:
    CN_LevelEntityMesh& mesh(const char* name) { return dynamic_cast<CN_LevelEntityMesh&>(*child(name)); }
    /// The polygon that looks that way.
    static const CN_Polygon& facing(const CN_LevelEntityMesh& mesh, const Vector& normal) {
        for (const CN_Polygon& polygon : mesh.getPolygonList())
            if ((polygon.getNormal() - normal).length() < 1e-9)
                return polygon;
        throw std::runtime_error("no such face");
    }
    /// The texel of a 64 by 64 texture at a place of the map, within the repeats of it.
    static M_Vector2Template<double> texel(const CN_LevelEntityMesh& mesh, const CN_Polygon& face,
                                           const Vector& place) {
        const auto uv = face.getUVSpace(0).toUV(Vector(-place.y, place.z, place.x) - mesh.getWorldPosition());
        const auto within = [](double n) { return n * 64 - std::floor(n + 1e-9) * 64; };
        return {within(uv.x), within(uv.y)};
    }
};

TEST_F(BrushImport, TellsOfBrushesTooThinForALevel) {
    const std::string wall = "wall 0 0 0 1 1";
    const MapImportSummary summary = import("{\"classname\" \"worldspawn\"\n" + block("0 0 0", "64 64 64", wall) +
                                                block("0 0 0", "64 64 1", wall) + "}\n",
                                            0.0005);
    EXPECT_EQ(summary.meshes.meshes, 2u);
    EXPECT_EQ(summary.thinBrushes, 1u);
    ASSERT_EQ(summary.findings.size(), 1u);
    EXPECT_EQ(summary.findings[0].line, 10u);
}

TEST_F(BrushImport, MakesClosedMeshesThatLookOutward) {
    const std::string wall = "wall 0 0 0 1 1";
    const MapImportSummary summary =
        import("{\"classname\" \"worldspawn\"\n" + block("0 0 0", "64 32 16", wall) + block("8 8 8", "8 16 16", wall) +
               block("-3 -3 -3", "-1 -1 -1", wall) + "{\n( 0 0 0 ) ( 1 1 1 ) ( 2 2 2 ) " + wall + "\n}\n}\n" +
               block("0 0 0", "1 1 1", "WALL 0 0 0 1 1"));
    EXPECT_EQ(summary.meshes.meshes, 3u);
    EXPECT_EQ(summary.lostBrushes, 2u);
    ASSERT_EQ(summary.findings.size(), 2u);
    EXPECT_EQ(summary.findings[0].line, 10u);
    EXPECT_EQ(summary.findings[0].text, "a brush is not imported: it encloses nothing");
    EXPECT_EQ(summary.findings[1].text, "a brush is not imported: the points of its face on line 27 give no plane");
    const CN_LevelEntityMesh& made = mesh("Brush0");
    EXPECT_EQ(made.getBoundingMin(), Vector(-32, 0, 0)) << "left is -X of ours, up Y, forward Z";
    EXPECT_EQ(made.getBoundingMax(), Vector(0, 16, 64));
    EXPECT_NEAR(CN_volume(made), -64.0 * 32 * 16, 1e-9);
    EXPECT_EQ(made.getVertexList().count(), 8u);
    for (const char* name : {"Brush2", "Brush4"})
        EXPECT_NE(child(name), nullptr) << name;
    EXPECT_EQ(m_document->getMaterials().numMaterials(), 1);
    EXPECT_EQ(mesh("Brush4").getPolygonList().begin()->getPolygonIndex(), 12u);
    EXPECT_TRUE(CN_validateDocument(*m_document, CN_LEVEL_TOLERANCE).empty());
}

TEST_F(BrushImport, KeepsTheMapsTextureAxes) {
    import("{\"classname\" \"worldspawn\"\n" + block("0 0 0", "64 64 64", "plain 8 4 0 2 1") +
           block("0 0 0", "64 64 64", "turned 0 0 90 1 -1") +
           block("0 0 0", "64 64 64", "valve [ 0 0.5 0 3 ] [ 0.5 0 -1 5 ] 45 1 0.5") +
           block("0 0 0", "64 64 64", "none [ 0 0 0 3 ] [ 0 0 -1 5 ] 0 1 1") + "}");
    const auto expectTexel = [](const M_Vector2Template<double>& at, double x, double y) {
        EXPECT_NEAR(at.x, x, 1e-9);
        EXPECT_NEAR(at.y, y, 1e-9);
    };
    const Vector place(64, 20, 8); // on the face that looks to the map's +X, ours +Z
    const Vector top(10, 20, 64);
    const CN_LevelEntityMesh &plain = mesh("Brush0"), &turned = mesh("Brush1"), &valve = mesh("Brush2");
    const auto at = [&](const CN_LevelEntityMesh& m, const Vector& normal, const Vector& p) {
        return texel(m, facing(m, normal), p);
    };
    expectTexel(at(plain, {0, 0, 1}, place), 20 / 2.0 + 8, 64 - 8 + 4);
    expectTexel(at(plain, {0, 1, 0}, top), 10 / 2.0 + 8, 64 - 20 + 4);
    expectTexel(at(turned, {0, 1, 0}, top), 20, 64 - 10);
    expectTexel(at(valve, {0, 0, 1}, place), 20 / 2.0 + 3, 64 * 0.5 * 2 - 8 * 2 + 5);
    EXPECT_TRUE(CN_validateDocument(*m_document, CN_LEVEL_TOLERANCE).empty());
}

TEST_F(BrushImport, GivesBrushEntitiesAMachineWithMeshesBelow) {
    const std::string wall = "wall 0 0 0 1 1";
    const MapImportSummary summary =
        import("{\"classname\" \"func_door\" \"targetname\" \"d\"\n" + block("64 64 0", "128 80 96", wall) + "}\n" +
               "{\"classname\" \"func_wall\" \"origin\" \"1 2 3\"\n" + block("0 0 0", "8 8 8", wall) +
               block("8 8 8", "16 16 16", wall) + "}\n{\"classname\" \"trigger_once\" \"target\" \"d\"\n" +
               block("0 0 0", "8 8 8", wall) + "}");
    EXPECT_EQ(summary.brushEntities, 3u);
    EXPECT_TRUE(summary.made.empty());
    CN_LevelEntity &door = *child("func_door"), &still = *child("func_wall"), &trigger = *child("trigger_once");
    EXPECT_EQ(door.getEntityId(), CN_KIND_FSM);
    EXPECT_EQ(door.getPosition(), Vector(-72, 48, 96));
    EXPECT_EQ(still.getPosition(), Vector(-2, 3, 1));
    EXPECT_EQ(still.getChildren().size(), 2u);
    const auto meshBelow = [](CN_LevelEntity& entity) -> CN_LevelEntityMesh& {
        return dynamic_cast<CN_LevelEntityMesh&>(*entity.hasChildNamed("Brush0"));
    };
    EXPECT_TRUE(meshBelow(door).isDynamic());
    EXPECT_FALSE(meshBelow(still).isDynamic());
    EXPECT_TRUE(meshBelow(trigger).isTrigger());
    EXPECT_NE(test::textOf(*meshBelow(trigger).getFSM()).find("T_Activate: before{parent->FSM_Send(Activate);"),
              std::string::npos);
    EXPECT_NE(test::textOf(*trigger.getFSM()).find("{parent::func_door->FSM_Send(Activate);"), std::string::npos);
    EXPECT_EQ(meshBelow(still).getBoundingMin(), Vector(-8, 0, 0));
    EXPECT_EQ(meshBelow(still).getWorldPosition(), Vector(-4, 4, 4));
}

} // namespace
