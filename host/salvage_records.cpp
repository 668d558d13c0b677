#include "host/salvage_records.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"

#include <algorithm>

namespace cairn::host {

namespace {

using Chunk = F_MemoryFile::Chunk;

/// Steps over the chunks that stand there; false where one does not.
bool skipChunks(F_MemoryFile& file, std::size_t count) {
    for (; count > 0; --count)
        file.skipChunk();
    return true;
}

bool isVersion(F_MemoryFile& in) {
    CString sentinel;
    in >> sentinel;
    in.dropRest();
    return sentinel == g_strSentinel;
}

bool isTextures(F_MemoryFile& in) {
    const std::size_t count = in.readCount(F_MemoryFile::CHUNK_HEADER_SIZE);
    return skipChunks(in, count) && in.getRemaining() == 0;
}

bool isCategory(F_MemoryFile& in) {
    unsigned int count = 0;
    CString name;
    in >> count >> name;
    return in.getRemaining() == 0;
}

bool isLightmaps(F_MemoryFile& in) {
    for (std::size_t count = in.readCount(4 + F_MemoryFile::CHUNK_HEADER_SIZE); count > 0; --count) {
        unsigned long id = 0;
        in >> id;
        in.skipChunk();
    }
    return skipChunks(in, 1) && in.getRemaining() == 0; // the curve
}

bool isSelection(F_MemoryFile& in) {
    unsigned char hasNumbers = 0, withChildren = 0;
    in >> hasNumbers;
    if (hasNumbers == 1)
        for (std::size_t count = in.readTaggedCount(F_MemoryFile::TAG_VECTOR, 4); count > 0; --count) {
            unsigned int number = 0;
            in >> number;
        }
    in >> withChildren;
    return hasNumbers <= 1 && withChildren <= 1 && in.getRemaining() == 0;
}

bool isGroups(F_MemoryFile& in) {
    istring name;
    for (std::size_t count = in.readCount(4); count > 0; --count)
        in >> name;
    return in.getRemaining() == 0;
}

/// Reads the body of the chunk that stands there; the rest counts as read.
template <class Test> bool holdsInBody(Bytes bytes, Test&& test) {
    return readsWhole(
        bytes,
        [&](F_MemoryFile& file) {
            Chunk chunk;
            file.openChunk(chunk, 0);
            const bool held = test(chunk.getMemoryFile());
            file.skipChunk();
            return held;
        },
        true);
}

bool isMaterial(Bytes bytes) {
    return readsWhole(bytes, [](F_MemoryFile& file) {
        CN_Material material; // without a list it finds no texture, and says so, but has read its record
        material.load(file);
        return true;
    });
}

bool isPreferences(Bytes bytes) {
    return readsWhole(bytes, [](F_MemoryFile& file) {
        CN_DocumentPreferences().loadDocumentPreferences(file);
        return true;
    });
}

/// Reads the common record of a chunk whose checksums are right.
void readCommon(CN_LevelEntity& entity, Bytes chunk, std::size_t& left, std::size_t& unread) {
    F_MemoryFile file;
    append(file, chunk);
    file.writeCount(0);
    file.toRead();
    entity.load(file);
    left = file.getRemaining();
    unread = file.getUnreadBytes();
}

} // namespace

Bytes bytesOf(Bytes level, const F_FoundChunk& chunk) { return level.subspan(chunk.offset, chunk.end - chunk.offset); }

void rewrap(Bytes level, const F_FoundChunk& chunk, F_MemoryFile& file) {
    const std::size_t begin = std::min(chunk.offset + F_MemoryFile::CHUNK_HEADER_SIZE, chunk.end);
    file.createChunk(0, chunk.version);
    append(file, level.subspan(begin, chunk.end - begin));
    file.closeChunk();
}

void append(F_MemoryFile& file, Bytes bytes) {
    constexpr std::size_t MOST = std::size_t{1} << 30; // a write takes an int
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(MOST, bytes.size())))
        file.write(bytes.data(), static_cast<int>(std::min(MOST, bytes.size())));
}

bool holds(Bytes level, const F_FoundChunk& chunk, LevelPart part) {
    const Bytes bytes = bytesOf(level, chunk);
    switch (part) {
    case LevelPart::VERSION:
        return holdsInBody(bytes, isVersion);
    case LevelPart::TEXTURES:
        return holdsInBody(bytes, isTextures);
    case LevelPart::CATEGORY:
        return chunk.version == CAIRN_MATERIALS_CATEGORY_VERSION && holdsInBody(bytes, isCategory);
    case LevelPart::MATERIAL:
        return isMaterial(bytes);
    case LevelPart::LIGHTMAPS:
        return holdsInBody(bytes, isLightmaps);
    case LevelPart::PREFERENCES:
        return isPreferences(bytes);
    case LevelPart::ENTITY:
        return readCommonRecord(level, chunk) != nullptr;
    case LevelPart::SELECTION:
        return holdsInBody(bytes, isSelection);
    case LevelPart::GROUPS:
        return holdsInBody(bytes, isGroups);
    case LevelPart::UNKNOWN:
        break;
    }
    return false;
}

std::unique_ptr<CN_LevelEntity> readCommonRecord(Bytes level, const F_FoundChunk& chunk) {
    std::unique_ptr<CN_LevelEntity> entity(CN_EntityFactory::instance()->createEntity(CN_KIND_WAYPOINT, nullptr));
    std::size_t left = 0, unread = 0;
    try {
        if (chunk.isWhole()) {
            readCommon(*entity, bytesOf(level, chunk), left, unread);
        } else {
            F_MemoryFile again;
            rewrap(level, chunk, again);
            readCommon(*entity, {static_cast<const unsigned char*>(again.getAddress()), again.getSize()}, left, unread);
        }
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return chunk.isWhole() ? nullptr : std::move(entity);
    }
    const bool isNewer = chunk.version > CAIRN_LVL_ENTITY_VERSION;
    return !chunk.isWhole() || (left == 0 && (unread == 0 || isNewer)) ? std::move(entity) : nullptr;
}

int bareNumber(Bytes level, std::size_t offset) {
    int number = 0;
    F_MemoryFile(level.data() + offset, sizeof number, false) >> number;
    return number;
}

bool isEntityKind(int id) { return CN_EntityFactory::instance()->isKnown(id); }

std::string readableName(const CString& name) {
    constexpr std::size_t LONGEST = 256;
    const std::string_view text = name.view();
    const bool readable = text.size() <= LONGEST && std::none_of(text.begin(), text.end(), [](char c) {
                              return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
                          });
    return readable ? std::string(text) : std::string();
}

} // namespace cairn::host
