#pragma once

#include "host/level_session.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cairn::bench {

/// The session that levels are opened in: one for the process.
host::LevelSession& levelSession();

/// A generated level of so many rooms, which doors join and whose machines speak to each other.
std::unique_ptr<CN_Document> generateRooms(int rooms);
/// Its bytes, as they stand in a file.
std::vector<unsigned char> roomBytes(int rooms);

/// A level as commands get it, of the bytes of its file.
host::OpenedLevel openLevel(const std::vector<unsigned char>& bytes);

/// What a command does with a whole level that is open. It gives a number that says what came of it.
struct LevelWork {
    const char* name;
    std::function<double(host::OpenedLevel&)> run;
    /// A plain read of the memory that `run` reads, in the same order; none where `run` does far more than read.
    std::function<std::size_t(const host::OpenedLevel&)> read = nullptr;
};
/// Save, check, update after a rename, and the exports.
const std::vector<LevelWork>& levelWorks();

} // namespace cairn::bench
