#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <array>
#include <vector>

// PNG. stb_image decodes it; here stands that the file is whole, that one as short can hold its size, and that a palette
// has all the colours that its pixels can name.
namespace cairn {

namespace {

constexpr const char* FORMAT = "PNG";
constexpr std::array<unsigned char, 8> SIGNATURE{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t WIDTH_OFFSET = 16, HEIGHT_OFFSET = 20, DEPTH_OFFSET = 24,
                      KIND_OFFSET = 25; ///< in the first chunk
constexpr std::array<unsigned char, 4> END{'I', 'E', 'N', 'D'}, PALETTE{'P', 'L', 'T', 'E'};
constexpr unsigned char WITH_PALETTE = 3;            ///< the kind of pixels that are places in the palette
constexpr std::size_t CHUNK_HEAD = 8, CHUNK_SUM = 4; ///< around a chunk's data: length and type, checksum
/// Deflate makes at best 258 bytes of two bits.
constexpr std::uint64_t MOST_BYTES_A_BYTE = 1032;

std::uint64_t bigEndian32(I_FileBytes file, std::size_t offset) {
    std::uint64_t value = 0;
    for (const unsigned char byte : file.subspan(offset, 4))
        value = value << 8 | byte;
    return value;
}

/// Checks that the chunks are whole to the last and gives the first palette: where its chunk begins in `file` and the
/// bytes of its colours, 0 and none where there is none.
struct Palette {
    std::size_t begin = 0, bytes = 0;
};
Palette checkChunks(I_FileBytes file) {
    const std::size_t size = file.size();
    Palette palette;
    for (bool ended = false; !ended;) {
        const std::uint64_t whole =
            file.size() < CHUNK_HEAD ? CHUNK_HEAD : bigEndian32(file, 0) + CHUNK_HEAD + CHUNK_SUM;
        if (whole > file.size())
            refuseImage(FORMAT, "it is cut off");
        ended = std::equal(END.begin(), END.end(), file.begin() + 4);
        if (palette.bytes == 0 && std::equal(PALETTE.begin(), PALETTE.end(), file.begin() + 4))
            palette = {size - file.size(), static_cast<std::size_t>(whole) - CHUNK_HEAD - CHUNK_SUM};
        file = file.subspan(static_cast<std::size_t>(whole));
    }
    return palette;
}

/// A copy of the file whose palette has black in the places that were missing: stb_image takes what stands in its memory
/// for these. It does not look at a chunk's checksum.
std::vector<unsigned char> withWholePalette(I_FileBytes file, const Palette& palette, std::size_t bytes) {
    const std::size_t colors = palette.begin + CHUNK_HEAD, end = colors + palette.bytes;
    std::vector<unsigned char> whole(file.size() - palette.bytes + bytes);
    std::copy_n(file.begin(), end, whole.begin());
    std::copy(file.begin() + static_cast<std::ptrdiff_t>(end), file.end(),
              whole.begin() + static_cast<std::ptrdiff_t>(colors + bytes));
    whole.at(palette.begin + 2) = static_cast<unsigned char>(bytes >> 8);
    whole.at(palette.begin + 3) = static_cast<unsigned char>(bytes);
    return whole;
}

} // namespace

I_DecodedImage decodePNG(I_FileBytes file) {
    if (file.size() <= KIND_OFFSET || !std::equal(SIGNATURE.begin(), SIGNATURE.end(), file.begin()))
        refuseImage(FORMAT, "it does not begin like one");
    Palette palette = checkChunks(file.subspan(SIGNATURE.size()));
    palette.begin += SIGNATURE.size();
    // A pixel has at least one sample.
    const std::size_t pixels =
        checkImageSize(FORMAT, bigEndian32(file, WIDTH_OFFSET), bigEndian32(file, HEIGHT_OFFSET));
    const std::uint64_t bits = std::uint64_t{pixels} * file[DEPTH_OFFSET];
    if (bits / 8 / MOST_BYTES_A_BYTE > file.size())
        refuseImage(FORMAT, "it is too short for its size");
    const std::size_t wholePalette = 3u << std::min<unsigned>(file[DEPTH_OFFSET], 8);
    if (file[KIND_OFFSET] == WITH_PALETTE && palette.bytes > 0 && palette.bytes < wholePalette)
        return decodeWithStb(FORMAT, withWholePalette(file, palette, wholePalette));
    return decodeWithStb(FORMAT, file);
}

} // namespace cairn
