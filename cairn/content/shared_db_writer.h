#pragma once

#include "cairn/content/kinds.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/strings.h"

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

namespace cairn {

class Y_DatabaseFile;

/// What an entry has besides its name. Each member is for the kinds it names and is passed over by all others.
struct Y_SharedDBEntryOptions {
    string skin = {};         ///< animations: the skin they belong to; empty for the database's first
    string skeleton = {};     ///< bones: the skeleton they belong to; empty for the database's first
    bool drawPolygons = true; ///< surface materials: whether their polygons are seen
};

/// An entry does not go with those that are there. The database is sound, and others can still be added.
class Y_SharedDBWriter_Exception_Refused : public F_Exception {
  public:
    using F_Exception::F_Exception;
};

/// The one way to write a content database: makes a fresh one, or adds to one that is there.
///
/// What is added reaches the file with `commit`, all of it or nothing; without it the file stays as it was.
class Y_SharedDBWriter {
  public:
    /// Makes an empty content database at `path`, whole or not at all. A content database that stands there is replaced;
    /// anything else is left alone and refused with an `F_Exception*`.
    static void create(const string& path);

    /// Opens the content database at `path` to add to it. Throws as the constructor of `Y_SharedDB` does, and where the
    /// file cannot be written.
    explicit Y_SharedDBWriter(const string& path);
    /// Drops what was not committed.
    ~Y_SharedDBWriter();
    Y_SharedDBWriter(const Y_SharedDBWriter&) = delete;
    Y_SharedDBWriter& operator=(const Y_SharedDBWriter&) = delete;

    /// Adds an entry; its name may hold any byte. Refuses with a `Y_SharedDBWriter_Exception_Refused*`, and nothing is
    /// changed, a name that is empty, one that the kind (for animations and bones: the skin or skeleton) has already
    /// without regard to case, and a skin or skeleton that is not there. The first bone of a database without skeletons
    /// makes one, named "Default". Any other failure, a full disk say, drops all that was not committed. From the first entry on, until `commit`,
    /// nobody else can write to the file.
    void add(Y_SharedDBKind kind, const string& name, const Y_SharedDBEntryOptions& options = {});
    /// Writes what was added since the last commit; it may go on with more.
    void commit();

  private:
    /// The rows of one kind and one owner by name, the first of names that differ in nothing but case.
    using Rows = std::unordered_map<istring, std::int64_t, F_HashNoCase>;
    using RowsByOwner = std::unordered_map<std::int64_t, Rows>; ///< by the owner's row, 0 for none

    [[noreturn]] void refuse(const string& reason) const;
    void begin();
    void rollBack();
    std::int64_t selectOwner(const Y_SharedDBKindInfo& info, const Y_SharedDBEntryOptions& options);
    RowsByOwner& accessRows(const Y_SharedDBKindInfo& info);
    std::int64_t insert(const Y_SharedDBKindInfo& info, std::int64_t owner, const string& name, bool drawPolygons);

    std::unique_ptr<Y_DatabaseFile> m_file;       ///< never null
    std::map<Y_SharedDBKind, RowsByOwner> m_rows; ///< what is there: a kind on demand, empty outside a transaction
};

} // namespace cairn
