#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/foundation/chunk_search.h"
#include "cairn/foundation/exception.h"
#include "host/salvage_map.h"

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace cairn::host {

using Bytes = std::span<const unsigned char>;

/// Calls `read` with the bytes of a chunk that is whole, or of what else stands between two places. True where it read
/// all of them without a fault; with `allowNewer` a newer writer's additional data may be left.
template <class Read> bool readsWhole(Bytes bytes, Read&& read, bool allowNewer = false) {
    try {
        F_MemoryFile file(bytes.data(), bytes.size(), false);
        return read(file) && file.getRemaining() == 0 && (allowNewer || file.getUnreadBytes() == 0);
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

Bytes bytesOf(Bytes level, const F_FoundChunk& chunk);
/// The body of a chunk whose header is whole, damaged as it may be, in a new chunk of that version.
void rewrap(Bytes level, const F_FoundChunk& chunk, F_MemoryFile& file);

/// Writes bytes of any number.
void append(F_MemoryFile& file, Bytes bytes);

/// True where the chunk, which is whole, holds that record and nothing else.
bool holds(Bytes level, const F_FoundChunk& chunk, LevelPart part);

/// The common record of an entity, read without its kind: a waypoint, which has no record of its own. Null where the chunk
/// holds none. Of a chunk whose body is damaged it gives what was read ahead of the damage, which may be wrong.
std::unique_ptr<CN_LevelEntity> readCommonRecord(Bytes level, const F_FoundChunk& chunk);

/// An `int` that stands bare at the place.
int bareNumber(Bytes level, std::size_t offset);

/// True for the ids of entities.
bool isEntityKind(int id);

/// A name as a report tells it, where it looks like one; else empty.
std::string readableName(const CString& name);

} // namespace cairn::host
