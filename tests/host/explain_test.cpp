#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "tests/host/program_run.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <numbers>

using namespace cairn;
using namespace cairn::test;
using Json = nlohmann::ordered_json;

namespace {

using Vector = M_Vector3Template<double>;
using Corners = std::vector<Vector>;

CN_LevelEntityMesh& addBox(CN_Document& document, const char* name, const Vector& place, const Vector& sizes) {
    CN_LevelEntityMesh& mesh = *addFixture(document, name);
    mesh.setPosition(place);
    host::MeshBuilder builder(mesh);
    builder.addBox({}, sizes, true, document.accessMaterials().getDefaultMaterial());
    builder.finish();
    return mesh;
}

/// Adds a polygon over corners of the mesh's space.
CN_Polygon& addFace(CN_LevelEntityMesh& mesh, const std::vector<Corners>& loops) {
    std::vector<Loop> places;
    for (const Corners& corners : loops) {
        places.emplace_back();
        for (const Vector& corner : corners) {
            places.back().push_back(mesh.getVertexList().count());
            mesh.addVertex(corner);
        }
    }
    CN_Polygon& polygon = *fixturePolygon(mesh, places);
    finishFixture(mesh);
    return polygon;
}

/// A rectangle in a plane of that x, looking against the axis.
Corners rectangle(double x, double y0, double y1, double z0, double z1) {
    return {{x, y0, z0}, {x, y0, z1}, {x, y1, z1}, {x, y1, z0}};
}
Corners reversed(const Corners& corners) { return {corners.rbegin(), corners.rend()}; }
Corners moved(Corners corners, const Vector& by) {
    for (Vector& corner : corners)
        corner += by;
    return corners;
}

constexpr double WALL = 8; ///< x of the wall between the rooms
const Vector SIZES(8, 4, 6);
const std::size_t FLOOR = 0, NEAR_WALL = 2, FAR_WALL = 4;

CN_Polygon& faceOf(CN_LevelEntityMesh& mesh, std::size_t face) {
    return mesh.accessPolygonList()[static_cast<int>(face)];
}

/// Two rooms side by side, and an exit over the corners, which lie in the first one; the second one's lies at the same place
/// in the wall.
void buildDoor(CN_Document& document, const Corners& corners) {
    CN_LevelEntityMesh &first = addBox(document, "First", {}, SIZES),
                       &second = addBox(document, "Second", {WALL, 0, 0}, SIZES);
    host::linkExits(addFace(first, {corners}), addFace(second, {reversed(moved(corners, {-WALL, 0, 0}))}), "Door");
}

/// Two rooms whose walls lead to each other, the second one at a place of its own.
void buildPair(CN_Document& document, const Vector& place, const Vector& sizes, std::size_t face, double turn = 0) {
    CN_LevelEntityMesh& first = addBox(document, "First", {}, SIZES);
    CN_LevelEntityMesh& second = addBox(document, "Second", place, sizes);
    second.setRotation(CN_LevelEntity::Matrix::rotationY(turn));
    finishFixture(second);
    host::linkExits(faceOf(first, FAR_WALL), faceOf(second, face), "Door");
}

/// A room whose wall at the greatest x is made of other faces, and an exit over the corners in it.
void buildWall(CN_Document& document, const std::vector<std::vector<Corners>>& faces, const Corners& exit) {
    CN_LevelEntityMesh& first = addBox(document, "First", {}, SIZES);
    first.deletePolygon(&faceOf(first, FAR_WALL));
    for (const std::vector<Corners>& loops : faces)
        addFace(first, loops);
    CN_LevelEntityMesh& second = addBox(document, "Second", {WALL, 0, 0}, SIZES);
    host::linkExits(addFace(first, {exit}), addFace(second, {reversed(moved(exit, {-WALL, 0, 0}))}), "Door");
}

void buildOneWay(CN_Document& document) {
    buildPair(document, {WALL, 0, 0}, SIZES, NEAR_WALL);
    auto& first = dynamic_cast<CN_LevelEntityMesh&>(*document.accessLevel()->hasChildNamed("First"));
    auto& second = dynamic_cast<CN_LevelEntityMesh&>(*document.accessLevel()->hasChildNamed("Second"));
    CN_LevelEntityMesh& third = addBox(document, "Third", {2 * WALL, 0, 0}, SIZES);
    host::linkExits(faceOf(second, FAR_WALL), faceOf(third, NEAR_WALL), "Next");
    faceOf(first, FAR_WALL).setExitDestination(&faceOf(third, NEAR_WALL));
}

void buildWithoutPortal(CN_Document& document) {
    buildPair(document, {WALL, 0, 0}, SIZES, NEAR_WALL);
    CN_LevelEntity& first = *document.accessLevel()->hasChildNamed("First");
    const std::unique_ptr<CN_LevelEntity> portal(first.hasChildNamed("Door"));
    first.remove(portal.get());
}

void buildWithoutExit(CN_Document& document) {
    CN_LevelEntityMesh& mesh = addBox(document, "First", {}, SIZES);
    auto portal = std::make_unique<CN_LevelEntityPortal>();
    portal->setDocument(&document);
    portal->setName("Door", true);
    CN_LevelEntityPortal& made = *portal;
    mesh.addOwned(std::move(portal), false);
    made.setPortalPolygon(&faceOf(mesh, FAR_WALL));
}

void buildOpen(CN_Document& document, std::size_t without) {
    CN_LevelEntityMesh& mesh = addBox(document, "Room", {1, 2, 3}, SIZES);
    mesh.deletePolygon(&faceOf(mesh, without));
}

/// A room whose wall at the greatest x has corners of its own.
void buildLooseWall(CN_Document& document, const Corners& wall) {
    CN_LevelEntityMesh& mesh = addBox(document, "Room", {}, SIZES);
    mesh.deletePolygon(&faceOf(mesh, FAR_WALL));
    addFace(mesh, {wall});
}

void buildHoledFloor(CN_Document& document) {
    CN_LevelEntityMesh& mesh = addBox(document, "Room", {}, SIZES);
    mesh.deletePolygon(&faceOf(mesh, FLOOR));
    addFace(mesh, {{{0, 0, 0}, {0, 0, 6}, {8, 0, 6}, {8, 0, 0}}, {{2, 0, 2}, {3, 0, 2}, {3, 0, 4}, {2, 0, 4}}});
}

void buildSlit(CN_Document& document) {
    CN_LevelEntityMesh& mesh = addBox(document, "Room", {}, SIZES);
    mesh.deletePolygon(&faceOf(mesh, FAR_WALL));
    addFace(mesh, {rectangle(WALL, 0, 4, 0, 3)});
    addFace(mesh, {rectangle(WALL, 0, 4, 3.02, 6)});
}

void buildTwoBlocks(CN_Document& document) {
    CN_LevelEntityMesh& mesh = *addFixture(document, "Room");
    host::MeshBuilder builder(mesh);
    for (const Vector& least : {Vector(0, 0, 0), Vector(1, 0, 1)})
        builder.addBox(least, {1, 2, 1}, false, document.accessMaterials().getDefaultMaterial());
    builder.finish();
}

/// A level with one fault, kept as `tests/data/broken/NAME.cairn`.
struct BrokenLevel {
    std::string name;
    std::string explained;                   ///< what to explain in it
    std::function<void(CN_Document&)> build; ///< made it
    /// All that there is to find: kind, length (- for none) and points of each.
    std::vector<std::string> findings;
};

const std::vector<BrokenLevel>& brokenLevels() {
    const auto door = [](const Corners& corners) { return [corners](CN_Document& d) { buildDoor(d, corners); }; };
    const auto pair = [](const Vector& place, const Vector& sizes, std::size_t face, double turn = 0) {
        return [=](CN_Document& d) { buildPair(d, place, sizes, face, turn); };
    };
    static const std::vector<BrokenLevel> levels{
        {"below_the_floor",
         "::First::Door",
         door(rectangle(WALL, -0.01, 2, 1, 3)),
         {"exit-hangs 2 (8 -0.01 1) (8 -0.01 3)", "exit-hangs 0.01 (8 -0.01 3) (8 0 3)",
          "exit-hangs 0.01 (8 0 1) (8 -0.01 1)", "exit-touches -"}},
        {"past_the_corner",
         "::First::Door",
         door(rectangle(WALL, 1, 2, 5, 6.5)),
         {"exit-hangs 0.5 (8 1 6) (8 1 6.5)", "exit-hangs 1 (8 1 6.5) (8 2 6.5)", "exit-hangs 0.5 (8 2 6.5) (8 2 6)",
          "exit-touches -"}},
        {"in_mid_air",
         "::First::Door",
         door(rectangle(4, 1, 2, 1, 3)),
         {"exit-hangs 2 (4 1 1) (4 1 3)", "exit-hangs 1 (4 1 3) (4 2 3)", "exit-hangs 2 (4 2 3) (4 2 1)",
          "exit-hangs 1 (4 2 1) (4 1 1)", "exit-touches -"}},
        {"off_the_wall",
         "::First::Door",
         door(rectangle(WALL - 0.001, 1, 2, 1, 3)),
         {"exit-hangs 2 (7.999 1 1) (7.999 1 3)", "exit-hangs 1 (7.999 1 3) (7.999 2 3)",
          "exit-hangs 2 (7.999 2 3) (7.999 2 1)", "exit-hangs 1 (7.999 2 1) (7.999 1 1)", "exit-touches -"}},
        {"too_low_a_doorway",
         "::First::Door",
         door(rectangle(4, 0, 3.5, 0, 6)),
         {"exit-hangs 6 (4 3.5 6) (4 3.5 0)", "exit-touches -"}},
        {"over_a_gap",
         "::First::Door",
         [](CN_Document& d) {
             buildWall(d, {{rectangle(WALL, 0, 4, 0, 2.95)}, {rectangle(WALL, 0, 4, 3, 6)}},
                       rectangle(WALL, 1, 2, 1, 5));
         },
         {"exit-hangs 0.05 (8 1 2.95) (8 1 3)", "exit-hangs 0.05 (8 2 3) (8 2 2.95)", "exit-touches -"}},
        {"over_a_hole",
         "::First::Door",
         [](CN_Document& d) {
             buildWall(d, {{rectangle(WALL, 0, 4, 0, 6), reversed(rectangle(WALL, 1, 2, 2, 3))}},
                       rectangle(WALL, 1.5, 3, 1, 5));
         },
         {"exit-hangs 1 (8 1.5 2) (8 1.5 3)", "exit-touches -"}},
        {"rooms_apart",
         "::First::Door",
         pair({WALL + 0.25, 0, 0}, SIZES, NEAR_WALL),
         {"exit-plane 0.25 (8.25 0 0) (8 0 0)"}},
        {"same_way", "::First::Door", pair({}, SIZES, FAR_WALL), {"exit-facing - (8 2 3) (8 2 3)"}},
        {"turned",
         "::Second::Door",
         pair({WALL, 0, 0}, SIZES, NEAR_WALL, std::numbers::pi / 36),
         {"exit-facing - (8.261 2 2.989) (8 2 3)", "exit-plane 0.5229 (8 0 6) (8.521 0 5.954)",
          "exit-area - (8.261 2 2.989) (8 2 3)"}},
        {"aside", "::First::Door", pair({WALL, 0, 0.5}, SIZES, NEAR_WALL), {"exit-area - (8 2 3) (8 2 3.5)"}},
        {"smaller", "::First::Door", pair({WALL, 0, 0}, {8, 3, 6}, NEAR_WALL), {"exit-area - (8 2 3) (8 1.5 3)"}},
        {"one_way", "::First::Door", buildOneWay, {"exit-unpaired - (8 2 3)", "exit-plane 8 (16 0 0) (8 0 0)"}},
        {"without_portal", "::First#4", buildWithoutPortal, {"exit-no-portal - (8 2 3)"}},
        {"without_exit", "::First::Door", buildWithoutExit, {"portal-no-exit -"}},
        {"without_wall",
         "::Room",
         [](CN_Document& d) { buildOpen(d, FAR_WALL); },
         {"edge-open 6 (9 2 9) (9 2 3)", "edge-open 6 (9 6 3) (9 6 9)", "edge-open 4 (9 6 9) (9 2 9)",
          "edge-open 4 (9 2 3) (9 6 3)"}},
        {"loose_wall",
         "::Room#5",
         [](CN_Document& d) {
             buildLooseWall(d, moved(rectangle(WALL, 0, 4, 0, 6), {0, 0, 0.01}));
         },
         {"edge-open 0.01 (8 0 6) (8 0 6.01)", "edge-open 4 (8 0 6.01) (8 4 6.01)", "edge-open 0.01 (8 4 6.01) (8 4 6)",
          "edge-open 4 (8 4 0.01) (8 0 0.01)"}},
        {"turned_wall",
         "::Room#5",
         [](CN_Document& d) { buildLooseWall(d, reversed(rectangle(WALL, 0, 4, 0, 6))); },
         {"edge-open 6 (8 4 0) (8 4 6)", "edge-open 4 (8 4 6) (8 0 6)", "edge-open 6 (8 0 6) (8 0 0)",
          "edge-open 4 (8 0 0) (8 4 0)"}},
        {"holed_floor",
         "::Room",
         buildHoledFloor,
         {"edge-open 1 (2 0 2) (3 0 2)", "edge-open 2 (3 0 2) (3 0 4)", "edge-open 1 (3 0 4) (2 0 4)",
          "edge-open 2 (2 0 4) (2 0 2)"}},
        {"slit",
         "::Room",
         buildSlit,
         {"edge-open 0.02 (8 0 3.02) (8 0 3)", "edge-open 0.02 (8 4 3) (8 4 3.02)", "edge-open 4 (8 0 3) (8 4 3)",
          "edge-open 4 (8 4 3.02) (8 0 3.02)"}},
        {"double_wall",
         "::Room",
         [](CN_Document& d) { addFace(addBox(d, "Room", {}, SIZES), {rectangle(WALL, 0, 4, 0, 6)}); },
         {"edge-crowded 6 (8 0 6) (8 0 0)", "edge-crowded 6 (8 4 0) (8 4 6)", "edge-crowded 4 (8 4 6) (8 0 6)",
          "edge-crowded 4 (8 0 0) (8 4 0)"}},
        {"blocks_at_an_edge",
         "::Room",
         buildTwoBlocks,
         {"edge-crowded 2 (1 0 1) (1 2 1)", "edge-crowded 2 (1 2 1) (1 0 1)", "edge-crowded 2 (1 2 1) (1 0 1)",
          "edge-crowded 2 (1 0 1) (1 2 1)"}},
        {"empty", "::Room", [](CN_Document& d) { addFixture(d, "Room"); }, {"mesh-empty - (0 0 0)"}},
    };
    return levels;
}

std::string storedAs(const BrokenLevel& level) {
    return test::projectFile("tests/data/broken/" + level.name + ".cairn").string();
}

/// Kind, length and points of each finding.
std::vector<std::string> linesOf(const Json& findings) {
    std::vector<std::string> lines;
    for (const Json& finding : findings) {
        std::string line = finding["kind"].get<std::string>();
        line += finding["length"].is_null() ? " -" : fmt::format(" {:.4g}", finding["length"].get<double>());
        for (const Json& point : finding["points"])
            line += fmt::format(" ({:.4g} {:.4g} {:.4g})", point[0].get<double>(), point[1].get<double>(),
                                point[2].get<double>());
        lines.push_back(std::move(line));
    }
    return lines;
}

class Explain : public ProgramTest {
  protected:
    Json explain(const std::string& file, const std::string& name, int code) {
        const ProgramRun done = run({"explain", "--json", file, name});
        EXPECT_EQ(done.code, code) << done.error;
        return Json::parse(done.output, nullptr, false);
    }
};

} // namespace

// Run it where the levels have changed; the next test says whether they are found out.
TEST(BrokenLevels, DISABLED_StoreAll) {
    for (const BrokenLevel& level : brokenLevels()) {
        ShelfDocument document;
        level.build(document);
        CN_LevelFile::save(document, storedAs(level));
    }
}

TEST_F(Explain, FindsTheFaultOfEachBrokenLevel) {
    for (const BrokenLevel& level : brokenLevels()) {
        const Json told = explain(storedAs(level), level.explained, 1);
        EXPECT_EQ(told["name"], level.explained);
        EXPECT_EQ(told["ok"], false);
        EXPECT_EQ(linesOf(told["findings"]), level.findings) << level.name << told.dump(1);
    }
}

TEST_F(Explain, NamesWhatTouchesAndWhatMightCloseAnEdge) {
    const auto message = [&](const char* level, const char* name, std::size_t finding) {
        const std::string file = test::projectFile("tests/data/broken/" + std::string(level) + ".cairn").string();
        return explain(file, name, 1)["findings"][finding]["message"].get<std::string>();
    };
    EXPECT_EQ(message("past_the_corner", "::First::Door", 0),
              "0.5 of edge 0 of the contour lies on no polygon of the mesh");
    EXPECT_EQ(message("past_the_corner", "::First::Door", 3), "the contour lies on ::First#4");
    EXPECT_EQ(message("over_a_gap", "::First::Door", 2), "the contour lies on ::First#5, ::First#6");
    EXPECT_EQ(message("slit", "::Room", 0),
              "no polygon follows ::Room#0 here; the nearest open one is ::Room#5, 0.02 off");
    EXPECT_EQ(
        message("turned_wall", "::Room", 0),
        "no polygon follows ::Room#0 here; the nearest open one is ::Room#5, 0 off, which runs the same way: one of "
        "them looks the wrong way");

    // A long edge that lies half a unit off is offered first; a short one beside the wall is nearer.
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *addFixture(document, "Sheets");
    const auto addSheet = [&mesh](double x, double from, double to) {
        const int first = mesh.getVertexList().count();
        for (const CN_LevelEntity::Vector& corner :
             {CN_LevelEntity::Vector(x, 0, from), {x, 0, to}, {x, 4, to}, {x, 4, from}})
            mesh.addVertex(corner);
        fixturePolygon(mesh, {{first, first + 1, first + 2, first + 3}});
    };
    addSheet(0.5, -4, 9);
    addSheet(0, 0, 5);
    addSheet(0.01, 2, 3);
    finishFixture(mesh);
    CN_LevelFile::save(document, path("sheets.cairn").string());
    const Json told = explain("sheets.cairn", "::Sheets#1", 1);
    EXPECT_NE(told["findings"][0]["message"].get<std::string>().find("::Sheets#2, 0.01 off"), std::string::npos)
        << told.dump(1);
}

TEST_F(Explain, TellsWhatIsRightAndRefusesTheRest) {
    ShelfDocument document;
    twoRooms(document);
    CN_LevelFile::save(document, path("a.cairn").string());
    for (const char* name : {"::First", "::First::ToSecond", "::Second#2", "::first#0"}) {
        const Json told = explain("a.cairn", name, 0);
        EXPECT_EQ(told["ok"], true);
        EXPECT_EQ(told["findings"], Json::array()) << name;
    }
    EXPECT_EQ(run({"explain", "a.cairn", "::Second#2"}).output, "::Second#2: ok\n");
    for (const char* name : {"::player", "::Nobody", "::First#6", "::First#-1", "::First#"}) {
        const ProgramRun done = run({"explain", "a.cairn", name});
        EXPECT_EQ(done.code, 1) << name;
        EXPECT_EQ(done.output, "");
        EXPECT_NE(done.error.find(name), std::string::npos) << done.error;
    }
}
