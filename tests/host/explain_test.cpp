#include "cairn/document/level_file.h"
#include "tests/host/program_run.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

using namespace cairn;
using namespace cairn::test;
using Json = nlohmann::ordered_json;

namespace {

/// A level with one fault, kept as `tests/data/broken/NAME.cairn`.
struct BrokenLevel {
    std::string name;
    std::string explained;             ///< what to explain in it
    std::vector<std::string> findings; ///< all that there is to find: kind, length (- for none) and points of each
};

/// Rooms 8 by 4 by 6, mostly two with the wall between them at x = 8, in which the exit lies.
const std::vector<BrokenLevel> BROKEN_LEVELS{
    {"below_the_floor",
     "::First::Door",
     {"exit-hangs 2 (8 -0.01 1) (8 -0.01 3)", "exit-hangs 0.01 (8 -0.01 3) (8 0 3)",
      "exit-hangs 0.01 (8 0 1) (8 -0.01 1)", "exit-touches -"}},
    {"past_the_corner",
     "::First::Door",
     {"exit-hangs 0.5 (8 1 6) (8 1 6.5)", "exit-hangs 1 (8 1 6.5) (8 2 6.5)", "exit-hangs 0.5 (8 2 6.5) (8 2 6)",
      "exit-touches -"}},
    {"in_mid_air",
     "::First::Door",
     {"exit-hangs 2 (4 1 1) (4 1 3)", "exit-hangs 1 (4 1 3) (4 2 3)", "exit-hangs 2 (4 2 3) (4 2 1)",
      "exit-hangs 1 (4 2 1) (4 1 1)", "exit-touches -"}},
    {"off_the_wall",
     "::First::Door",
     {"exit-hangs 2 (7.999 1 1) (7.999 1 3)", "exit-hangs 1 (7.999 1 3) (7.999 2 3)",
      "exit-hangs 2 (7.999 2 3) (7.999 2 1)", "exit-hangs 1 (7.999 2 1) (7.999 1 1)", "exit-touches -"}},
    {"too_low_a_doorway", "::First::Door", {"exit-hangs 6 (4 3.5 6) (4 3.5 0)", "exit-touches -"}},
    {"over_a_gap",
     "::First::Door",
     {"exit-hangs 0.05 (8 1 2.95) (8 1 3)", "exit-hangs 0.05 (8 2 3) (8 2 2.95)", "exit-touches -"}},
    {"over_a_hole", "::First::Door", {"exit-hangs 1 (8 1.5 2) (8 1.5 3)", "exit-touches -"}},
    {"rooms_apart", "::First::Door", {"exit-plane 0.25 (8.25 0 0) (8 0 0)"}},
    {"same_way", "::First::Door", {"exit-facing - (8 2 3) (8 2 3)"}},
    {"turned",
     "::Second::Door",
     {"exit-facing - (8.261 2 2.989) (8 2 3)", "exit-plane 0.5229 (8 0 6) (8.521 0 5.954)",
      "exit-area - (8.261 2 2.989) (8 2 3)"}},
    {"aside", "::First::Door", {"exit-area - (8 2 3) (8 2 3.5)"}},
    {"smaller", "::First::Door", {"exit-area - (8 2 3) (8 1.5 3)"}},
    {"one_way", "::First::Door", {"exit-unpaired - (8 2 3)", "exit-plane 8 (16 0 0) (8 0 0)"}},
    {"without_portal", "::First#4", {"exit-no-portal - (8 2 3)"}},
    {"without_exit", "::First::Door", {"portal-no-exit -"}},
    {"without_wall",
     "::Room",
     {"edge-open 6 (9 2 9) (9 2 3)", "edge-open 6 (9 6 3) (9 6 9)", "edge-open 4 (9 6 9) (9 2 9)",
      "edge-open 4 (9 2 3) (9 6 3)"}},
    {"loose_wall",
     "::Room#5",
     {"edge-open 0.01 (8 0 6) (8 0 6.01)", "edge-open 4 (8 0 6.01) (8 4 6.01)", "edge-open 0.01 (8 4 6.01) (8 4 6)",
      "edge-open 4 (8 4 0.01) (8 0 0.01)"}},
    {"turned_wall",
     "::Room#5",
     {"edge-open 6 (8 4 0) (8 4 6)", "edge-open 4 (8 4 6) (8 0 6)", "edge-open 6 (8 0 6) (8 0 0)",
      "edge-open 4 (8 0 0) (8 4 0)"}},
    {"holed_floor",
     "::Room",
     {"edge-open 1 (2 0 2) (3 0 2)", "edge-open 2 (3 0 2) (3 0 4)", "edge-open 1 (3 0 4) (2 0 4)",
      "edge-open 2 (2 0 4) (2 0 2)"}},
    {"slit",
     "::Room",
     {"edge-open 0.02 (8 0 3.02) (8 0 3)", "edge-open 0.02 (8 4 3) (8 4 3.02)", "edge-open 4 (8 0 3) (8 4 3)",
      "edge-open 4 (8 4 3.02) (8 0 3.02)"}},
    {"double_wall",
     "::Room",
     {"edge-crowded 6 (8 0 6) (8 0 0)", "edge-crowded 6 (8 4 0) (8 4 6)", "edge-crowded 4 (8 4 6) (8 0 6)",
      "edge-crowded 4 (8 0 0) (8 4 0)"}},
    {"blocks_at_an_edge",
     "::Room",
     {"edge-crowded 2 (1 0 1) (1 2 1)", "edge-crowded 2 (1 2 1) (1 0 1)", "edge-crowded 2 (1 2 1) (1 0 1)",
      "edge-crowded 2 (1 0 1) (1 2 1)"}},
    {"empty", "::Room", {"mesh-empty - (0 0 0)"}},
};

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

TEST_F(Explain, FindsTheFaultOfEachBrokenLevel) {
    for (const BrokenLevel& level : BROKEN_LEVELS) {
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
    for (const char* name : {"::First#6", "::First#-1", "::First#"})
        EXPECT_EQ(run({"explain", "a.cairn", name}).code, 1) << name;
}
