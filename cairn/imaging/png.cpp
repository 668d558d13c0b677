#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <array>

// PNG. stb_image decodes it; here stands that the file is whole and that one as short can hold its size.
namespace cairn {

namespace {

constexpr const char* FORMAT = "PNG";
constexpr std::array<unsigned char, 8> SIGNATURE{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t WIDTH_OFFSET = 16, HEIGHT_OFFSET = 20, DEPTH_OFFSET = 24; ///< in the first chunk
constexpr std::array<unsigned char, 4> END{'I', 'E', 'N', 'D'};
constexpr std::size_t CHUNK_HEAD = 8, CHUNK_SUM = 4; ///< around a chunk's data: length and type, checksum
/// Deflate makes at best 258 bytes of two bits.
constexpr std::uint64_t MOST_BYTES_A_BYTE = 1032;

std::uint64_t bigEndian32(I_FileBytes file, std::size_t offset) {
    std::uint64_t value = 0;
    for (const unsigned char byte : file.subspan(offset, 4))
        value = value << 8 | byte;
    return value;
}

void checkChunks(I_FileBytes file) {
    for (bool ended = false; !ended;) {
        const std::uint64_t whole =
            file.size() < CHUNK_HEAD ? CHUNK_HEAD : bigEndian32(file, 0) + CHUNK_HEAD + CHUNK_SUM;
        if (whole > file.size())
            refuseImage(FORMAT, "it is cut off");
        ended = std::equal(END.begin(), END.end(), file.begin() + 4);
        file = file.subspan(static_cast<std::size_t>(whole));
    }
}

} // namespace

I_DecodedImage decodePNG(I_FileBytes file) {
    if (file.size() <= DEPTH_OFFSET || !std::equal(SIGNATURE.begin(), SIGNATURE.end(), file.begin()))
        refuseImage(FORMAT, "it does not begin like one");
    checkChunks(file.subspan(SIGNATURE.size()));
    // A pixel has at least one sample.
    const std::size_t pixels =
        checkImageSize(FORMAT, bigEndian32(file, WIDTH_OFFSET), bigEndian32(file, HEIGHT_OFFSET));
    const std::uint64_t bits = std::uint64_t{pixels} * file[DEPTH_OFFSET];
    if (bits / 8 / MOST_BYTES_A_BYTE > file.size())
        refuseImage(FORMAT, "it is too short for its size");
    return decodeWithStb(FORMAT, file);
}

} // namespace cairn
