#include "cairn/document/level_file.h"
#include "cairn/foundation/file.h"
#include "tests/host/program_run.h"
#include "tests/support/full_level.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/old_meshes.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace cairn::test;
using Json = nlohmann::ordered_json;

namespace {

/// Each test runs the program on levels with meshes in a folder of its own.
class MeshLevels : public ProgramTest {
  protected:
    Json json(const std::vector<std::string>& arguments, int code = 0) {
        const ProgramRun done = run(arguments);
        EXPECT_EQ(done.code, code) << done.error;
        return Json::parse(done.output, nullptr, false);
    }
    /// "severity code entity#polygon" of each problem.
    static std::vector<std::string> problemsOf(const Json& check) {
        std::vector<std::string> lines;
        for (const Json& problem : check["files"][0]["problems"])
            lines.push_back(problem["severity"].get<std::string>() + " " + problem["code"].get<std::string>() + " " +
                            (problem["entity"].is_null() ? "null" : problem["entity"].get<std::string>()) + "#" +
                            problem["polygon"].dump());
        return lines;
    }
};

TEST_F(MeshLevels, AreCountedMarkedAndSound) {
    cairn::CN_LevelFile::save(*makeFullLevel(), path("full.cairn").string());
    const Json info = json({"info", "--json", "full.cairn"});
    const std::pair<const char*, int> counts[] = {{"meshes", 5},    {"triangle_meshes", 2}, {"rooms", 2},
                                                  {"vertices", 44}, {"polygons", 26},       {"triangles", 32},
                                                  {"exits", 2},     {"portals", 2},         {"polygon_groups", 2},
                                                  {"lightmaps", 1}, {"keyframes", 4},       {"animations", 2}};
    for (const auto& [key, count] : counts)
        EXPECT_EQ(info[key], count) << key;

    std::string flags;
    const Json tree = json({"tree", "--json", "full.cairn"});
    for (const Json& child : tree["children"])
        flags += child["name"].get<std::string>() + child["flags"].dump() + " ";
    EXPECT_EQ(flags, "player[] First[\"room\"] Second[\"room\"] Pillar[] Door[\"dynamic\"] Gate[\"trigger\"] "
                     "Statue[] Fan[\"dynamic\"] ");

    const Json check = json({"check", "--json", "full.cairn"});
    EXPECT_EQ(check["ok"], true);
    EXPECT_EQ(problemsOf(check),
              (std::vector<std::string>{"warning mesh-open ::Door#null", "warning mesh-open ::Gate#null"}));
}

TEST_F(MeshLevels, AreToldTheirFaults) {
    ShelfDocument document;
    cairn::CN_LevelEntityMesh* const box = boxRoom(document);
    box->accessVertexList()[0] += {0, 0.01, 0};
    box->accessPolygonList()[5].accessEdgeList()[1].index(0) = box->getPolygonList()[5].getEdgeList()[1].index(1);
    cairn::CN_LevelFile::save(document, path("bad.cairn").string());
    EXPECT_EQ(problemsOf(json({"check", "--json", "bad.cairn"}, 1)),
              (std::vector<std::string>{"error polygon-degenerate ::Box#5", "error polygon-nonplanar ::Box#0",
                                        "warning mesh-open ::Box#null"}));
}

TEST_F(MeshLevels, KeepTheirExitsWhereAnotherEntityIsDamaged) {
    cairn::CN_LevelFile::save(*makeFullLevel(), path("full.cairn").string());
    std::string bytes = read("full.cairn");
    bytes[bytes.rfind("Gate") + 400] ^= '\x7F';
    write("bad.cairn", bytes);
    EXPECT_EQ(run({"save", "--force", "bad.cairn", "-o", "kept.cairn"}).code, 1);
    EXPECT_EQ(problemsOf(json({"check", "--json", "kept.cairn"})),
              (std::vector<std::string>{"warning mesh-open ::Door#null"}));
    EXPECT_EQ(json({"info", "--json", "kept.cairn"})["exits"], 2);
    EXPECT_EQ(run({"save", "kept.cairn", "-o", "again.cairn"}).code, 0);
    EXPECT_EQ(read("again.cairn"), read("kept.cairn"));
}

TEST_F(MeshLevels, ANodeOnAPolygonThatIsNotThereMakesThemUnreadable) {
    OldLevel level;
    OldEntity portal{.kind = cairn::CN_KIND_PORTAL, .name = "Portal"};
    portal.ownRecord = [](cairn::F_MemoryFile& file) { writeOldPortal(file, 3, 7); };
    OldEntity room{.kind = cairn::CN_KIND_MESH, .name = "Room", .children = {portal}};
    room.ownRecord = [](cairn::F_MemoryFile& file) { writeOldMesh(file, {}); };
    level.root.children = {room};
    cairn::F_File::replace(path("node.cairn").string(), makeLevel(level));
    const ProgramRun info = run({"info", "node.cairn"});
    EXPECT_EQ(info.code, 3);
    EXPECT_EQ(info.output, "");
    EXPECT_EQ(info.error, "cairn: node.cairn: PortalNode polyidx 7 not found in parent mesh 'Room'. Exiting..\n");
    const Json check = json({"check", "--json", "node.cairn"}, 1);
    EXPECT_EQ(check["files"][0]["problems"][0]["code"], "unreadable");
}

} // namespace
