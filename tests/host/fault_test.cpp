#include "tests/host/program_run.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

using namespace cairn::test;

namespace {

namespace fs = std::filesystem;

/// What befalls a system call of the program: see fault_shim.cpp.
struct Strike {
    const char* call;
    const char* action; ///< with a "+" ahead of it that call and all later ones
};

constexpr Strike STRIKES[] = {
    {"write", "EIO"},    {"write", "+ENOSPC"}, {"write", "short"}, {"write", "kill"},   {"write", "killed"},
    {"sync", "EIO"},     {"sync", "killed"},   {"rename", "EIO"},  {"rename", "kill"},  {"rename", "killed"},
    {"close", "EDQUOT"}, {"close", "kill"},    {"open", "EROFS"},  {"open", "+ENOSPC"}, {"open", "killed"},
    {"chmod", "EROFS"},  {"chmod", "kill"},
};

/// A run of the program under a fault.
struct FaultRun : ProgramRun {
    bool hasStruck = false; ///< false where the program came to its end ahead of that call
    bool isKilled() const { return code == 128 + SIGKILL || code == 1000 + SIGKILL; }
};

/// Runs commands whose system calls fail one after the other, over outputs that were there before.
class Fault : public ProgramTest {
  protected:
    using Files = std::map<std::string, std::string>; ///< name to bytes

    void SetUp() override {
        write("edit.txt", "box :: Room 0 0 0 8 4 6\nadd Enemy ::Room Guard 1 1 1\nadd Trigger ::Room Gate\n"
                          "fsm-state ::Room::Guard Idle\nfsm-handler ::Room::Guard T_Activate\n");
        write("wall.map",
              "{\"classname\" \"worldspawn\"\n{\n( 0 0 0 ) ( 0 1 0 ) ( 0 0 1 ) wall 0 0 0 1 1\n"
              "( 64 0 0 ) ( 64 0 1 ) ( 64 1 0 ) wall 0 0 0 1 1\n( 0 0 0 ) ( 0 0 1 ) ( 1 0 0 ) wall 0 0 0 1 1\n"
              "( 0 64 0 ) ( 1 64 0 ) ( 0 64 1 ) wall 0 0 0 1 1\n( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) wall 0 0 0 1 1\n"
              "( 0 0 64 ) ( 0 1 64 ) ( 1 0 64 ) wall 0 0 0 1 1\n}\n}\n");
        ASSERT_EQ(run({"new", "fresh.cairn"}).code, 0);
        ASSERT_EQ(run({"edit", "fresh.cairn", "-o", "a.cairn", "--script", "edit.txt"}).code, 0);
        write("cut.cairn", read("a.cairn").substr(0, read("a.cairn").size() * 3 / 4));
        ASSERT_EQ(run({"export", "a.cairn", "-o", "seen.obj"}).code, 0);
        ASSERT_EQ(run({"content", "create", "empty.db"}).code, 0);
        for (const auto& entry : fs::directory_iterator(path("")))
            if (entry.path().extension() == ".png")
                fs::rename(entry.path(), path("wall.png"));
    }

    FaultRun runStruck(const std::string& words, const Strike& strike, int number) const {
        const std::string_view action(strike.action);
        const bool all = action.starts_with('+');
        const std::string fault = fmt::format("{} {}{} {}", strike.call, number, all ? "+" : "", action.substr(all));
        fs::remove(path(".mark"));
        const std::string before =
            fmt::format("LD_PRELOAD='{}' CAIRN_FAULT='{}' CAIRN_FAULT_MARK=.mark ", CAIRN_FAULT_SHIM, fault);
        FaultRun done;
        static_cast<ProgramRun&>(done) = runInShell(words, "", before);
        done.hasStruck = fs::exists(path(".mark"));
        return done;
    }

    /// All files of the folder but those of the runs themselves.
    Files files() const {
        Files all;
        for (const auto& entry : fs::recursive_directory_iterator(path("")))
            if (const std::string name = fs::relative(entry.path(), path("")).string();
                entry.is_regular_file() && (name[0] != '.' || name.starts_with(".cairn-")))
                all[name] = read(name);
        return all;
    }
    void restore(const Files& files) const {
        for (const auto& [name, bytes] : this->files())
            if (!files.contains(name))
                fs::remove(path(name));
        for (const auto& [name, bytes] : files)
            if (read(name) != bytes)
                write(name, bytes);
    }
    static std::set<std::string> changes(const Files& from, const Files& to) {
        std::set<std::string> names;
        for (const auto& [name, bytes] : to)
            if (const auto old = from.find(name); old == from.end() || old->second != bytes)
                names.insert(name);
        return names;
    }

    int m_points = 0, m_kills = 0, m_failures = 0, m_left = 0, m_lost = 0;
};

TEST_F(Fault, LeavesTheOldOutputOrTheNewOneWhole) {
    const struct {
        std::string words, old; ///< a command, and the outputs that are there before
        int code = 0;           ///< with which it ends without a fault
    } jobs[] = {
        {"new out.cairn --build x", "out.cairn"},
        {"save a.cairn -o out.cairn", "out.cairn"},
        {"save a.cairn -o new.cairn", ""},
        {"edit a.cairn -o a.cairn -c 'rename ::Room Hall'", ""},
        {"import wall.map -o out.cairn", "out.cairn"},
        {"export a.cairn -o out.gltf", "out.gltf"},
        {"export a.cairn -o out.xml", "out.xml"},
        {"image wall.png -o out.png", "out.png"},
        {"render a.cairn -o out.svg", "out.svg"},
        {"thumbs a.cairn -o out.png", "out.png"},
        {"generate --rooms 2 --seed 1 -o out.cairn", "out.cairn"},
        {"content create out.db", ""},
        {"export a.cairn -o out.obj", "out.obj"},
        {"textures a.cairn --extract out", ""},
        {"recover cut.cairn -o out.cairn", "out.cairn", 1},
    };
    const Files base = files();
    for (const auto& job : jobs) {
        Files before = base;
        if (!job.old.empty())
            before[job.old] = "what was there";
        restore(before);
        ASSERT_EQ(runInShell(job.words, "").code, job.code) << job.words;
        const Files after = files();
        const std::set<std::string> outputs = changes(before, after);
        ASSERT_FALSE(outputs.empty());
        for (const Strike& strike : STRIKES)
            for (int number = 1;; ++number) {
                const auto told = fmt::format("{}: {} of {} {}", job.words, strike.action, strike.call, number);
                restore(before);
                const FaultRun done = runStruck(job.words, strike, number);
                if (!done.hasStruck) {
                    ASSERT_EQ(done.code, job.code) << told << done.error;
                    ASSERT_TRUE(files() == after) << told;
                    break;
                }
                ASSERT_LT(number, 100) << told;
                ++m_points;
                m_kills += done.isKilled();
                m_failures += done.code == 4;
                ASSERT_TRUE(done.code == job.code || done.code == 4 || done.isKilled()) << told << ": " << done.code;
                const Files now = files();
                for (const std::string& name : outputs) {
                    const bool isNew = now.contains(name) && now.at(name) == after.at(name);
                    const bool isOld = before.contains(name) ? now.contains(name) && now.at(name) == before.at(name)
                                                             : !now.contains(name);
                    // What stands beside the output of that name takes its place ahead of it.
                    const bool isBeside = job.words.find(name) == std::string::npos;
                    // The report that cannot be written comes behind the level.
                    const bool isReported = job.code != 0;
                    m_lost += !isOld && !isNew;
                    EXPECT_TRUE(done.code == job.code                        ? isNew
                                : done.code == 4 && !isBeside && !isReported ? isOld
                                                                             : isOld || isNew)
                        << told << ": " << name;
                }
                // What a killed program was writing stands beside the output, under a name of its own.
                std::set<std::string> others = changes(before, now);
                for (const std::string& name : outputs)
                    others.erase(name);
                const auto beside = std::count_if(others.begin(), others.end(), [](const std::string& name) {
                    const std::string last = fs::path(name).filename().string();
                    return last.starts_with(".cairn-") && last.ends_with(".tmp");
                });
                EXPECT_TRUE(static_cast<std::size_t>(beside) == others.size() && (done.isKilled() || beside == 0))
                    << told;
                m_left += beside > 0;
                if (done.code == 4) {
                    EXPECT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1) << told << done.error;
                }
            }
    }
    fmt::print("{} points: {} kills ({} left a temporary file), {} failures, files lost: {}\n", m_points, m_kills,
               m_left, m_failures, m_lost);
    EXPECT_GT(m_kills, 100);
    EXPECT_GT(m_failures, 100);
}

/// Lets every `step`-th allocation fail, alone and with all behind it.
class MemoryFault : public Fault {
  protected:
    void runAll(int step) {
        runEach(step, {
                          "new out.cairn",
                          "save a.cairn -o out.cairn --content empty.db",
                          "edit fresh.cairn -o out.cairn --script edit.txt",
                          "import wall.map -o out.cairn",
                          "export a.cairn -o out.glb",
                          "export a.cairn -o out.obj",
                          "image wall.png -o out.png",
                          "info a.cairn --json",
                          "tree a.cairn --json",
                          "check a.cairn --json",
                          "measure a.cairn",
                          "fsm a.cairn",
                          "rooms a.cairn",
                          "diff a.cairn fresh.cairn",
                          "recover cut.cairn -o out.cairn",
                          "content add empty.db skin rat",
                      });
    }

    void runEach(int step, std::initializer_list<const char*> jobs) {
        ASSERT_TRUE(runStruck("info a.cairn", {"alloc", "+EIO"}, 1).hasStruck);
        const Files before = files();
        int first = 1;
        for (const char* const words : jobs) {
            restore(before);
            const ProgramRun whole = runInShell(words, "");
            const Files after = files();
            for (const char* const action : {"EIO", "+EIO"})
                for (int number = step == 1 ? 1 : ++first; number < MOST_ALLOCATIONS; number += step) {
                    const auto told = fmt::format("{}: {} at allocation {}", words, action, number);
                    restore(before);
                    const FaultRun done = runStruck(words, {"alloc", action}, number);
                    // It may do without.
                    if (done.code == whole.code) {
                        ASSERT_EQ(done.output, whole.output) << told;
                        ASSERT_TRUE(files() == after) << told;
                    } else {
                        ASSERT_EQ(done.code, 5) << told << ": " << done.error;
                        ASSERT_EQ(done.output, "") << told;
                        ASSERT_EQ(std::count(done.error.begin(), done.error.end(), '\n'), 1) << told << done.error;
                        ASSERT_TRUE(files() == before) << told;
                    }
                    if (!done.hasStruck)
                        break;
                    ++m_points;
                }
        }
        fmt::print("{} points\n", m_points);
    }

    /// True where the allocation of that number is not the last of the command.
    bool strikes(const std::string& words, int number) { return runStruck(words, {"alloc", "EIO"}, number).hasStruck; }

    /// How many allocations the command makes.
    int countAllocations(const Files& before, const std::string& words) {
        int least = 0, most = MOST_ALLOCATIONS; // that strikes, that does not
        while (most - least > 1) {
            const int middle = least + (most - least) / 2;
            restore(before);
            (strikes(words, middle) ? least : most) = middle;
        }
        return least;
    }

    /// What is told when the output is in place may lack memory, too: from there on the command is done.
    void runLast(int count) {
        for (const char* const words :
             {"save a.cairn -o out.cairn", "import wall.map -o out.cairn", "export a.cairn -o out.glb",
              "export a.cairn -o out.obj", "export a.cairn -o out.script", "render a.cairn -o out.png",
              "thumbs a.cairn -o out.png", "textures a.cairn --extract textures", "recover cut.cairn -o out.cairn"}) {
            const Files before = files();
            const ProgramRun whole = runInShell(words, "");
            const Files after = files();
            const int last = countAllocations(before, words);
            for (const char* const action : {"EIO", "+EIO"})
                for (int number = last; number > std::max(0, last - count); --number) {
                    const auto told = fmt::format("{}: {} at allocation {} of {}", words, action, number, last);
                    restore(before);
                    const FaultRun done = runStruck(words, {"alloc", action}, number);
                    const bool isDone = done.code == whole.code;
                    ASSERT_TRUE(isDone || done.code == 5) << told << ": " << done.code << done.error;
                    ASSERT_EQ(done.output, isDone ? whole.output : "") << told;
                    ASSERT_TRUE(files() == (isDone ? after : before)) << told;
                }
            restore(before);
        }
    }

  private:
    static constexpr int MOST_ALLOCATIONS = 100000;
};

TEST_F(MemoryFault, EndsWithTheExitCodeForThat) { runAll(151); }

TEST_F(MemoryFault, NothingFailsOnceTheOutputIsInPlace) { runLast(30); }

TEST_F(MemoryFault, DISABLED_EndsWithTheExitCodeForThatAtManyPlaces) { runAll(5); }

// JSON documents end the process where memory lacks, so that this is no loop within one.
TEST_F(MemoryFault, DISABLED_ManyPlacesAreAllOfAGltfExport) { runEach(1, {"export a.cairn -o out.glb"}); }

TEST_F(Fault, TakesInputFromPipesAndPutsOutputInPlaceOfFilesAlone) {
    const std::string level = read("a.cairn");
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(runInShell("save - -o b.cairn", "", "cat a.cairn | ").code, 0);
    EXPECT_EQ(read("b.cairn"), level);
    EXPECT_EQ(runInShell("save pipe -o b.cairn", "", "{ cat a.cairn >pipe & }; ").code, 0);
    EXPECT_EQ(read("b.cairn"), level);
    EXPECT_EQ(runInShell("info -", "", "true | ").code, 3);

    // The output may be the input, whatever the command.
    for (const char* const words :
         {"save a.cairn -o a.cairn", "edit a.cairn -o a.cairn -c '# nothing'", "image wall.png -o wall.png"})
        EXPECT_EQ(runInShell(words, "").code, 0) << words;
    EXPECT_EQ(read("a.cairn"), level);
    EXPECT_EQ(runInShell("recover cut.cairn -o cut.cairn", "").code, 1);
    EXPECT_EQ(runInShell("recover cut.cairn -o cut.cairn", "").code, 0) << "nothing is lost any more";

    fs::create_symlink("b.cairn", path("link.cairn"));
    fs::create_symlink("none/b.cairn", path("astray.cairn"));
    fs::create_directory(path("closed"));
    fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(run({"new", "link.cairn"}).code, 0);
    EXPECT_TRUE(fs::is_symlink(path("link.cairn")));
    EXPECT_NE(read("b.cairn"), level) << "its target is replaced";
    for (const char* const place : {"pipe", "astray.cairn", "/dev/stdout", "/dev/full", "closed/a.cairn"}) {
        std::string before;
        if (::geteuid() == 0 && std::string_view(place).starts_with("closed")) { // root may write anywhere
            before = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
            fs::permissions(path(""), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
            if (runInShell("--version", "", before).code != 0) {
                fmt::print("a closed folder is left out: nobody else can run the program\n");
                continue;
            }
        }
        for (const char* const words : {"save a.cairn -o ", "export a.cairn --format glb -o "}) {
            const ProgramRun done = runInShell(words + std::string(place), "| cat; exit ${PIPESTATUS[0]}", before);
            EXPECT_EQ(done.code, 4) << words << place;
            EXPECT_EQ(done.output, "");
            EXPECT_EQ(done.error.substr(0, std::string_view(place).size() + 9), fmt::format("cairn: {}: ", place));
        }
    }
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
}

TEST_F(Fault, LeavesAContentDatabaseWithAllNamesOrNone) {
    const std::string words = "content add empty.db skin rat wolf";
    const Files base = files();
    for (const Strike& strike : STRIKES)
        for (int number = 1;; ++number) {
            const auto told = fmt::format("{} of {} {}", strike.action, strike.call, number);
            restore(base);
            const FaultRun done = runStruck(words, strike, number);
            // Where no open works any more nobody can tell that the database could be read.
            const bool isClosed = std::string_view(strike.call) == "open" && *strike.action == '+';
            ASSERT_TRUE(done.code == 0 ||
                        (done.hasStruck && (done.code == 4 || done.isKilled() || (isClosed && done.code == 3))))
                << told << ": " << done.code << done.error;
            m_points += done.hasStruck;
            // The next one who opens it takes back what was half written.
            const ProgramRun list = run({"content", "list", "empty.db", "skin"});
            EXPECT_EQ(list.code, 0) << told << list.error;
            const bool isNew = list.output == "skin rat\nskin wolf\n";
            m_lost += list.code != 0 || !(isNew || list.output.empty());
            EXPECT_TRUE(done.code == 0 ? isNew : list.output.empty() || (done.isKilled() && isNew))
                << told << list.output;
            if (!done.hasStruck)
                break;
            ASSERT_LT(number, 100) << told;
        }
    fmt::print("{} points, databases lost: {}\n", m_points, m_lost);
    EXPECT_GT(m_points, 20);
}

} // namespace
