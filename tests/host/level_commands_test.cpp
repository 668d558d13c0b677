#include "cairn/document/level_file.h"
#include "cairn/foundation/exception.h"
#include "cairn/imaging/image.h"
#include "tests/host/program_run.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>

using namespace cairn::test;
using Json = nlohmann::ordered_json;

namespace {

/// Measures, pictures and generated levels, through the program.
class LevelCommands : public ProgramTest {
  protected:
    Json json(const std::vector<std::string>& arguments) {
        const ProgramRun done = run(arguments);
        EXPECT_EQ(done.code, 0) << done.error;
        return Json::parse(done.output, nullptr, false);
    }
};

TEST_F(LevelCommands, MeasureTellsTheSizesOfEachMesh) {
    ShelfDocument document;
    boxRoom(document);
    rotatedRoom(document);
    unitFloor(document);
    emptyMesh(document);
    cairn::CN_LevelFile::save(document, path("a.cairn").string());
    const Json meshes = json({"measure", "--json", "a.cairn"})["meshes"];
    ASSERT_EQ(meshes.size(), 4u);
    EXPECT_EQ(meshes[0].dump(), R"({"entity":"::Box","polygons":6,"vertices":8,"closed":true,"area":208,)"
                                R"("volume":192,"min":[0,0,0],"max":[8,4,6]})");
    EXPECT_NEAR(meshes[1]["volume"].get<double>(), 192, 1e-9);
    EXPECT_NEAR(meshes[1]["area"].get<double>(), 208, 1e-9);
    EXPECT_EQ(meshes[2]["closed"], false);
    EXPECT_TRUE(meshes[2]["volume"].is_null());
    EXPECT_EQ(meshes[2]["area"], 1);
    EXPECT_TRUE(meshes[3]["min"].is_null());
    EXPECT_EQ(json({"measure", "--json", "a.cairn", "::rotated"})["meshes"].size(), 1u);
}

TEST_F(LevelCommands, GeneratedRoomsAreClosedSoundAndTheSameEachTime) {
    for (const char* name : {"a.cairn", "b.cairn"})
        ASSERT_EQ(run({"generate", "--rooms", "60", "--seed", "7", "-o", name}).code, 0);
    EXPECT_EQ(read("a.cairn"), read("b.cairn"));
    ASSERT_EQ(run({"generate", "--rooms", "60", "--seed", "8", "-o", "b.cairn"}).code, 0);
    EXPECT_NE(read("a.cairn"), read("b.cairn"));
    const ProgramRun check = run({"check", "--strict", "a.cairn"});
    EXPECT_EQ(check.code, 0) << check.output;
    const Json info = json({"info", "--json", "a.cairn"});
    EXPECT_EQ(info["meshes"], 60);
    EXPECT_EQ(info["kinds"]["Dynamic_Pointlight"], 60);
    EXPECT_GT(info["triangles"].get<int>(), 60 * 6);
    std::size_t pillars = 0;
    const Json measured = json({"measure", "--json", "a.cairn"}), other = json({"measure", "--json", "b.cairn"});
    std::size_t shared = 0;
    for (std::size_t i = 0; i + 1 < 60; ++i)
        shared += measured["meshes"][i + 1]["volume"] == other["meshes"][i]["volume"];
    EXPECT_LT(shared, 3u) << "a seed is no more than the rooms of its neighbour, moved";
    for (const Json& mesh : measured["meshes"]) {
        EXPECT_EQ(mesh["closed"], true) << mesh;
        EXPECT_GT(mesh["volume"].get<double>(), 100) << mesh;
        pillars += mesh["polygons"].get<int>() > 8;
    }
    EXPECT_GT(pillars, 20u);
}

TEST_F(LevelCommands, RenderDrawsPicturesOfTheSizeAskedFor) {
    ASSERT_EQ(run({"generate", "--rooms", "4", "--seed", "1", "-o", "a.cairn"}).code, 0);
    const auto sizeOf = [](const std::string& png) {
        cairn::I_Image image;
        image.construct(cairn::I_Image::PNG, png.data(), static_cast<int>(png.size()));
        return std::pair(image.getWidth(), image.getHeight());
    };
    ASSERT_EQ(run({"render", "a.cairn", "-o", "a.png", "--size", "80", "60", "--from", "-1", "9", "-1", "--to", "8",
                   "1", "8"})
                  .code,
              0);
    EXPECT_EQ(sizeOf(read("a.png")), std::pair(80, 60));
    const ProgramRun plan = run({"render", "a.cairn", "-o", "-", "--format", "png", "--top"});
    EXPECT_EQ(sizeOf(plan.output), std::pair(1024, 768));
    ASSERT_EQ(run({"render", "a.cairn", "-o", "a.svg", "--wire"}).code, 0);
    EXPECT_EQ(read("a.svg").rfind("<?xml", 0), 0u);
}

} // namespace
