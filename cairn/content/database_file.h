#pragma once

#include "cairn/content/kinds.h"
#include "cairn/foundation/strings.h"

#include <cstdint>
#include <memory>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace cairn {

/// An open content database file: the one place that calls SQLite, together with `Y_DatabaseStatement`. Every failure
/// is an `F_Exception*` with the path and the reason.
class Y_DatabaseFile {
  public:
    enum class Access { READ, WRITE };

    /// What marks an SQLite file as ours, and the form of its tables.
    static constexpr int APPLICATION_ID = 0x43524E43;
    static constexpr int FORMAT_VERSION = 1;

    /// Opens an existing content database. Throws where the file is missing, is no content database, has a newer form
    /// or, for writing, cannot be written. What a writer that was killed left half done is taken back first.
    Y_DatabaseFile(const string& path, Access access);
    Y_DatabaseFile(const Y_DatabaseFile&) = delete;
    Y_DatabaseFile& operator=(const Y_DatabaseFile&) = delete;

    /// The bytes of a content database that has all tables and nothing in them.
    static std::vector<unsigned char> makeEmptyImage();

    /// Throws where the structure of the file is damaged. Reads the whole file.
    void verify();
    /// Whether the kind's table exists. Throws where something else than a plain table has its name.
    bool hasTable(const Y_SharedDBKindInfo& info);
    /// Creates the tables that do not exist.
    void createTables();
    /// Runs one statement that gives no rows and takes no values.
    void execute(const char* sql);
    bool isInTransaction() const;
    /// The row that the last insertion made.
    std::int64_t getLastRow() const;
    /// The bytes of all pages.
    std::int64_t getPageBytes();

    /// `reason` as the text of a failure: with the path.
    string describe(const string& reason) const;
    /// Throws an `F_Exception*` with the path and `reason`.
    [[noreturn]] void fail(const string& reason) const;
    /// Throws with SQLite's own words for what just failed.
    [[noreturn]] void failAsSqlite(int code) const;

  private:
    friend class Y_DatabaseStatement;
    struct Close {
        void operator()(sqlite3* db) const;
    };

    Y_DatabaseFile(const string& path, int sqliteFlags, std::int64_t longestValue);
    void settleJournal() const;
    std::int64_t queryNumber(const char* sql);

    string m_path;                        ///< as given, for messages
    std::unique_ptr<sqlite3, Close> m_db; ///< owned
};

/// One prepared statement. Values go in by binding only.
class Y_DatabaseStatement {
  public:
    Y_DatabaseStatement(Y_DatabaseFile& file, const string& sql);
    Y_DatabaseStatement(const Y_DatabaseStatement&) = delete;
    Y_DatabaseStatement& operator=(const Y_DatabaseStatement&) = delete;

    /// Values of the statement's places, counted from 1. The bytes of a name must outlive the steps.
    void bindName(int place, const string& name);
    void bindNumber(int place, std::int64_t number);
    /// A text of our own, which lives as long as the program.
    void bindText(int place, const char* text);

    /// Goes to the next row; false behind the last. Throws on any failure, and where there are more rows, or more
    /// bytes of names have been taken, than the pages of the file can hold.
    bool step();

    /// Columns of the row at hand, counted from 0. A name may hold any byte; one that is NULL gives "".
    string takeName(int column);
    std::int64_t takeNumber(int column);

  private:
    friend class Y_DatabaseFile;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    void spend(std::int64_t bytes);

    Y_DatabaseFile& m_file;                              ///< not owned
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement; ///< owned
    std::int64_t m_bytesLeft = -1;                       ///< of the file's pages, not yet taken; below 0 until known
};

} // namespace cairn
