#include "cairn/content/database_file.h"

#include "cairn/foundation/exception.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace cairn {

namespace {

/// How long another program may keep its lock before we give up.
constexpr int BUSY_MILLISECONDS = 250;
/// The least that a row takes of a page: two bytes of place, two of head, two of body.
constexpr std::int64_t LEAST_ROW_BYTES = 6;
/// The longest value that SQLite may build while it reads, at least: schema texts count too.
constexpr std::int64_t LEAST_VALUE_LIMIT = 65'536;
constexpr std::int64_t LONGEST_WRITTEN = 16 * 1024 * 1024; ///< room for a name that is added
constexpr std::int64_t GREATEST_VALUE_LIMIT = 1'000'000'000;

string describeAt(const string& path, const string& reason) {
    return fmt::format("Content database \"{}\": {}", path, reason);
}
[[noreturn]] void failAt(const string& path, const string& reason) { throw new F_Exception(describeAt(path, reason)); }

/// SQLite would take a path up to its first NUL, and would wait for ever at a pipe.
std::int64_t checkedFileSize(const string& path) {
    if (path.find('\0') != string::npos)
        failAt(path, "the path holds a NUL");
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        failAt(path,
               status.type() == std::filesystem::file_type::not_found ? "there is no such file" : error.message());
    if (!std::filesystem::is_regular_file(status))
        failAt(path, "it is no file");
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        failAt(path, error.message());
    return static_cast<std::int64_t>(size);
}

string createTableText(const Y_SharedDBKindInfo& info) {
    string columns = "id INTEGER PRIMARY KEY, ";
    if (info.owner)
        columns += fmt::format("{0} INTEGER NOT NULL REFERENCES {0} (id), ", info.owner);
    columns += "name BLOB NOT NULL";
    if (info.kind == Y_SharedDBKind::SURFACE_MATERIAL)
        columns += ", draw_polygons INTEGER NOT NULL DEFAULT 1";
    return fmt::format("CREATE TABLE IF NOT EXISTS {} ({})", info.table, columns);
}

/// True where the check of a file stopped for want of memory: it tells of that as of a page that it cannot get.
bool lacksMemory(std::string_view finding) {
    static_assert(SQLITE_NOMEM == 7);
    return finding.ends_with("error code=7");
}

} // namespace

void Y_DatabaseFile::Close::operator()(sqlite3* db) const { sqlite3_close_v2(db); }

Y_DatabaseFile::Y_DatabaseFile(const string& path, int flags, std::int64_t longestValue) : m_path(path) {
    sqlite3* db = nullptr;
    const int opened = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    m_db.reset(db);
    if (!db)
        throw new F_MemoryException_Allocation();
    if (opened != SQLITE_OK)
        failAsSqlite(opened);

    // The file may come from anywhere: nothing in its schema is to run or to be trusted.
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, BUSY_MILLISECONDS);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::clamp(longestValue, LEAST_VALUE_LIMIT, GREATEST_VALUE_LIMIT)));
    execute("PRAGMA cell_size_check = ON");
    execute("PRAGMA mmap_size = 0");
}

Y_DatabaseFile::Y_DatabaseFile(const string& path, Access access)
    : Y_DatabaseFile(path, access == Access::READ ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE,
                     access == Access::READ ? checkedFileSize(path) : LONGEST_WRITTEN + checkedFileSize(path)) {
    if (access == Access::READ)
        settleJournal();
    if (queryNumber("PRAGMA application_id") != APPLICATION_ID)
        fail("it is no content database");
    const std::int64_t version = queryNumber("PRAGMA user_version");
    if (version > FORMAT_VERSION)
        fail(fmt::format("it has the form {}, newer than this program knows", version));
    if (version < 1)
        fail(fmt::format("it has the form {}, which there never was", version));
    if (access == Access::WRITE && sqlite3_db_readonly(m_db.get(), "main") != 0)
        fail("it cannot be written");
}

void Y_DatabaseFile::settleJournal() const {
    std::error_code error;
    if (!std::filesystem::exists(m_path + "-journal", error))
        return;
    // The first look at the file takes back what a writer that was killed had half written, which a read-only
    // connection may not do. The journal of a writer that lives is left alone.
    Y_DatabaseFile settling(m_path, SQLITE_OPEN_READWRITE, LEAST_VALUE_LIMIT);
    settling.queryNumber("PRAGMA application_id");
}

std::vector<unsigned char> Y_DatabaseFile::makeEmptyImage() {
    Y_DatabaseFile file(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, LEAST_VALUE_LIMIT);
    file.execute("PRAGMA page_size = 1024"); // most tables are small, and each takes a page at least
    file.execute(fmt::format("PRAGMA application_id = {}", APPLICATION_ID).c_str());
    file.execute(fmt::format("PRAGMA user_version = {}", FORMAT_VERSION).c_str());
    file.createTables();

    sqlite3_int64 size = 0;
    const std::unique_ptr<unsigned char, decltype(&sqlite3_free)> bytes(
        sqlite3_serialize(file.m_db.get(), "main", &size, 0), &sqlite3_free);
    if (!bytes)
        throw new F_MemoryException_Allocation();
    return std::vector<unsigned char>(bytes.get(), bytes.get() + size);
}

void Y_DatabaseFile::verify() {
    Y_DatabaseStatement check(*this, "PRAGMA quick_check(1)");
    const string finding = check.step() ? check.takeName(0) : "the check says nothing";
    if (finding == "ok")
        return;
    if (lacksMemory(finding))
        throw new F_MemoryException_Allocation();
    fail("it is damaged: " + finding);
}

bool Y_DatabaseFile::hasTable(const Y_SharedDBKindInfo& info) {
    Y_DatabaseStatement query(*this, "SELECT type = 'table' AND rootpage > 0 FROM sqlite_schema "
                                     "WHERE name = ?1 COLLATE NOCASE");
    query.bindText(1, info.table);
    if (!query.step())
        return false;
    if (query.takeNumber(0) == 0)
        fail(fmt::format("\"{}\" in it is no plain table", info.table));
    return true;
}

void Y_DatabaseFile::createTables() {
    for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
        execute(createTableText(info).c_str());
}

void Y_DatabaseFile::execute(const char* sql) {
    const int code = sqlite3_exec(m_db.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        failAsSqlite(code);
}

bool Y_DatabaseFile::isInTransaction() const { return sqlite3_get_autocommit(m_db.get()) == 0; }

std::int64_t Y_DatabaseFile::getLastRow() const { return sqlite3_last_insert_rowid(m_db.get()); }

std::int64_t Y_DatabaseFile::getPageBytes() {
    return queryNumber("PRAGMA page_count") * queryNumber("PRAGMA page_size");
}

string Y_DatabaseFile::describe(const string& reason) const { return describeAt(m_path, reason); }

void Y_DatabaseFile::fail(const string& reason) const { failAt(m_path, reason); }

void Y_DatabaseFile::failAsSqlite(int code) const {
    if ((code & 0xFF) == SQLITE_NOMEM)
        throw new F_MemoryException_Allocation();
    fail(sqlite3_errmsg(m_db.get()));
}

std::int64_t Y_DatabaseFile::queryNumber(const char* sql) {
    sqlite3_stmt* prepared = nullptr;
    int code = sqlite3_prepare_v2(m_db.get(), sql, -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, Y_DatabaseStatement::Finalize> statement(prepared);
    if (code == SQLITE_OK)
        code = sqlite3_step(prepared);
    if (code != SQLITE_ROW)
        failAsSqlite(code);
    return sqlite3_column_int64(prepared, 0);
}

void Y_DatabaseStatement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

Y_DatabaseStatement::Y_DatabaseStatement(Y_DatabaseFile& file, const string& sql) : m_file(file) {
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v2(file.m_db.get(), sql.data(), static_cast<int>(sql.size()), &prepared, nullptr);
    m_statement.reset(prepared);
    if (code != SQLITE_OK)
        file.failAsSqlite(code);
}

void Y_DatabaseStatement::bindName(int place, const string& name) {
    const int code = sqlite3_bind_blob64(m_statement.get(), place, name.data(), name.size(), nullptr);
    if (code != SQLITE_OK)
        m_file.failAsSqlite(code);
}

void Y_DatabaseStatement::bindText(int place, const char* text) {
    const int code = sqlite3_bind_text(m_statement.get(), place, text, -1, nullptr);
    if (code != SQLITE_OK)
        m_file.failAsSqlite(code);
}

void Y_DatabaseStatement::bindNumber(int place, std::int64_t number) {
    const int code = sqlite3_bind_int64(m_statement.get(), place, number);
    if (code != SQLITE_OK)
        m_file.failAsSqlite(code);
}

bool Y_DatabaseStatement::step() {
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_DONE)
        return false;
    if (code != SQLITE_ROW)
        m_file.failAsSqlite(code);
    if (m_bytesLeft < 0)
        m_bytesLeft = m_file.getPageBytes();
    spend(LEAST_ROW_BYTES);
    return true;
}

void Y_DatabaseStatement::spend(std::int64_t bytes) {
    if (bytes > m_bytesLeft)
        m_file.fail("it is damaged: it gives more than its pages can hold");
    m_bytesLeft -= bytes;
}

string Y_DatabaseStatement::takeName(int column) {
    sqlite3_stmt* const statement = m_statement.get();
    // A name that another program wrote as text comes as UTF-8, whatever the encoding of the file.
    const void* bytes = sqlite3_column_type(statement, column) == SQLITE_BLOB ? sqlite3_column_blob(statement, column)
                                                                              : sqlite3_column_text(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    if (!bytes) {
        if (sqlite3_errcode(m_file.m_db.get()) == SQLITE_NOMEM)
            throw new F_MemoryException_Allocation();
        return {};
    }
    spend(size);
    return string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

std::int64_t Y_DatabaseStatement::takeNumber(int column) { return sqlite3_column_int64(m_statement.get(), column); }

} // namespace cairn
