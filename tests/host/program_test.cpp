#include "cairn/content/shared_db_writer.h"
#include "cairn/foundation/file.h"
#include "cairn/imaging/image.h"
#include "tests/host/program_run.h"
#include "tests/support/test_data.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>

#include <algorithm>
#include <filesystem>
#include <functional>

using namespace cairn::test;
using Json = nlohmann::ordered_json;

namespace {

/// Each test runs the program in a folder of its own.
class Program : public ProgramTest {
  protected:
    Json json(const std::vector<std::string>& arguments, int code = 0) {
        const ProgramRun done = run(arguments);
        EXPECT_EQ(done.code, code) << done.error;
        return Json::parse(done.output, nullptr, false);
    }
    static std::vector<std::string> keysOf(const Json& object) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : object.items())
            keys.push_back(key);
        return keys;
    }
};

TEST_F(Program, MakesAndDescribesAFreshLevel) {
    ASSERT_EQ(run({"new", "a.cairn", "--build", "b\xFF\"7"}).code, 0);
    const ProgramRun info = run({"info", "--json", "a.cairn"});
    EXPECT_EQ(info.error, "");
    EXPECT_EQ(std::count(info.output.begin(), info.output.end(), '\n'), 1);
    const Json json = Json::parse(info.output);
    EXPECT_EQ(keysOf(json),
              (std::vector<std::string>{"file",      "bytes",          "sealed",    "format_version", "build",
                                        "entities",  "kinds",          "depth",     "meshes",         "triangle_meshes",
                                        "rooms",     "vertices",       "polygons",  "triangles",      "exits",
                                        "portals",   "polygon_groups", "materials", "categories",     "textures",
                                        "texels",    "lightmaps",      "fsms",      "handlers",       "messages",
                                        "keyframes", "animations",     "selected",  "groups",         "camera"}));
    EXPECT_EQ(json["bytes"], std::filesystem::file_size(path("a.cairn")));
    EXPECT_EQ(json["sealed"], true);
    EXPECT_EQ(json["build"], "b\xEF\xBF\xBD\"7");
    EXPECT_EQ(json["entities"], 2);
    EXPECT_EQ(json["kinds"], (Json{{"CN_CairnLevel", 1}, {"CN_LevelEntityPlayer", 1}}));
    EXPECT_EQ(json["depth"], 1);
    EXPECT_EQ(json["camera"]["position"].size(), 3u);
    EXPECT_NE(run({"info", "a.cairn"}).output.find("b\\xFF\"7"), std::string::npos);

    const Json tree = this->json({"tree", "--json", "a.cairn"});
    EXPECT_EQ(keysOf(tree), (std::vector<std::string>{"number", "name", "kind", "id", "qualified", "visible",
                                                      "excluded", "position", "flags", "children"}));
    EXPECT_EQ(tree["name"], "World_Group");
    EXPECT_EQ(tree["qualified"], "::");
    EXPECT_EQ(tree["children"][0]["name"], "player");
    EXPECT_EQ(tree["children"][0]["qualified"], "::player");
    EXPECT_EQ(tree["children"][0]["number"], 1);
    EXPECT_EQ(tree["children"][0]["position"], Json({0, 0, 0}));
    EXPECT_NE(run({"tree", "a.cairn"}).output.find("\n  player (CN_LevelEntityPlayer)"), std::string::npos);
}

TEST_F(Program, StreamsThroughStandardInputAndOutput) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const ProgramRun fresh = run({"new", "-"});
    EXPECT_EQ(fresh.output, read("a.cairn"));
    EXPECT_EQ(run({"save", "-", "-o", "-"}, fresh.output).output, fresh.output);
    EXPECT_EQ(run({"check", "-"}, fresh.output).output, "-: ok\n");
    EXPECT_EQ(run({"import", "-", "-o", "b.cairn"}, "{}").code, 2);
    EXPECT_EQ(run({"import", "-", "-o", "b.cairn", "--format", "map"}, "{}").code, 0);
}

TEST_F(Program, ACommandThatFailsSaysOneLineAndNothingElse) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    write("not.cairn", "this is no level");
    write("bad.map", "{\n\"classname\" \"worldspawn\"\n{\n( 0 0 0 ) oops\n");
    write("far.map", "{\n\"classname\" \"light\"\n\"origin\" \"1 2\"\n}\n");
    write("not.db", "this is no database");
    const struct {
        std::vector<std::string> arguments;
        int code;
        std::string error; ///< that standard error begins with
    } cases[] = {
        {{}, 2, "cairn: command line: "},
        {{"frobnicate"}, 2, "cairn: command line: \"frobnicate\" is no command\n"},
        {{"inf", "a.cairn"}, 2, "cairn: command line: \"inf\" is no command\n"},
        {{"content", "bogus"}, 2, "cairn: content: \"bogus\" is no command\n"},
        {{"info", "a.cairn", "[q]"}, 2, "cairn: info: \"[q]\" was not expected\n"},
        {{"info"}, 2, "cairn: info: "},
        {{"info", "a.cairn", "--frob"}, 2, "cairn: info: "},
        {{"new", "b.cairn", "--json"}, 2, "cairn: new: "},
        {{"save", "a.cairn"}, 2, "cairn: save: "},
        {{"check", "a.cairn", "--ignore", "nonsense"}, 2, "cairn: check: "},
        {{"check", "a.cairn", "-"}, 2, "cairn: check: "},
        {{"import", "a.obx", "-o", "b.cairn"}, 2, "cairn: a.obx: "},
        {{"import", "bad.map", "-o", "b.cairn", "--scale", "0"}, 2, "cairn: import: "},
        {{"content", "add", "c.db", "dragon", "x"}, 2, "cairn: content add: "},
        {{"content", "add", "c.db", "skin", "x", "--draw", "no"}, 2, "cairn: content add: --draw is for the kind "},
        {{"content", "add", "c.db", "flare", "x", "--skin", "a"}, 2, "cairn: content add: --skin is for the kind "},
        {{"content", "list", "-"}, 2, "cairn: content list: "},
        {{"info", "a.cairn", "--content", "-"}, 2, "cairn: info: --content: "},
        {{"demo", "--out", "-"}, 2, "cairn: demo: --out: "},
        {{"info", "missing\n.cairn"}, 3, "cairn: missing\\x0A.cairn: Cannot read: "},
        {{"import", "missing.map", "-o", "b.cairn"}, 3, "cairn: missing.map: Cannot read: "},
        {{"info", "."}, 3, "cairn: .: "},
        {{"info", "[a.cairn]"}, 3, "cairn: [a.cairn]: "},
        {{"import", "--format", "map", "/dev/zero", "-o", "b.cairn"}, 3, "cairn: /dev/zero: Cannot read: "},
        {{"tree", "not.cairn"}, 3, "cairn: not.cairn: "},
        {{"info", "--force", "not.cairn"}, 3, "cairn: not.cairn: "},
        {{"import", "bad.map", "-o", "a.cairn"}, 3, "cairn: bad.map: line 4: a face's point expected, found"},
        {{"import", "far.map", "-o", "a.cairn"}, 3, "cairn: far.map: line 3: an origin must be three numbers"},
        {{"info", "a.cairn", "--content", "not.db"}, 3, "cairn: not.db: Content database: "},
        {{"content", "add", "missing.db", "skin", "x"}, 3, "cairn: missing.db: Content database: "},
        {{"content", "list", "not.db"}, 3, "cairn: not.db: "},
        {{"save", "a.cairn", "-o", "no/folder.cairn"}, 4, "cairn: no/folder.cairn: Cannot write: "},
        {{"save", "a.cairn", "-o", "/dev/full"}, 4, "cairn: /dev/full: "},
        {{"new", "."}, 4, "cairn: .: "},
        {{"demo", "--out", "a.cairn"}, 4, "cairn: a.cairn: "},
        {{"content", "create", "not.db"}, 4, "cairn: not.db: "},
    };
    const std::string before = read("a.cairn");
    for (const auto& c : cases) {
        const ProgramRun done = run(c.arguments);
        EXPECT_EQ(done.code, c.code) << c.error << done.error;
        EXPECT_EQ(done.output, "");
        EXPECT_EQ(done.error.substr(0, c.error.size()), c.error);
        EXPECT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1) << done.error;
    }
    EXPECT_EQ(read("a.cairn"), before);
    EXPECT_EQ(read("not.db"), "this is no database");
    for (const char* name : {"b.cairn", "-"})
        EXPECT_FALSE(std::filesystem::exists(path(name)));
}

TEST_F(Program, SurvivesStandardStreamsThatTakeNothing) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    for (const char* redirection : {">/dev/full", ">&-", "| true; exit ${PIPESTATUS[0]}"}) {
        const ProgramRun done = runInShell("info a.cairn", redirection);
        // A reader that goes away may still have been there when a short result was written.
        if (redirection[0] == '>')
            EXPECT_EQ(done.code, 4) << redirection << done.error;
        else
            EXPECT_TRUE(done.code == 4 || done.code == 0) << done.code;
    }
    EXPECT_EQ(runInShell("info nothing.cairn", "2>/dev/full").code, 3);
    EXPECT_EQ(runInShell("info -", "<&-").code, 3);
}

TEST_F(Program, ShowsProgressOnATerminalAfterHalfASecond) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const std::string name = ::ptsname(terminal);
    const int held = ::open(name.c_str(), O_RDWR | O_NOCTTY); // what is written outlives the program
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    const auto shownBy = [&](const std::string& words) {
        const ProgramRun done = runInShell(words, "2>" + name, "(sleep 1.5; cat a.obj) | ");
        EXPECT_EQ(done.code, 0) << words;
        std::string shown;
        char bytes[4096];
        // The terminal gives what was written piece by piece.
        for (pollfd wait{terminal, POLLIN, 0}; ::poll(&wait, 1, 200) > 0;) {
            const ssize_t count = ::read(terminal, bytes, sizeof bytes);
            if (count <= 0)
                break;
            shown.append(bytes, static_cast<std::size_t>(count));
        }
        return shown;
    };
    write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const std::string shown = shownBy("import - --format obj -o a.cairn");
    EXPECT_EQ(shown.substr(0, 17), "\rcairn: -: 1 line") << shown;
    EXPECT_NE(shown.find("\rcairn: -: 1 polygons\r"), std::string::npos) << shown;
    EXPECT_NE(shown.find("\rcairn: -: imported"), std::string::npos) << shown;
    EXPECT_EQ(shownBy("import --quiet - --format obj -o a.cairn"), "");
    ::close(held);
    ::close(terminal);
}

TEST_F(Program, AFileOverTheSizeLimitIsAFailedWrite) {
    const ProgramRun done = runInShell("new b.cairn --build " + std::string(4096, 'x'), "", "ulimit -f 1; ");
    EXPECT_EQ(done.code, 4);
    EXPECT_EQ(done.error.substr(0, 30), "cairn: b.cairn: Cannot write: ");
    EXPECT_EQ(sizeBeside(), -1) << "nothing is left";
}

TEST_F(Program, RefusesACutLevelWhereverItIsCut) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const std::string whole = read("a.cairn");
    std::vector<std::size_t> legal;
    for (std::size_t length = 0; length < whole.size(); length += length + 160 < whole.size() ? 41u : 1u) {
        write("cut.cairn", whole.substr(0, length));
        const ProgramRun done = run({"info", "--json", "cut.cairn"});
        if (done.code == 0) {
            EXPECT_EQ(Json::parse(done.output)["sealed"], false);
            legal.push_back(length);
            continue;
        }
        EXPECT_EQ(done.code, 3) << length;
        EXPECT_EQ(done.output, "");
        EXPECT_NE(done.error.find("offset"), std::string::npos) << done.error;
        EXPECT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1);
    }
    ASSERT_EQ(legal.size(), 2u) << "before the group names and before the seal";
    EXPECT_EQ(legal[1], whole.size() - 24);
}

TEST_F(Program, ChecksManyFilesInOneDocument) {
    ASSERT_EQ(run({"new", "good.cairn"}).code, 0);
    const std::string good = read("good.cairn");
    write("broken.cairn", good.substr(0, good.size() / 2));
    write("seal.cairn", good + "x");
    write("names.map", "{\"classname\" \"item_bomb\"}");
    ASSERT_EQ(run({"import", "names.map", "-o", "names.cairn"}).code, 0);
    ASSERT_EQ(run({"content", "create", "c.db"}).code, 0);

    const Json all = json({"check", "--json", "good.cairn", "broken.cairn", "seal.cairn", "missing.cairn"}, 1);
    EXPECT_EQ(keysOf(all), (std::vector<std::string>{"ok", "files"}));
    EXPECT_EQ(all["ok"], false);
    ASSERT_EQ(all["files"].size(), 4u);
    EXPECT_EQ(all["files"][0], (Json{{"file", "good.cairn"}, {"ok", true}, {"problems", Json::array()}}));
    const Json& problem = all["files"][1]["problems"][0];
    EXPECT_EQ(keysOf(problem), (std::vector<std::string>{"severity", "code", "entity", "polygon", "message"}));
    EXPECT_EQ(problem["code"], "unreadable");
    EXPECT_EQ(problem["severity"], "error");
    EXPECT_TRUE(problem["entity"].is_null());
    EXPECT_EQ(all["files"][2]["problems"][0]["code"], "seal");
    EXPECT_EQ(all["files"][3]["problems"][0]["code"], "unreadable");
    EXPECT_EQ(run({"check", "seal.cairn", "--ignore", "seal", "good.cairn"}).code, 0);
    write("[a,b]", good);
    EXPECT_EQ(run({"check", "[a,b]", "[q]", "--ignore", "unreadable"}).output, "[a,b]: ok\n[q]: ok\n");

    const Json content = json({"check", "--json", "--content", "c.db", "names.cairn"});
    EXPECT_EQ(content["files"][0]["problems"][0]["code"], "content-unknown");
    EXPECT_EQ(content["files"][0]["problems"][0]["entity"], "::item_bomb");
    EXPECT_EQ(run({"check", "--strict", "--content", "c.db", "names.cairn"}).code, 1);
    EXPECT_EQ(run({"check", "--strict", "--content", "c.db", "--ignore", "content-unknown", "names.cairn"}).code, 0);
    EXPECT_EQ(run({"check", "--strict", "names.cairn"}).code, 0) << "nobody named a database";
    ASSERT_EQ(run({"content", "add", "c.db", "level-item", "ITEM_bomb"}).code, 0);
    EXPECT_EQ(run({"check", "--strict", "--content", "c.db", "names.cairn"}).output, "names.cairn: ok\n");
}

TEST_F(Program, ForceGoesOnWithWhatWasRead) {
    std::string map;
    for (int i = 0; i < 20; ++i)
        map += "{\"classname\" \"path_corner\" \"origin\" \"32 0 0\"}";
    ASSERT_EQ(run({"import", "-", "--format", "map", "-o", "a.cairn"}, map).code, 0);
    const std::string whole = read("a.cairn");
    write("seal.cairn", whole.substr(0, whole.size() - 1));
    write("cut.cairn", whole.substr(0, whole.size() * 2 / 3));

    const Json all = json({"info", "--force", "--json", "seal.cairn"}, 1);
    EXPECT_EQ(all["entities"], 22);
    const Json part = json({"info", "--force", "--json", "cut.cairn"}, 1);
    EXPECT_GT(part["entities"], 2);
    EXPECT_LT(part["entities"], 22);
    const Json tree = json({"tree", "--force", "--json", "cut.cairn"}, 1);
    EXPECT_EQ(tree["children"][1]["position"], Json({0, 0, 1}));
    ASSERT_EQ(run({"save", "--force", "cut.cairn", "-o", "rest.cairn"}).code, 1);
    EXPECT_EQ(json({"info", "--json", "rest.cairn"})["entities"], part["entities"]);
}

TEST_F(Program, ForceKeepsATopLevelEntityWholeOrNotAtAll) {
    ASSERT_EQ(run({"demo", "--out", "."}).code, 0);
    const std::string whole = read("demo.cairn");
    write("cut.cairn", whole.substr(0, whole.rfind("Gate")));
    const Json problems = json({"check", "--force", "--json", "cut.cairn"}, 1)["files"][0]["problems"];
    ASSERT_EQ(problems.size(), 2u) << problems;
    EXPECT_EQ(problems[0]["code"], "unreadable");
    EXPECT_EQ(problems[1]["code"], "repaired") << "the exit into the room that is lost is a wall";
    const Json children = json({"tree", "--force", "--json", "cut.cairn"}, 1)["children"];
    ASSERT_EQ(children.size(), 2u) << "Room2 is dropped with its child";
    EXPECT_EQ(children[1]["children"][1]["qualified"], "::Room1::Guard");
}

TEST_F(Program, WhatForceSavesLoadsWithoutRepair) {
    ASSERT_EQ(run({"demo", "--out", "."}).code, 0);
    const std::string whole = read("demo.cairn");
    const std::size_t root = whole.find("World_Group"), player = whole.find("player");
    for (const std::size_t length : {root + 4, player - 4, player + 6, whole.find("Gate"), whole.size() - 30}) {
        write("cut.cairn", whole.substr(0, length));
        const ProgramRun saved = run({"save", "--force", "cut.cairn", "-o", "rest.cairn"});
        EXPECT_EQ(std::count(saved.error.begin(), saved.error.end(), '\n'), 1) << saved.error;
        EXPECT_EQ(run({"save", "--force", "cut.cairn", "-o", "no/rest.cairn"}).error.find("warning"),
                  std::string::npos);
        EXPECT_EQ(saved.code, length < player - 4 ? 3 : 1) << "a root whose own record is cut is none";
        if (saved.code == 3)
            continue;
        EXPECT_EQ(run({"check", "--strict", "rest.cairn"}).output, "rest.cairn: ok\n") << length;
        ASSERT_EQ(run({"save", "rest.cairn", "-o", "again.cairn"}).code, 0);
        EXPECT_EQ(read("again.cairn"), read("rest.cairn")) << length;
    }
}

TEST_F(Program, TurnsImagesIntoPng) {
    const std::string seeds = cairn::test::projectFile("fuzz/seeds/image_decode/").string();
    for (const char* name : {"runs.tga", "grid.jpg", "map.pcx", "cube.scx", "grid.png", "map.bmp"}) {
        const ProgramRun done = run({"image", seeds + name, "-o", "a.png"});
        ASSERT_EQ(done.code, 0) << done.error;
        EXPECT_EQ(done.output, "");
        EXPECT_EQ(done.error.find("the first of its 6 faces") != std::string::npos, std::string(name) == "cube.scx");
        cairn::I_Image source, written;
        for (auto& [image, file] : {std::pair(&source, seeds + name), std::pair(&written, path("a.png").string())}) {
            const auto bytes = cairn::F_File::readAll(file);
            image->construct(cairn::I_Image::determineImageFormat(file.c_str()),
                             reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
        }
        ASSERT_EQ(written.getWidth(), source.getWidth());
        ASSERT_EQ(written.getHeight(), source.getHeight());
        EXPECT_TRUE(std::equal(written.getPixels(), written.getPixels() + written.getWidth() * written.getHeight(),
                               source.getPixels()))
            << name;
    }
    write("b.png", "before");
    const ProgramRun streamed = run({"image", "-", "--format", "png", "-o", "-"}, read("a.png"));
    EXPECT_EQ(streamed.output, read("a.png"));
    const struct {
        std::vector<std::string> arguments;
        int code;
        std::string error; ///< that standard error begins with
    } cases[] = {
        {{"image", "-", "-o", "b.png"}, 2, "cairn: image: --format is required"},
        {{"image", "a.gif", "-o", "b.png"}, 2, "cairn: a.gif: "},
        {{"image", "none.tga", "-o", "b.png"}, 3, "cairn: none.tga: "},
        {{"image", "--format", "tga", "a.png", "-o", "b.png"}, 3, "cairn: a.png: TGA image: "},
        {{"image", "a.png", "-o", "none/b.png"}, 4, "cairn: none/b.png: "},
    };
    for (const auto& wrong : cases) {
        const ProgramRun done = run(wrong.arguments, "no image");
        EXPECT_EQ(done.code, wrong.code) << wrong.error;
        EXPECT_EQ(done.output, "");
        EXPECT_EQ(done.error.substr(0, wrong.error.size()), wrong.error);
        EXPECT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1);
    }
    EXPECT_EQ(read("b.png"), "before");
}

TEST_F(Program, KeepsAContentDatabase) {
    ASSERT_EQ(run({"content", "create", "c.db"}).code, 0);
    ASSERT_EQ(run({"content", "add", "c.db", "skin", "rat", "b\xFF"}).code, 0);
    ASSERT_EQ(run({"content", "add", "c.db", "flare", "[a,b]", "[q]", "\x01", "{}"}).code, 0);
    EXPECT_EQ(run({"content", "list", "c.db", "flare"}).output, "flare [a,b]\nflare [q]\nflare \\x01\nflare {}\n");
    ASSERT_EQ(run({"content", "add", "c.db", "animation", "use_lever", "--skin", "rat"}).code, 0);
    ASSERT_EQ(run({"content", "add", "c.db", "surface-material", "glass", "--draw", "no"}).code, 0);
    EXPECT_EQ(run({"content", "list", "c.db", "skin", "--json"}).output, "{\"skin\":[\"rat\",\"b\xEF\xBF\xBD\"]}\n");
    EXPECT_EQ(run({"content", "list", "c.db"}).output,
              "skin rat\nskin b\\xFF\nflare [a,b]\nflare [q]\nflare \\x01\nflare {}\nsurface-material glass\nanimation "
              "use_lever\n");
    EXPECT_GT(json({"content", "list", "c.db", "--json"}).size(), 15u);
    const ProgramRun twice = run({"content", "add", "c.db", "skin", "new", "RAT"});
    EXPECT_EQ(twice.code, 1);
    EXPECT_EQ(run({"content", "list", "c.db", "skin"}).output, "skin rat\nskin b\\xFF\n");

    cairn::Y_SharedDBWriter other(path("c.db").string());
    other.add(cairn::Y_SharedDBKind::SKIN, "wolf");
    EXPECT_EQ(run({"content", "add", "c.db", "skin", "new"}).code, 4) << "another writer holds the file";
}

TEST_F(Program, Demonstrates) {
    const ProgramRun demo = run({"demo", "--out", "d/e"});
    ASSERT_EQ(demo.code, 0) << demo.error;
    EXPECT_NE(demo.output.find("cairn tree d/e/demo.cairn"), std::string::npos);
    EXPECT_NE(demo.output.find("::Room1, ::Room1::Door, ::Room1::Guard, ::Room2, ::Room2::Door, ::Room2::Gate"),
              std::string::npos);
    const Json info = json({"info", "--json", "d/e/demo.cairn"});
    EXPECT_EQ(info["kinds"]["Enemy"], 1);
    EXPECT_EQ(info["kinds"]["Trigger"], 1);
    EXPECT_EQ(run({"check", "--strict", "--content", "d/e/content.db", "d/e/demo.cairn", "d/e/imported.cairn"}).code,
              0);
    EXPECT_EQ(run({"demo", "--out", "d/e"}).output, demo.output) << "it can be done again";
}

TEST_F(Program, ImportsARealMapAndSavesItAgainAlike) {
    CAIRN_SHARED_DATA_OR_SKIP(map, "maps/quake_e1m1.map");
    const ProgramRun done = run({"import", map.string(), "-o", "m.cairn"});
    ASSERT_EQ(done.code, 0) << done.error;
    // 369 entities: worldspawn, 57 with brushes, the player's start and what is counted here.
    EXPECT_NE(done.error.find("7523 polygons of 1257 brushes, 57 entities with brushes"), std::string::npos)
        << done.error;
    const Json kinds = json({"info", "--json", "m.cairn"})["kinds"];
    EXPECT_EQ(kinds["Dynamic_Pointlight"], 198);
    EXPECT_EQ(kinds["Enemy"], 42);
    EXPECT_EQ(kinds["Level_Item"], 37);
    EXPECT_EQ(kinds["Waypoint"], 33);
    EXPECT_EQ(run({"check", "--strict", "m.cairn"}).output, "m.cairn: ok\n");
    ASSERT_EQ(run({"save", "m.cairn", "-o", "n.cairn"}).code, 0);
    EXPECT_EQ(read("m.cairn"), read("n.cairn"));
}

} // namespace
