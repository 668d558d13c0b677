#include "cairn/foundation/file.h"
#include "cairn/foundation/script.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace cairn {
namespace {

namespace fs = std::filesystem;

F_File* const atStaticInitialisation = File;

/// A folder of its own for each test.
class FileTest : public testing::Test {
  protected:
    FileTest() {
        char name[] = "/tmp/cairn_file_test_XXXXXX";
        m_folder = ::mkdtemp(name);
    }
    ~FileTest() override { fs::remove_all(m_folder); }

    string at(const string& name) const { return (m_folder / name).string(); }
    static std::span<const unsigned char> bytes(std::string_view text) {
        return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
    }
    static string textOf(const string& fileName) {
        const std::vector<unsigned char> all = F_File::readAll(fileName);
        return string(all.begin(), all.end());
    }
    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()));
    }
    static ::mode_t modeOf(const string& fileName) {
        struct ::stat s {};
        ::stat(fileName.c_str(), &s);
        return s.st_mode & 07777;
    }

    fs::path m_folder;
};

TEST_F(FileTest, LoadsAsMuchAsIsAskedFor) {
    F_File::replace(at("a"), bytes(std::string_view("one\0two", 7)));
    F_File::replace(at("empty"), {});
    ASSERT_NE(atStaticInitialisation, nullptr);
    EXPECT_EQ(File->size(at("a").c_str()), 7);
    const auto load = [&](const char* name, int size) {
        const std::unique_ptr<void, void (*)(void*)> p(File->load("Test", at(name).c_str(), size), std::free);
        return string(static_cast<const char*>(p.get()), static_cast<std::size_t>(size < 0 ? 7 : size));
    };
    EXPECT_EQ(load("a", -1), std::string_view("one\0two", 7));
    EXPECT_EQ(load("a", 3), "one");
    EXPECT_EQ(load("empty", 0), "");
    EXPECT_EQ(test::failureText([] { File->size(nullptr); }), "Cannot look at a file without a name");
    EXPECT_EQ(test::failureText([] { F_Script script(static_cast<const char*>(nullptr)); }),
              "Cannot look at a file without a name");
    EXPECT_EQ(test::failureText([&] { load("a", 8); }),
              "Test cannot read \"" + at("a") + "\": it has fewer than 8 bytes");
    EXPECT_EQ(test::failureText([&] { load("none", 1); }),
              "Test cannot read \"" + at("none") + "\": No such file or directory");
    EXPECT_EQ(test::failureText([&] { load(".", -1); }), "Cannot look at \"" + at(".") + "\": Is a directory");
}

TEST_F(FileTest, ReadsPipesAndFilesLargerThanItsSteps) {
    const string large(300000, 'x');
    F_File::replace(at("large"), bytes(large));
    EXPECT_EQ(textOf(at("large")), large);
    std::FILE* const pipe = ::popen(("cat '" + at("large") + "' '" + at("large") + "'").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    const auto piped = F_File::readAll(pipe, "a pipe");
    ::pclose(pipe);
    EXPECT_EQ(string(piped.begin(), piped.end()), large + large);
    EXPECT_EQ(test::failureText([&] { F_File::readAll(at("none")); }),
              "Cannot read \"" + at("none") + "\": No such file or directory");
    EXPECT_EQ(test::failureText([&] { F_File::readAll(at("")); }), "Cannot read \"" + at("") + "\": Is a directory");
}

TEST_F(FileTest, ReadsNoMoreThanItsBounds) {
    F_File::replace(at("large"), bytes(string(300000, 'x')));
    EXPECT_EQ(F_File::readAll(at("large"), {300000}).size(), 300000u);
    EXPECT_EQ(test::failureText([&] { F_File::readAll(at("large"), {299999}); }),
              "Cannot read \"" + at("large") + "\": File too large");
    EXPECT_EQ(test::failureText([&] { F_File::readAll("/dev/zero", {1000000}); }),
              "Cannot read \"/dev/zero\": File too large");
    const auto no = [](std::span<const unsigned char> head) { return head.empty(); };
    EXPECT_LT(F_File::readAll("/dev/zero", {static_cast<std::size_t>(-1), no}).size(), 100000u);
}

TEST_F(FileTest, ReplacingKeepsPermissionsAndLinks) {
    F_File::replace(at("target"), bytes("old"));
    ASSERT_EQ(::chmod(at("target").c_str(), 0640), 0);
    fs::create_symlink("target", at("inner"));
    fs::create_symlink(at("inner"), at("outer"));
    fs::create_symlink("fresh", at("dangling"));
    F_File::replace(at("outer"), bytes("new"));
    F_File::replace(at("dangling"), bytes("made"));
    EXPECT_TRUE(fs::is_symlink(at("outer")));
    EXPECT_FALSE(fs::is_symlink(at("target")));
    EXPECT_EQ(textOf(at("target")), "new");
    EXPECT_EQ(modeOf(at("target")), 0640u);
    EXPECT_EQ(textOf(at("fresh")), "made");
    const ::mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(modeOf(at("fresh")), 0666u & ~mask);
    EXPECT_EQ(filesInFolder(), 5u);
}

TEST_F(FileTest, AFailedReplaceLeavesTheOldFileAndNothingElse) {
    F_File::replace(at("a"), bytes("old"));
    ::rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const ::rlimit small{1024, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const string failure = test::failureText([&] { F_File::replace(at("a"), bytes(string(100000, 'y'))); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(failure, "Cannot write \"" + at("a") + "\": File too large");
    EXPECT_EQ(textOf(at("a")), "old");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(FileTest, RefusesPlacesThatAreNoFile) {
    fs::create_directory(at("folder"));
    fs::create_symlink("loop", at("loop"));
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    const std::pair<const char*, const char*> cases[] = {{"folder", "Is a directory"},
                                                         {"loop", "Too many levels of symbolic links"},
                                                         {"pipe", "Not a regular file"},
                                                         {"none/a", "No such file or directory"},
                                                         {"", "Is a directory"}};
    for (const auto& [name, reason] : cases)
        EXPECT_EQ(test::failureText([&, n = name] { F_File::replace(at(n), bytes("x")); }),
                  "Cannot write \"" + at(name) + "\": " + reason);
    EXPECT_EQ(filesInFolder(), 3u);
}

} // namespace
} // namespace cairn
