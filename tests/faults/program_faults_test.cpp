#include "cairn/foundation/file.h"
#include "host/commands.h"
#include "tests/faults/fault_loop.h"
#include "tests/support/redirection.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_data.h"

#include <unistd.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace cairn;
using namespace cairn::test;

namespace {

namespace fs = std::filesystem;

/// Runs commands of the program in this process, in a folder of their own.
class ProgramFaults : public testing::Test {
  protected:
    using Files = std::map<std::string, std::string>;

    ProgramFaults() : m_before(fs::current_path()) { fs::current_path(m_folder.path("")); }
    ~ProgramFaults() override { fs::current_path(m_before); }

    using Arguments = std::vector<const char*>;
    static Arguments argumentsOf(const std::vector<std::string>& words) {
        Arguments arguments{"cairn"};
        for (const std::string& word : words)
            arguments.push_back(word.c_str());
        return arguments;
    }
    static int runArguments(const Arguments& arguments) {
        return host::runProgram(static_cast<int>(arguments.size()), arguments.data());
    }
    static int run(const std::vector<std::string>& words) { return runArguments(argumentsOf(words)); }
    static void write(const std::string& name, std::string_view text) {
        F_File::replace(name, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    }
    static Files files() {
        Files all;
        for (const auto& entry : fs::directory_iterator("."))
            if (entry.is_regular_file()) {
                const auto bytes = F_File::readAll(entry.path().string());
                all[entry.path().filename().string()].assign(bytes.begin(), bytes.end());
            }
        return all;
    }
    /// Makes the files that the commands read.
    void makeInputs() {
        write("a.txt", "box :: A 0 0 0 8 4 6\nbox :: B 8 0 0 4 4 6\nexit ::A#4 ::B#2 Door\nadd Enemy ::A Guard 1 1 1\n"
                       "add Trigger ::B Gate\nfsm-state ::A::Guard Idle\nfsm-handler ::A::Guard T_Activate\n"
                       "fsm-send ::A::Guard T_Activate before \"::B::Gate->T_Activate()\"\n"
                       "box :: Lift 20 0 0 1 1 1 out\ndynamic ::Lift on\nkeyframe ::Lift up\n");
        write("a.map",
              "{\"classname\" \"worldspawn\"\n{\n( 0 0 0 ) ( 0 1 0 ) ( 0 0 1 ) wall 0 0 0 1 1\n"
              "( 64 0 0 ) ( 64 0 1 ) ( 64 1 0 ) wall 0 0 0 1 1\n( 0 0 0 ) ( 0 0 1 ) ( 1 0 0 ) wall 0 0 0 1 1\n"
              "( 0 64 0 ) ( 1 64 0 ) ( 0 64 1 ) wall 0 0 0 1 1\n( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) wall 0 0 0 1 1\n"
              "( 0 0 64 ) ( 0 1 64 ) ( 1 0 64 ) wall 0 0 0 1 1\n}\n}\n{\"classname\" \"monster_rat\" "
              "\"origin\" \"1 2 3\" \"targetname\" \"t\"}\n{\"classname\" \"trigger_relay\" \"target\" \"t\"}\n");
        write("a.obj", "mtllib a.mtl\no Box\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nvt 0 0\nvt 1 0\nvt 0 1\nusemtl m\n"
                       "f 1/1 3/3 2/2\nf 1/1 2/2 4/3\nf 1/1 4/3 3/2\nf 2/1 3/2 4/3\n");
        write("a.mtl", "newmtl m\nmap_Kd a.png\n");
        fs::copy_file(projectFile("fuzz/seeds/image_decode/grid.png"), "a.png");
        const Redirection silence(STDERR_FILENO, "/dev/null");
        ASSERT_EQ(run({"new", "new.cairn"}), 0);
        ASSERT_EQ(run({"edit", "new.cairn", "-o", "a.cairn", "--script", "a.txt"}), 0);
        ASSERT_EQ(run({"content", "create", "a.db"}), 0);
        const auto level = F_File::readAll("a.cairn");
        write("cut.cairn", {reinterpret_cast<const char*>(level.data()), level.size() * 3 / 4});
    }

    void runAll() {
        makeInputs();
        // Those without a JSON document, whose destructor may end the process: see the tests of the program itself.
        const std::vector<std::string> commands[] = {
            {"new", "out"},
            {"save", "a.cairn", "-o", "out", "--content", "a.db"},
            {"edit", "new.cairn", "-o", "out", "--script", "a.txt"},
            {"import", "a.map", "-o", "out"},
            {"import", "a.obj", "-o", "out"},
            {"export", "a.cairn", "-o", "out", "--format", "obj"},
            {"export", "a.cairn", "-o", "out", "--format", "xml"},
            {"export", "a.cairn", "-o", "out", "--format", "script"},
            {"image", "a.png", "-o", "out", "--format", "png"},
            {"render", "a.cairn", "-o", "out.svg"},
            {"render", "a.cairn", "-o", "out.png", "--size", "32", "32"},
            {"thumbs", "a.cairn", "-o", "out.png"},
            {"content", "add", "a.db", "skin", "rat"},
            {"recover", "cut.cairn", "-o", "out"},
        };
        const Files before = files();
        FaultCounts all;
        for (const auto& words : commands) {
            SCOPED_TRACE(words[0] + " " + words.back());
            const auto restore = [&] {
                for (const auto& [name, bytes] : files())
                    if (const auto old = before.find(name); old == before.end())
                        fs::remove(name);
                    else if (old->second != bytes)
                        write(name, old->second);
            };
            const Redirection silence(STDERR_FILENO, "/dev/null");
            restore();
            const Arguments arguments = argumentsOf(words);
            const int code = runArguments(arguments);
            ASSERT_EQ(code, words[0] == "recover" ? 1 : 0);
            const Files after = files();
            all += forEachFault(
                FaultChoice::SOME, // among all is one where the parser of the command line ends the process
                [&] {
                    restore();
                    return std::make_unique<int>(-1);
                },
                [&](int& done) { done = runArguments(arguments); },
                [&](int& done, bool, FaultCounts& counts) {
                    const Files now = files();
                    if (done == code) {
                        EXPECT_TRUE(now == after);
                    } else {
                        EXPECT_EQ(done, 5);
                        EXPECT_TRUE(now == before) << "outputs are as they were";
                        --counts.survived; // the exception does not leave the program
                    }
                });
            if (HasFailure())
                break;
        }
        fmt::print("{}\n", all.text());
    }

  private:
    TemporaryFolder m_folder;
    fs::path m_before;
};

TEST_F(ProgramFaults, EndWithTheirExitCode) { runAll(); }

} // namespace
