#include "cairn/foundation/memory_file.h"

#include "cairn/foundation/chunk_header.h"
#include "cairn/foundation/exception.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace cairn {

namespace {

using namespace chunk_header;

constexpr std::uint32_t MAGIC_NUMBER = 0xF16B63C7; ///< the mark as it is stored
constexpr std::size_t SMALLEST_BUFFER = 256;

#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
bool s_verifying = false;
#else
bool s_verifying = true;
#endif

/// Two fields of a header that stand one after the other, the low half of `second`. A header is summed when it has only just
/// been written, eight bytes at a time: bytes that were stored in smaller pieces the sum would have to wait for.
std::uint64_t pair(std::uint64_t first, std::uint64_t second) { return (first & UINT32_MAX) | second << 32; }

} // namespace

bool chunk_header::isVerifying() { return s_verifying; }

F_MemoryFile::F_MemoryFile(unsigned int size) : m_writing(true) {
    if (size > 0)
        makeRoom(size);
}

F_MemoryFile::F_MemoryFile(const void* data, std::size_t size, bool copy) { construct(data, size, copy); }

F_MemoryFile::F_MemoryFile(F_MemoryFile& parent, const unsigned char* begin, std::size_t size)
    : m_data(begin), m_readAt(begin), m_readEnd(begin + size), m_origin(parent.absolute(begin)), m_nested(true),
      m_root(parent.m_root) {}

F_MemoryFile::F_MemoryFile(F_MemoryFile& parent, std::size_t embeddedSize)
    : F_MemoryFile(parent, parent.m_readAt - embeddedSize, embeddedSize) {
    m_nested = parent.m_nested;
}

F_MemoryFile::~F_MemoryFile() {
    if (m_lastChunk)
        m_lastChunk->m_parent = nullptr;
}

void F_MemoryFile::reset() {
    if (m_lastChunk)
        m_lastChunk->m_parent = nullptr;
    m_lastChunk = nullptr;
    m_owned.reset();
    m_data = nullptr;
    m_writeAt = m_writeEnd = nullptr;
    m_readAt = m_readEnd = nullptr;
    m_origin = 0;
    m_writing = m_nested = false;
    m_openChunks.clear();
    m_root = this;
    m_unreadBytes = 0;
}

void F_MemoryFile::construct(const void* data, std::size_t size, bool copy) {
    std::unique_ptr<unsigned char, Free> own;
    if (copy && size > 0) {
        own.reset(static_cast<unsigned char*>(std::malloc(size)));
        if (!own)
            throw new F_MemoryException_Allocation;
        std::memcpy(own.get(), data, size);
    }
    reset();
    m_owned = std::move(own);
    m_data = copy ? m_owned.get() : static_cast<const unsigned char*>(data);
    m_readAt = m_data;
    m_readEnd = m_data + size;
}

void F_MemoryFile::toRead() {
    if (!m_openChunks.empty())
        fail("The file cannot turn to reading: a chunk is still open for writing");
    if (m_writing) {
        m_readEnd = m_writeAt;
        m_writeAt = m_writeEnd = nullptr;
        m_writing = false;
    }
    m_readAt = m_data;
    if (m_root == this)
        m_unreadBytes = 0;
}

bool F_MemoryFile::setVerifying(bool verify) { return std::exchange(s_verifying, verify); }

void F_MemoryFile::fail(const string& what) const {
    throw new F_Exception(what + formatText(" (at offset %zu)", getPosition()));
}

void F_MemoryFile::failRead(std::size_t size, const char* what) const {
    if (m_writing)
        fail(formatText("Reading %s from a file that is open for writing", what));
    fail(formatText("The data ends where %s of %zu bytes was expected; %zu are left", what, size, getRemaining()));
}

void F_MemoryFile::reverse(unsigned char* at, std::size_t size) { std::reverse(at, at + size); }

std::uint32_t F_MemoryFile::narrowed(unsigned long v) const {
    if (v > UINT32_MAX && v != std::numeric_limits<unsigned long>::max())
        fail(formatText("The number %lu does not fit into 32 bits", v));
    return static_cast<std::uint32_t>(v);
}

void F_MemoryFile::makeRoom(std::size_t size) {
    if (!m_writing)
        fail("Writing to a file that is open for reading");
    const std::size_t used = static_cast<std::size_t>(m_writeAt - m_data);
    const std::size_t room = static_cast<std::size_t>(m_writeEnd - m_data);
    const std::size_t wanted = std::max({used + size, 2 * room, SMALLEST_BUFFER});
    auto* grown = static_cast<unsigned char*>(std::realloc(m_owned.get(), wanted));
    if (!grown)
        throw new F_MemoryException_Allocation;
    static_cast<void>(m_owned.release());
    m_owned.reset(grown);
    m_data = grown;
    m_writeAt = grown + used;
    m_writeEnd = grown + wanted;
}

void F_MemoryFile::reserve(std::size_t size) {
    if (!m_writing || static_cast<std::size_t>(m_writeEnd - m_writeAt) < size)
        makeRoom(size);
}

/// Cuts the file back to an earlier size and the chunks that were open then.
void F_MemoryFile::takeBack(std::size_t size, std::size_t openChunks) {
    if (!m_writing)
        return;
    m_writeAt = m_owned.get() + size;
    m_openChunks.resize(openChunks);
}

void F_MemoryFile::createChunk(int id, int version) {
    if (static_cast<std::size_t>(m_writeEnd - m_writeAt) < CHUNK_HEADER_SIZE)
        makeRoom(CHUNK_HEADER_SIZE);
    m_openChunks.push_back(getSize());
    std::memset(m_writeAt, 0, CHUNK_HEADER_SIZE);
    store(m_writeAt, pair(MAGIC_NUMBER, static_cast<std::uint32_t>(id)));
    store(m_writeAt + VERSION_AT, version);
    m_writeAt += CHUNK_HEADER_SIZE;
}

void F_MemoryFile::closeChunk() {
    if (m_openChunks.empty())
        fail("No chunk is open that could be closed");
    unsigned char* const header = m_owned.get() + m_openChunks.back();
    m_openChunks.pop_back();
    const unsigned char* const body = header + CHUNK_HEADER_SIZE;
    const auto length = static_cast<std::size_t>(m_writeAt - body);
    const std::uint32_t bodySum = m_openChunks.empty() ? sumOf(body, length) : 0;
    std::uint32_t version = 0;
    fetch(header + VERSION_AT, version);
    store(header + VERSION_AT, pair(version, length));
    store(header + LENGTH_AT + sizeof(std::uint32_t), pair(std::uint64_t{length} >> 32, bodySum));
    store(header + HEADER_SUM_AT, sumOf(header, HEADER_SUM_AT));
}

bool F_MemoryFile::beginsLikeChunk() const {
    const std::size_t left = getRemaining();
    return left > 0 && std::memcmp(m_readAt, MAGIC, std::min(left, sizeof MAGIC)) == 0;
}

/// True and the header where a chunk stands here, false where none does; throws where one stands that is damaged.
bool F_MemoryFile::readHeader(ChunkHeader& header) const {
    if (m_writing)
        fail("Reading a chunk from a file that is open for writing");
    if (!beginsLikeChunk())
        return false;
    const std::size_t left = getRemaining();
    if (left < CHUNK_HEADER_SIZE)
        fail(formatText("The data ends within a chunk's header; %zu bytes of %zu are left", left, CHUNK_HEADER_SIZE));
    std::uint32_t headerSum = 0;
    fetch(m_readAt + ID_AT, header.id);
    fetch(m_readAt + VERSION_AT, header.version);
    fetch(m_readAt + LENGTH_AT, header.length);
    fetch(m_readAt + BODY_SUM_AT, header.bodySum);
    fetch(m_readAt + HEADER_SUM_AT, headerSum);
    if (s_verifying && headerSum != sumOf(m_readAt, HEADER_SUM_AT))
        fail("A chunk's header is damaged: its checksum is wrong");
    if (header.length > left - CHUNK_HEADER_SIZE)
        fail(formatText("The data ends within a chunk: its body of %llu bytes was expected, %zu are left",
                        static_cast<unsigned long long>(header.length), left - CHUNK_HEADER_SIZE));
    return true;
}

void F_MemoryFile::fill(Chunk& chunk, const ChunkHeader& header) {
    const unsigned char* const body = m_readAt + CHUNK_HEADER_SIZE;
    const auto length = static_cast<std::size_t>(header.length);
    if (s_verifying && !m_nested && header.bodySum != sumOf(body, length))
        fail(formatText("A chunk of %zu bytes is damaged: the checksum of its body is wrong", length));
    if (m_lastChunk)
        m_lastChunk->m_parent = nullptr;
    m_lastChunk = &chunk;
    chunk.m_parent = this;
    chunk.m_start = getPosition();
    chunk.m_id = header.id;
    chunk.m_version = header.version;
    F_MemoryFile& view = chunk.m_body;
    view.m_data = view.m_readAt = body;
    view.m_readEnd = body + length;
    view.m_origin = absolute(body);
    view.m_nested = true;
    view.m_root = m_root;
    chunk.m_valid = true;
}

void F_MemoryFile::openChunk(Chunk& chunk, int id) {
    chunk.release();
    ChunkHeader header;
    if (!readHeader(header))
        fail(formatText("No chunk stands where one with the id %d was expected", id));
    if (header.id != id)
        fail(formatText("A chunk with the id %d stands where one with the id %d was expected", header.id, id));
    fill(chunk, header);
}

void F_MemoryFile::peekChunk(Chunk& chunk) {
    chunk.release();
    ChunkHeader header;
    if (readHeader(header))
        fill(chunk, header);
}

void F_MemoryFile::skipChunk() {
    ChunkHeader header;
    if (!readHeader(header))
        fail("No chunk stands where one was to be skipped");
    const auto length = static_cast<std::size_t>(header.length);
    const bool known = m_lastChunk && m_lastChunk->m_start == getPosition();
    noteUnread(known ? m_lastChunk->m_body.getRemaining() : length);
    m_readAt += CHUNK_HEADER_SIZE + length;
}

void F_MemoryFile::Chunk::release() {
    if (m_parent)
        m_parent->m_lastChunk = nullptr;
    m_parent = nullptr;
    m_valid = false;
    m_id = m_version = 0;
    m_start = 0;
    m_body.reset();
}

std::size_t F_MemoryFile::beginEmbedded() {
    *this << 0u;
    return getSize() - sizeof(std::uint32_t);
}

void F_MemoryFile::endEmbedded(std::size_t sizeAt) {
    const std::size_t size = getSize() - sizeAt - sizeof(std::uint32_t);
    if (size > UINT32_MAX)
        fail("An embedded file is too long to be stored");
    store(m_owned.get() + sizeAt, static_cast<std::uint32_t>(size));
}

/// Reads the size and steps over the bytes, which the caller then views.
std::size_t F_MemoryFile::takeEmbedded() {
    std::uint32_t size = 0;
    get(size, "the size of an embedded file");
    if (getRemaining() < size)
        failRead(size, "an embedded file");
    m_readAt += size;
    return size;
}

void F_MemoryFile::writeTag(BasicType type) { *this << static_cast<int>(type); }

void F_MemoryFile::readTag(BasicType type) {
    int tag = 0;
    get(tag, "a container's tag");
    if (tag != static_cast<int>(type)) {
        m_readAt -= sizeof tag;
        fail(formatText("A container's tag %d stands where %d was expected", tag, static_cast<int>(type)));
    }
}

std::uint32_t F_MemoryFile::narrowedCount(std::size_t count) const {
    if (count > UINT32_MAX)
        fail(formatText("%zu elements are more than can be stored", count));
    return static_cast<std::uint32_t>(count);
}

void F_MemoryFile::writeCount(std::size_t count) { *this << narrowedCount(count); }

/// Replaces a count that was written when it was not known yet.
void F_MemoryFile::setCount(std::size_t at, std::size_t count) { store(m_owned.get() + at, narrowedCount(count)); }

std::size_t F_MemoryFile::readCount(std::size_t minBytesPerElement) {
    unsigned int count = 0;
    get(count, "a count");
    if (count > getRemaining() / std::max<std::size_t>(minBytesPerElement, 1))
        fail(formatText("A count of %u elements cannot stand in the %zu bytes that are left", count, getRemaining()));
    return count;
}

void F_MemoryFile::writeTaggedCount(BasicType type, std::size_t count) {
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        fail(formatText("%zu elements are more than can be stored", count));
    writeTag(type);
    *this << static_cast<int>(count);
}

std::size_t F_MemoryFile::readTaggedCount(BasicType type, std::size_t minBytesPerElement) {
    readTag(type);
    const std::size_t count = readCount(minBytesPerElement);
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        fail("A container's count is negative");
    return count;
}

void F_MemoryFile::write(const void* data, int size) {
    if (size < 0)
        fail(formatText("Writing a negative number of bytes (%d)", size));
    const auto bytes = static_cast<std::size_t>(size);
    if (static_cast<std::size_t>(m_writeEnd - m_writeAt) < bytes || !m_writing)
        makeRoom(bytes);
    if (bytes > 0)
        std::memcpy(m_writeAt, data, bytes);
    m_writeAt += bytes;
}

void F_MemoryFile::read(void* data, int size) {
    if (size < 0)
        fail(formatText("Reading a negative number of bytes (%d)", size));
    const auto bytes = static_cast<std::size_t>(size);
    if (getRemaining() < bytes || m_writing)
        failRead(bytes, "a block");
    if (bytes > 0)
        std::memcpy(data, m_readAt, bytes);
    m_readAt += bytes;
}

} // namespace cairn
