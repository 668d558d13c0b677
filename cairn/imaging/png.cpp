#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <array>

// PNG. stb_image decodes it and knows where it is cut; here stands only that a file as short as this one can hold its size.
namespace cairn {

namespace {

constexpr const char* FORMAT = "PNG";
constexpr std::array<unsigned char, 8> SIGNATURE{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t DEPTH_OFFSET = 24; ///< behind the signature, the first chunk's head, width and height
/// Deflate makes at best 258 bytes of two bits.
constexpr std::uint64_t MOST_BYTES_A_BYTE = 1032;

std::uint64_t bigEndian32(I_FileBytes file, std::size_t offset) {
    std::uint64_t value = 0;
    for (const unsigned char byte : file.subspan(offset, 4))
        value = value << 8 | byte;
    return value;
}

} // namespace

I_DecodedImage decodePNG(I_FileBytes file) {
    if (file.size() <= DEPTH_OFFSET || !std::equal(SIGNATURE.begin(), SIGNATURE.end(), file.begin()))
        refuseImage(FORMAT, "it does not begin like one");
    // A pixel has at least one sample.
    const std::uint64_t bits =
        checkImageSize(FORMAT, bigEndian32(file, 16), bigEndian32(file, 20)) * std::uint64_t{file[DEPTH_OFFSET]};
    if (bits / 8 / MOST_BYTES_A_BYTE > file.size())
        refuseImage(FORMAT, "it is too short for its size");
    return decodeWithStb(FORMAT, file, false);
}

} // namespace cairn
