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
};

TEST_F(Program, MakesAndDescribesAFreshLevel) {
    ASSERT_EQ(run({"new", "a.cairn", "--build", "b\xFF\"7"}).code, 0);
    const Json info = json({"info", "--json", "a.cairn"});
    EXPECT_EQ(info["bytes"], std::filesystem::file_size(path("a.cairn")));
    EXPECT_EQ(info["sealed"], true);
    EXPECT_EQ(info["build"], "b\xEF\xBF\xBD\"7");
    EXPECT_EQ(info["kinds"], (Json{{"CN_CairnLevel", 1}, {"CN_LevelEntityPlayer", 1}}));
    EXPECT_EQ(info["depth"], 1);
    EXPECT_NE(run({"info", "a.cairn"}).output.find("b\\xFF\"7"), std::string::npos);
    const Json tree = json({"tree", "--json", "a.cairn"});
    EXPECT_EQ(tree["qualified"], "::");
    EXPECT_EQ(tree["children"][0].dump(),
              R"({"number":1,"name":"player","kind":"CN_LevelEntityPlayer","id":116,"qualified":"::player",)"
              R"("visible":true,"excluded":false,"position":[0,0,0],"flags":[],"children":[]})");
    EXPECT_NE(run({"tree", "a.cairn"}).output.find("\n  player (CN_LevelEntityPlayer)"), std::string::npos);
}

TEST_F(Program, AnswersInJsonWithOneDocumentOnOneLine) {
    ASSERT_EQ(run({"demo", "--out", "."}).code, 0);
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const struct {
        int code;
        std::string words, keys; ///< keys of the document, not all of long ones
    } cases[] = {
        {0, "info demo.cairn",
         "file bytes sealed format_version build entities kinds depth meshes triangle_meshes rooms "},
        {0, "tree demo.cairn", "number name kind id qualified visible excluded position flags children "},
        {0, "check demo.cairn", "ok files "},
        {0, "measure demo.cairn", "meshes "},
        {1, "measure demo.cairn ::Nobody", "error "},
        {0, "rooms demo.cairn", "rooms exits "},
        {0, "where demo.cairn 1 1 1", "room reach "},
        {1, "where demo.cairn 99 1 1", "room reach "},
        {0, "fsm demo.cairn", "machines "},
        {1, "fsm demo.cairn ::Nobody", "error "},
        {0, "refs demo.cairn ::Room2::Gate", "refs "},
        {1, "refs demo.cairn ::Nobody", "error "},
        {0, "explain demo.cairn ::Room1", "name ok findings "},
        {1, "explain demo.cairn ::Nobody", "error "},
        {1, "diff a.cairn demo.cairn", "equal changes "},
        {0, "textures demo.cairn", "textures "},
        {0, "content list content.db",
         "camera-path story-page level message-batch music particle projectile weapon skin "},
        {0, "recover demo.cairn -o b.cairn", "kept lost "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.words);
        const ProgramRun done = runInShell(c.words + " --json", "</dev/null");
        EXPECT_EQ(done.code, c.code) << done.error;
        EXPECT_EQ(done.output.find('\n'), done.output.size() - 1);
        std::string keys;
        const Json document = Json::parse(done.output, nullptr, false);
        for (const auto& [key, value] : document.items())
            keys += key + ' ';
        EXPECT_EQ(keys.substr(0, c.keys.size()), c.keys);
    }
}

TEST_F(Program, StreamsThroughStandardInputAndOutput) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const ProgramRun fresh = run({"new", "-"});
    EXPECT_EQ(fresh.output, read("a.cairn"));
    EXPECT_EQ(run({"save", "-", "-o", "-"}, fresh.output).output, fresh.output);
    EXPECT_EQ(run({"check", "-"}, fresh.output).output, "-: ok\n");
    EXPECT_EQ(run({"import", "-", "-o", "b.cairn", "--format", "map"}, "{}").code, 0);
    EXPECT_EQ(runInShell("check a.cairn --catalogue /dev/stdin", "", "echo '# none' | ").error, "");
}

TEST_F(Program, ACommandThatFailsSaysOneLineAndNothingElse) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    ASSERT_EQ(run({"thumbs", "a.cairn", "-o", "a.png"}).code, 0);
    write("not.cairn", "this is no level");
    write("cut.cairn", read("a.cairn").substr(0, 300));
    write("bad.map", "{\n\"classname\" \"worldspawn\"\n{\n( 0 0 0 ) oops\n");
    write("far.map", "{\n\"classname\" \"light\"\n\"origin\" \"1 2\"\n}\n");
    write("not.db", "this is no database");
    write("old", "old");
    const struct {
        int code;
        std::string words, error; ///< that standard error begins with
    } cases[] = {
        {1, "export a.cairn -o old --format glb --select ::Third", "a.cairn: no entity is named \"::Third\"\n"},
        {1, "export a.cairn -o old --format glb --select @99", "a.cairn: no entity is named \"@99\"\n"},
        {1, "export a.cairn -o old --format glb --filter xyz", "a.cairn: nothing of it is chosen for the export\n"},
        {1, "export a.cairn -o old --format xml --filter xyz", "a.cairn: nothing of it is chosen for the export\n"},
        {1, "export a.cairn -o old --format script --select ::player", "a.cairn: nothing of it is chosen for the "},
        {1, "explain a.cairn ::player", "a.cairn: \"::player\" is neither an exit nor a mesh\n"},
        {1, "explain a.cairn '::player#0'", "a.cairn: no entity is named \"::player#0\"\n"},
        {1, "refs a.cairn @99", "a.cairn: no entity is named \"@99\"\n"},
        {1, "measure a.cairn ::Nobody", "a.cairn: no entity is named \"::Nobody\"\n"},
        {1, "edit a.cairn -o old -c 'rename ::player x'", "a.cairn: line 1: rename: the player stays "},
        {2, "", "command line: "},
        {2, "inf a.cairn", "command line: \"inf\" is no command\n"},
        {2, "content bogus", "content: \"bogus\" is no command\n"},
        {2, "info a.cairn '[q]'", "info: \"[q]\" was not expected\n"},
        {2, "info", "info: "},
        {2, "info a.cairn --frob", "info: "},
        {2, "info a.cairn --content -", "info: --content: "},
        {2, "new b.cairn --json", "new: "},
        {2, "save a.cairn", "save: "},
        {2, "check a.cairn --ignore nonsense", "check: "},
        {2, "check a.cairn -", "check: "},
        {2, "import a.obx -o b.cairn", "a.obx: "},
        {2, "import - -o b.cairn", "import: "},
        {2, "import bad.map -o b.cairn --scale 0", "import: "},
        {2, "content add c.db dragon x", "content add: "},
        {2, "content add c.db skin x --draw no", "content add: --draw is for the kind "},
        {2, "content add c.db flare x --skin a", "content add: --skin is for the kind "},
        {2, "content list -", "content list: "},
        {2, "demo --out -", "demo: --out: "},
        {2, "diff - -", "diff: only one of both can be standard input\n"},
        {2, "edit a.cairn -o old", "edit: either -c or --script gives the commands\n"},
        {2, "edit a.cairn -o old -c 'add fsm :: A' --script a.edit", "edit: either -c or --script gives the "},
        {2, "export a.cairn -o old", "old: the ending is not that of a format to export (.obj, .gltf, .glb, .xml, "},
        {2, "export a.cairn -o -", "export: --format is required with standard output\n"},
        {2, "export a.cairn -o - --format obj", "export: an .obj is several files and cannot be standard output\n"},
        {2, "export a.cairn -o old --format script --filter x", "export: --filter does not go with a script\n"},
        {2, "fsm a.cairn --dot --json", "fsm: --dot excludes --json\n"},
        {2, "generate --rooms 0 --seed 8 -o old", "generate: --rooms: "},
        {2, "image - -o old", "image: --format is required with standard input\n"},
        {2, "image a.gif -o old", "a.gif: "},
        {2, "render a.cairn -o a.jpg", "a.jpg: the ending is not that of a picture (.png, .svg)\n"},
        {2, "render a.cairn -o -", "render: --format is required with standard output\n"},
        {2, "render a.cairn -o b.png --from 1 2 3", "render: --from requires --to\n"},
        {2, "render a.cairn -o b.png --from 1 2 3 --to 1 2 3", "render: there is no direction from one place to "},
        {2, "render a.cairn -o b.png --from 1 2 nan --to 1 2 3", "render: a place must be three finite numbers\n"},
        {2, "render a.cairn -o b.png --top --from 1 2 3 --to 4 5 6", "render: --from excludes --top\n"},
        {2, "render a.cairn -o b.png --size 0 10", "render: a side must be from 1 to 16384 pixels\n"},
        {2, "render a.cairn -o b.png --size 16384 16384", "render: a picture must have no more than 67108864 pixels\n"},
        {2, "where a.cairn 1 -inf 1e999", "where: a position must be three finite numbers\n"},
        {2, "where a.cairn 1 1 1m", "where: "},
        {2, "where a.cairn 1 1", "where: "},
        {3, "info $'missing\\n.cairn'", "missing\\x0A.cairn: Cannot read: "},
        {3, "info .", ".: "},
        {3, "info '[a.cairn]'", "[a.cairn]: "},
        {3, "info -", "-: "},
        {3, "info cut.cairn", "cut.cairn: "},
        {3, "tree not.cairn", "not.cairn: "},
        {3, "info --force not.cairn", "not.cairn: "},
        {3, "info a.cairn --content not.db", "not.db: Content database: "},
        {3, "import missing.map -o b.cairn", "missing.map: Cannot read: "},
        {3, "edit a.cairn -o b.cairn --script /dev/zero", "/dev/zero: Cannot read: File too large\n"},
        {3, "import --format map /dev/zero -o b.cairn", "/dev/zero: Cannot read: "},
        {3, "import bad.map -o a.cairn", "bad.map: line 4: a face's point expected, found"},
        {3, "import far.map -o a.cairn", "far.map: line 3: an origin must be three numbers"},
        {3, "content add missing.db skin x", "missing.db: Content database: "},
        {3, "content list not.db", "not.db: "},
        {3, "diff a.cairn cut.cairn", "cut.cairn: "},
        {3, "diff missing.cairn a.cairn --json", "missing.cairn: "},
        {3, "edit a.cairn -o old --script missing", "missing: Cannot read: "},
        {3, "edit missing.cairn -o old -c 'add fsm :: A'", "missing.cairn: Cannot read: "},
        {3, "export missing.cairn -o old --format glb", "missing.cairn: Cannot read: "},
        {3, "image missing.tga -o old", "missing.tga: "},
        {3, "image --format tga a.png -o old", "a.png: TGA image: "},
        {4, "save a.cairn -o no/folder.cairn", "no/folder.cairn: Cannot write: "},
        {4, "save a.cairn -o /dev/full", "/dev/full: "},
        {4, "new .", ".: "},
        {4, "demo --out a.cairn", "a.cairn: "},
        {4, "content create not.db", "not.db: "},
        {4, "edit a.cairn -o no/b.cairn -c 'add fsm :: A'", "no/b.cairn: "},
        {4, "export a.cairn -o no/old.glb", "no/old.glb: "},
        {4, "export a.cairn -o no/old.xml", "no/old.xml: "},
        {4, "image a.png -o no/b.png", "no/b.png: "},
        {4, "thumbs a.cairn -o no/b.png", "no/b.png: "},
    };
    const std::string before = read("a.cairn");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.words);
        const ProgramRun done = runInShell(c.words, "</dev/null");
        EXPECT_EQ(done.code, c.code);
        EXPECT_EQ(done.output, "");
        EXPECT_EQ(done.error.substr(0, 7 + c.error.size()), "cairn: " + c.error);
        EXPECT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1) << done.error;
    }
    EXPECT_EQ(read("a.cairn"), before);
    EXPECT_EQ(read("not.db"), "this is no database");
    EXPECT_EQ(read("old"), "old");
    for (const char* name : {"b.cairn", "b.png", "-"})
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
    EXPECT_EQ(runInShell("new b.cairn --build " + std::string(4096, 'x'), "", "ulimit -f 1; ").code, 4)
        << "the signal of a file over the size limit";
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

TEST_F(Program, ChecksManyFilesInOneDocument) {
    ASSERT_EQ(run({"new", "good.cairn"}).code, 0);
    const std::string good = read("good.cairn");
    write("broken.cairn", good.substr(0, good.size() / 2));
    write("seal.cairn", good + "x");
    write("names.map", "{\"classname\" \"item_bomb\"}");
    ASSERT_EQ(run({"import", "names.map", "-o", "names.cairn"}).code, 0);
    ASSERT_EQ(run({"content", "create", "c.db"}).code, 0);

    const Json all = json({"check", "--json", "good.cairn", "broken.cairn", "seal.cairn", "missing.cairn"}, 1);
    EXPECT_EQ(all["ok"], false);
    ASSERT_EQ(all["files"].size(), 4u);
    EXPECT_EQ(all["files"][0], (Json{{"file", "good.cairn"}, {"ok", true}, {"problems", Json::array()}}));
    const Json& problem = all["files"][1]["problems"][0];
    EXPECT_EQ(
        problem.dump().rfind(R"({"severity":"error","code":"unreadable","entity":null,"polygon":null,"message":)", 0),
        0u);
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

TEST_F(Program, ForceKeepsTopLevelEntitiesWholeOrNotAtAll) {
    ASSERT_EQ(run({"demo", "--out", "."}).code, 0);
    const std::string whole = read("demo.cairn");
    write("seal.cairn", whole.substr(0, whole.size() - 1));
    EXPECT_EQ(json({"info", "--force", "--json", "seal.cairn"}, 1)["entities"], 8);
    write("cut.cairn", whole.substr(0, whole.rfind("Gate")));
    const Json problems = json({"check", "--force", "--json", "cut.cairn"}, 1)["files"][0]["problems"];
    ASSERT_EQ(problems.size(), 2u) << problems;
    EXPECT_EQ(problems[0]["code"], "unreadable");
    EXPECT_EQ(problems[1]["code"], "repaired") << "the exit into the room that is lost is a wall";
    const Json children = json({"tree", "--force", "--json", "cut.cairn"}, 1)["children"];
    ASSERT_EQ(children.size(), 2u) << "Room2 is dropped with its child";
    EXPECT_EQ(children[1]["children"][1]["qualified"], "::Room1::Guard");

    // What is saved loads without repair.
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

    // Messages keep their targets.
    ASSERT_EQ(run({"generate", "--rooms", "6", "--seed", "1", "-o", "rooms.cairn"}).code, 0);
    write("cut.cairn", read("rooms.cairn").substr(0, 70000));
    EXPECT_EQ(run({"save", "--force", "cut.cairn", "-o", "rest.cairn"}).code, 1);
    EXPECT_EQ(run({"save", "rest.cairn", "-o", "again.cairn"}).code, 0);
    EXPECT_EQ(read("again.cairn"), read("rest.cairn"));
    EXPECT_NE(run({"refs", "rest.cairn", "::Room1::Light"}).output, "");
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
    EXPECT_EQ(run({"image", "-", "--format", "png", "-o", "-"}, read("a.png")).output, read("a.png"));
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
    EXPECT_EQ(run({"content", "add", "c.db", "skin", "new", "RAT"}).code, 1);
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
