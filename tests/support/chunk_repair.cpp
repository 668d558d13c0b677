#include "tests/support/chunk_repair.h"

#include "cairn/foundation/checksum.h"
#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace cairn::test {

namespace {

constexpr unsigned char MAGIC[4] = {0xC7, 'c', 'k', 0xF1};
constexpr std::size_t LENGTH_AT = 12, BODY_SUM_AT = 20, HEADER_SUM_AT = 24;
constexpr std::size_t HEADER_SIZE = F_MemoryFile::CHUNK_HEADER_SIZE;

struct FoundChunk {
    std::size_t at = 0;
    std::size_t length = 0; ///< of the body
    bool outermost = false; ///< stands in no other, so that its body has a sum
};

std::uint64_t lengthAt(std::span<const unsigned char> image, std::size_t at) {
    std::uint64_t length = 0;
    for (std::size_t i = 8; i-- > 0;)
        length = length << 8 | image[at + LENGTH_AT + i];
    return length;
}

void storeSum(std::span<unsigned char> image, std::size_t at, std::size_t from, std::size_t size) {
    const std::uint64_t sum = checksum64(image.data() + from, size);
    for (std::size_t i = 0; i < 4; ++i)
        image[at + i] = static_cast<unsigned char>(sum >> 8 * i);
}

std::vector<FoundChunk> findChunks(std::span<const unsigned char> image) {
    std::vector<FoundChunk> found;
    std::size_t outerEnd = 0;
    for (std::size_t at = 0; at + HEADER_SIZE <= image.size(); ++at) {
        if (!std::equal(std::begin(MAGIC), std::end(MAGIC), image.begin() + static_cast<std::ptrdiff_t>(at)))
            continue;
        const std::uint64_t length = lengthAt(image, at);
        const bool fits = length <= image.size() - at - HEADER_SIZE;
        const bool outermost = fits && at >= outerEnd;
        if (outermost)
            outerEnd = at + HEADER_SIZE + static_cast<std::size_t>(length);
        found.push_back({at, fits ? static_cast<std::size_t>(length) : 0, outermost});
        at += HEADER_SIZE - 1;
    }
    return found;
}

} // namespace

void repairChunks(std::span<unsigned char> image) {
    std::vector<FoundChunk> chunks = findChunks(image);
    // The nested headers first, as the outermost bodies hold them.
    std::stable_partition(chunks.begin(), chunks.end(), [](const FoundChunk& c) { return !c.outermost; });
    for (const FoundChunk& c : chunks) {
        if (c.outermost)
            storeSum(image, c.at + BODY_SUM_AT, c.at + HEADER_SIZE, c.length);
        storeSum(image, c.at + HEADER_SUM_AT, c.at, HEADER_SUM_AT);
    }
}

} // namespace cairn::test
