#include "cairn/foundation/chunk_search.h"

#include "cairn/foundation/chunk_header.h"
#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace cairn {

namespace {

using State = F_FoundChunk::State;

constexpr std::size_t HEADER = F_MemoryFile::CHUNK_HEADER_SIZE;
/// How many bytes may stand between two chunks of a level file: a count of children and an id, a count and a marker, a
/// count or an id, nothing.
constexpr std::size_t STEPS[] = {0, 4, 5, 8};
/// Bodies are summed in vain for as many times the size of all bytes, and this much more.
constexpr std::size_t VAIN_SUMS = 8, VAIN_BYTES = 1 << 20;

std::uint64_t numberAt(const unsigned char* at, std::size_t size) {
    std::uint64_t number = 0;
    while (size-- > 0)
        number = number << 8 | at[size];
    return number;
}

/// One walk over the bytes.
class ChunkSearch {
  public:
    explicit ChunkSearch(std::span<const unsigned char> bytes)
        : m_bytes(bytes), m_vainBytes(VAIN_SUMS * bytes.size() + VAIN_BYTES) {}

    std::vector<F_FoundChunk> run() {
        std::size_t at = 0;
        while ((at = findMark(at)) < m_bytes.size())
            at = look(at);
        for (std::size_t i = 0; i < m_found.size(); ++i) {
            const std::size_t next = i + 1 < m_found.size() ? m_found[i + 1].offset : m_bytes.size();
            F_FoundChunk& chunk = m_found[i];
            chunk.end = chunk.state == State::HEADER_DAMAGED ? next : std::min(chunk.end, next);
        }
        return std::move(m_found);
    }

  private:
    std::size_t findMark(std::size_t from) const {
        const auto found = std::search(m_bytes.begin() + static_cast<std::ptrdiff_t>(from), m_bytes.end(),
                                       std::begin(chunk_header::MAGIC), std::end(chunk_header::MAGIC));
        return static_cast<std::size_t>(found - m_bytes.begin());
    }

    /// Takes what begins at the mark there; gives where to go on.
    std::size_t look(std::size_t at) {
        const unsigned char* const header = m_bytes.data() + at;
        const std::size_t left = m_bytes.size() - at;
        if (left < HEADER || !isHeaderWhole(header)) {
            add(State::HEADER_DAMAGED, at, at + sizeof chunk_header::MAGIC);
            return at + sizeof chunk_header::MAGIC;
        }
        const auto sum = static_cast<std::uint32_t>(numberAt(header + chunk_header::BODY_SUM_AT, 4));
        if (sum == 0) // it stood in another one, whose header is lost
            return at + HEADER;
        const std::uint64_t length = numberAt(header + chunk_header::LENGTH_AT, 8);
        if (length > left - HEADER) {
            add(State::CUT, at, m_bytes.size());
            return at + HEADER;
        }
        const auto size = static_cast<std::size_t>(length);
        const std::size_t end = at + HEADER + size;
        if (isBodyWhole(header + HEADER, size, sum)) {
            add(State::WHOLE, at, end);
            return end;
        }
        add(State::BODY_DAMAGED, at, end);
        return leadsOn(end) ? end : at + HEADER;
    }

    static bool isHeaderWhole(const unsigned char* header) {
        return !chunk_header::isVerifying() || numberAt(header + chunk_header::HEADER_SUM_AT, 4) ==
                                                   chunk_header::sumOf(header, chunk_header::HEADER_SUM_AT);
    }

    bool isBodyWhole(const unsigned char* body, std::size_t size, std::uint32_t sum) {
        if (!chunk_header::isVerifying())
            return true;
        if (size > m_vainBytes)
            return false;
        if (chunk_header::sumOf(body, size) == sum)
            return true;
        m_vainBytes -= size;
        return false;
    }

    /// True where the next chunk, damaged or not, follows as in a level file, or nothing does.
    bool leadsOn(std::size_t end) const {
        return end == m_bytes.size() || std::any_of(std::begin(STEPS), std::end(STEPS), [&](std::size_t step) {
                   return F_looksLikeChunk(m_bytes, end + step);
               });
    }

    void add(State state, std::size_t offset, std::size_t end) {
        const bool isKnown = state != State::HEADER_DAMAGED;
        const int version =
            isKnown ? static_cast<int>(numberAt(m_bytes.data() + offset + chunk_header::VERSION_AT, 4)) : 0;
        m_found.push_back({state, offset, end, version});
    }

    std::span<const unsigned char> m_bytes;
    std::size_t m_vainBytes; ///< that may still be summed in vain
    std::vector<F_FoundChunk> m_found;
};

} // namespace

std::vector<F_FoundChunk> F_findChunks(std::span<const unsigned char> bytes) { return ChunkSearch(bytes).run(); }

bool F_looksLikeChunk(std::span<const unsigned char> bytes, std::size_t offset) {
    constexpr std::size_t SIZE = sizeof chunk_header::MAGIC;
    if (offset >= bytes.size() || bytes.size() - offset < SIZE)
        return false;
    std::size_t equal = 0;
    for (std::size_t i = 0; i < SIZE; ++i)
        equal += bytes[offset + i] == chunk_header::MAGIC[i] ? 1u : 0u;
    return equal + 1 >= SIZE;
}

} // namespace cairn
