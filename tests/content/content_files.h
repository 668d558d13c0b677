#pragma once

#include "cairn/foundation/strings.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace cairn::test {

/// A folder for one test's files, gone with it.
class ContentFolder {
  public:
    ContentFolder()
        : m_folder(std::filesystem::temp_directory_path() /
                   ("cairn_content_" + std::to_string(getpid()) + "_" +
                    testing::UnitTest::GetInstance()->current_test_info()->name())) {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    ~ContentFolder() { std::filesystem::remove_all(m_folder); }
    ContentFolder(const ContentFolder&) = delete;
    ContentFolder& operator=(const ContentFolder&) = delete;

    string path(const char* name) const { return (m_folder / name).string(); }
    /// The number of files in the folder.
    auto count() const { return std::distance(std::filesystem::directory_iterator(m_folder), {}); }

  private:
    std::filesystem::path m_folder;
};

inline string bytesOf(const string& path) {
    std::ifstream in(path, std::ios::binary);
    return string(std::istreambuf_iterator<char>(in), {});
}

inline void writeBytes(const string& path, const string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::ssize(bytes));
}

/// A connection of another program's making.
class OtherProgram {
  public:
    explicit OtherProgram(const string& path) { EXPECT_EQ(sqlite3_open(path.c_str(), &m_db), SQLITE_OK); }
    ~OtherProgram() { sqlite3_close(m_db); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    void run(const string& sql) {
        EXPECT_EQ(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(m_db);
    }

  private:
    sqlite3* m_db = nullptr; ///< owned
};

} // namespace cairn::test
