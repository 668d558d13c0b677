#include "cairn/content/shared_db_writer.h"

#include "cairn/content/database_file.h"
#include "cairn/content/shared_db_items.h"
#include "cairn/foundation/file.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace cairn {

namespace {

/// The owner of bones that were added before any skeleton.
constexpr const char* FIRST_SKELETON = "Default";
constexpr std::int64_t NO_OWNER = 0;

bool isInMemory(const string& path) { return path.empty() || path == ":memory:"; }

} // namespace

void Y_SharedDBWriter::create(const string& path) {
    F_withFoundationExceptions([&] {
        if (isInMemory(path))
            throw new F_Exception("A content database in memory cannot be written");
        std::error_code error;
        if (path.find('\0') == string::npos && std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
            // Opening it refuses what is no content database, and settles what a writer that was killed left behind.
            const Y_DatabaseFile old(path, Y_DatabaseFile::Access::WRITE);
        }
        F_File::replace(path, Y_DatabaseFile::makeEmptyImage());
    });
}

Y_SharedDBWriter::Y_SharedDBWriter(const string& path) {
    F_withFoundationExceptions([&] {
        if (isInMemory(path))
            throw new F_Exception("A content database in memory cannot be written");
        m_file = std::make_unique<Y_DatabaseFile>(path, Y_DatabaseFile::Access::WRITE);
        m_file->verify();
    });
}

Y_SharedDBWriter::~Y_SharedDBWriter() = default; // closing the file rolls back

void Y_SharedDBWriter::add(Y_SharedDBKind kind, const string& name, const Y_SharedDBEntryOptions& options) {
    F_withFoundationExceptions([&] {
        const Y_SharedDBKindInfo& info = getSharedDBKindInfo(kind);
        if (name.empty())
            refuse(fmt::format("the name of a {} must not be empty", info.name));
        begin();
        const std::int64_t owner = selectOwner(info, options);
        Rows& rows = accessRows(info)[owner];
        const istring key = toIString(view(name));
        if (rows.contains(key))
            refuse(fmt::format("there is a {} \"{}\" already", info.name, name));
        if (kind == Y_SharedDBKind::ANIMATION && rows.size() >= Y_SharedDBAnimationContainer::MAX_REFERENCES)
            refuse("the skin has as many animations as a short can number");
        rows.emplace(key, insert(info, owner, name, options.drawPolygons));
    });
}

void Y_SharedDBWriter::commit() {
    F_withFoundationExceptions([&] {
        if (!m_file->isInTransaction())
            return;
        try {
            m_file->execute("COMMIT");
        } catch (...) {
            rollBack();
            throw;
        }
        m_rows.clear();
    });
}

void Y_SharedDBWriter::refuse(const string& reason) const {
    throw new Y_SharedDBWriter_Exception_Refused(m_file->describe(reason));
}

void Y_SharedDBWriter::begin() {
    if (m_file->isInTransaction())
        return;
    m_rows.clear(); // another program may have written since
    m_file->execute("BEGIN IMMEDIATE");
    try {
        m_file->createTables(); // a database that was made by other means may lack some
    } catch (...) {
        rollBack();
        throw;
    }
}

void Y_SharedDBWriter::rollBack() {
    m_rows.clear();
    if (m_file->isInTransaction()) // SQLite may have rolled back itself
        m_file->execute("ROLLBACK");
}

std::int64_t Y_SharedDBWriter::selectOwner(const Y_SharedDBKindInfo& info, const Y_SharedDBEntryOptions& options) {
    if (!info.owner)
        return NO_OWNER;
    const bool bone = info.kind != Y_SharedDBKind::ANIMATION;
    const string& wanted = bone ? options.skeleton : options.skin;
    const Y_SharedDBKindInfo& ownerInfo = getSharedDBKindInfo(bone ? Y_SharedDBKind::SKELETON : Y_SharedDBKind::SKIN);

    if (!wanted.empty()) {
        const Rows& owners = accessRows(ownerInfo)[NO_OWNER];
        const auto found = owners.find(toIString(view(wanted)));
        if (found == owners.end())
            refuse(fmt::format("there is no {} \"{}\"", ownerInfo.name, wanted));
        return found->second;
    }
    {
        Y_DatabaseStatement first(*m_file, fmt::format("SELECT rowid FROM {} ORDER BY rowid LIMIT 1", ownerInfo.table));
        if (first.step())
            return first.takeNumber(0);
    }
    if (!bone)
        refuse("an animation belongs to a skin, and there is none yet");
    const std::int64_t skeleton = insert(ownerInfo, NO_OWNER, FIRST_SKELETON, true);
    m_rows.erase(ownerInfo.kind);
    return skeleton;
}

Y_SharedDBWriter::RowsByOwner& Y_SharedDBWriter::accessRows(const Y_SharedDBKindInfo& info) {
    const auto known = m_rows.find(info.kind);
    if (known != m_rows.end())
        return known->second;
    RowsByOwner rows;
    Y_DatabaseStatement all(*m_file, fmt::format("SELECT name, rowid{}{} FROM {} ORDER BY rowid",
                                                 info.owner ? ", " : "", info.owner ? info.owner : "", info.table));
    while (all.step())
        rows[info.owner ? all.takeNumber(2) : NO_OWNER].emplace(toIString(view(all.takeName(0))), all.takeNumber(1));
    return m_rows[info.kind] = std::move(rows);
}

std::int64_t Y_SharedDBWriter::insert(const Y_SharedDBKindInfo& info, std::int64_t owner, const string& name,
                                      bool drawPolygons) {
    const bool draws = info.kind == Y_SharedDBKind::SURFACE_MATERIAL;
    const string second = info.owner ? info.owner : draws ? "draw_polygons" : "";
    try {
        Y_DatabaseStatement row(
            *m_file, second.empty() ? fmt::format("INSERT INTO {} (name) VALUES (?1)", info.table)
                                    : fmt::format("INSERT INTO {} (name, {}) VALUES (?1, ?2)", info.table, second));
        row.bindName(1, name);
        if (!second.empty())
            row.bindNumber(2, draws ? (drawPolygons ? 1 : 0) : owner);
        row.step();
    } catch (...) {
        rollBack();
        throw;
    }
    return m_file->getLastRow();
}

} // namespace cairn
