#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <vector>

// Truevision TGA. stb_image decodes it; here stands what it takes on trust or reads wrong: that the data is as long as
// the size says, colour maps that do not begin at 0 or that no pixel uses, and rows that run from the right.
namespace cairn {

namespace {

constexpr const char* FORMAT = "TGA";
constexpr std::size_t HEADER_SIZE = 18;

/// What the low bits of the type say; 8 above it is run-length encoding.
enum Kind : unsigned { MAPPED = 1, COLOURS = 2, GREYS = 3 };

struct Header {
    std::size_t idLength;
    bool hasMap;
    Kind kind;
    bool isRunLength;
    std::size_t mapStart, mapLength, mapBits;
    std::size_t width, height, depth;
    bool fromRight;

    std::size_t bytesAPixel() const { return (depth + 7) / 8; }
    std::size_t bytesAnEntry() const { return (mapBits + 7) / 8; }
    std::size_t mapOffset() const { return HEADER_SIZE + idLength; }
    std::size_t dataOffset() const { return mapOffset() + (hasMap ? mapLength * bytesAnEntry() : 0); }
};

Header readHeader(I_FileBytes file) {
    if (file.size() < HEADER_SIZE)
        refuseImage(FORMAT, "it ends in its header");
    Header header{};
    header.idLength = file[0];
    header.hasMap = file[1] == 1;
    const unsigned type = file[2];
    header.kind = static_cast<Kind>(type & 7u);
    header.isRunLength = (type & 8u) != 0;
    header.mapStart = fileWord16(file, 3);
    header.mapLength = fileWord16(file, 5);
    header.mapBits = file[7];
    header.width = fileWord16(file, 12);
    header.height = fileWord16(file, 14);
    header.depth = file[16];
    header.fromRight = (file[17] & 0x10u) != 0;
    if (file[1] > 1 || type > 15)
        refuseImage(FORMAT, "its type is unknown");
    return header;
}

bool isOneOf(std::size_t value, std::initializer_list<std::size_t> values) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

void checkKind(const Header& header) {
    switch (header.kind) {
    case MAPPED:
        if (!header.hasMap || header.mapLength == 0 || !isOneOf(header.mapBits, {15, 16, 24, 32}))
            refuseImage(FORMAT, "it has no colour map of a known kind");
        if (!isOneOf(header.depth, {8, 16}))
            refuseImage(FORMAT, "its indices have an unknown size");
        return;
    case COLOURS:
        if (!isOneOf(header.depth, {15, 16, 24, 32}))
            refuseImage(FORMAT, "its colours have an unknown size");
        return;
    case GREYS:
        if (!isOneOf(header.depth, {8, 16}))
            refuseImage(FORMAT, "its greys have an unknown size");
        return;
    }
    refuseImage(FORMAT, "its type is unknown");
}

/// Walks the packets, whose runs may go on from row to row but not beyond the image.
void checkRuns(I_FileBytes data, std::size_t pixels, std::size_t bytesAPixel) {
    std::size_t at = 0, done = 0;
    while (done < pixels && at < data.size()) {
        const std::size_t run = (data[at] & 0x7Fu) + 1;
        at += 1 + ((data[at] & 0x80u) ? bytesAPixel : run * bytesAPixel);
        done += run;
    }
    if (done < pixels || at > data.size())
        refuseImage(FORMAT, "its data is cut off");
    if (done > pixels)
        refuseImage(FORMAT, "a run goes beyond its last pixel");
}

void checkData(const Header& header, I_FileBytes file, std::size_t pixels) {
    if (header.dataOffset() > file.size())
        refuseImage(FORMAT, "it ends ahead of its data");
    const I_FileBytes data = file.subspan(header.dataOffset());
    if (header.isRunLength)
        checkRuns(data, pixels, header.bytesAPixel());
    else if (data.size() / header.bytesAPixel() < pixels)
        refuseImage(FORMAT, "its data is cut off");
}

void setWord16(std::vector<unsigned char>& bytes, std::size_t offset, std::size_t value) {
    bytes[offset] = static_cast<unsigned char>(value & 0xFFu);
    bytes[offset + 1] = static_cast<unsigned char>(value >> 8);
}

/// The same image with a map that begins at 0, or without one where no pixel uses it. The entries ahead of the first are
/// like it: an index that the map does not have shows its first colour, on whichever side it is missing.
std::vector<unsigned char> withPlainMap(const Header& header, I_FileBytes file) {
    constexpr std::size_t MOST_ENTRIES = 0xFFFF;
    const bool keepMap = header.kind == MAPPED;
    const std::size_t entries = keepMap ? std::min(header.mapStart + header.mapLength, MOST_ENTRIES) : 0;
    const std::size_t kept = entries > header.mapStart ? entries - header.mapStart : 0;
    const I_FileBytes map = file.subspan(header.mapOffset(), header.mapLength * header.bytesAnEntry());
    const I_FileBytes data = file.subspan(header.dataOffset());

    std::vector<unsigned char> plain(file.begin(), file.begin() + HEADER_SIZE);
    plain.reserve(HEADER_SIZE + entries * header.bytesAnEntry() + data.size());
    plain[0] = 0;
    plain[1] = keepMap;
    setWord16(plain, 3, 0);
    setWord16(plain, 5, entries);
    const I_FileBytes first = map.first(keepMap ? header.bytesAnEntry() : 0);
    for (std::size_t i = kept; i < entries; ++i)
        plain.insert(plain.end(), first.begin(), first.end());
    const I_FileBytes own = map.first(kept * header.bytesAnEntry());
    plain.insert(plain.end(), own.begin(), own.end());
    plain.insert(plain.end(), data.begin(), data.end());
    return plain;
}

void mirrorRows(I_DecodedImage& image) {
    for (int y = 0; y < image.height; ++y) {
        I_Color* row = image.pixels.get() + std::ptrdiff_t{y} * image.width;
        std::reverse(row, row + image.width);
    }
}

} // namespace

I_DecodedImage decodeTGA(I_FileBytes file) {
    const Header header = readHeader(file);
    checkKind(header);
    checkData(header, file, checkImageSize(FORMAT, header.width, header.height));
    std::vector<unsigned char> plain;
    if (header.hasMap && (header.mapStart != 0 || header.kind != MAPPED)) {
        plain = withPlainMap(header, file);
        file = plain;
    }
    I_DecodedImage image = decodeWithStb(FORMAT, file, false);
    if (header.fromRight)
        mirrorRows(image);
    return image;
}

} // namespace cairn
