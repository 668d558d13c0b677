#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <vector>

// Truevision TGA. True colours of 24 and 32 bits stand in the file in our own order and are copied. stb_image decodes the
// other kinds; for those here stands what it takes on trust or reads wrong: that the data is as long as the size says, and
// colour maps that do not begin at 0 or that no pixel uses. It does not know rows that run from the right either.
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
    bool fromRight, fromTop;

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
    header.fromTop = (file[17] & 0x20u) != 0;
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

[[noreturn]] void refuseCut() { refuseImage(FORMAT, "its data is cut off"); }

/// The bytes of the pixels, which are long enough for a raw image and not hopelessly short for packets.
I_FileBytes takeData(const Header& header, I_FileBytes file, std::size_t pixels) {
    constexpr std::size_t LONGEST_RUN = 128;
    if (header.dataOffset() > file.size())
        refuseImage(FORMAT, "it ends ahead of its data");
    const I_FileBytes data = file.subspan(header.dataOffset());
    const std::size_t most = header.isRunLength ? data.size() / (1 + header.bytesAPixel()) * LONGEST_RUN
                                                : data.size() / header.bytesAPixel();
    if (most < pixels)
        refuseCut();
    return data;
}

/// Walks the packets, whose runs may go on from row to row but not beyond the image. `onPacket` gets each packet's first
/// pixel, the number of pixels, whether they are one pixel repeated, and its data.
template <class OnPacket>
void walkPackets(I_FileBytes data, std::size_t pixels, std::size_t bytesAPixel, OnPacket onPacket) {
    const unsigned char *at = data.data(), *const end = at + data.size();
    for (std::size_t done = 0; done < pixels;) {
        if (at == end)
            refuseCut();
        const std::size_t count = (*at & 0x7Fu) + 1;
        const bool isRepeated = (*at++ & 0x80u) != 0;
        const std::size_t bytes = isRepeated ? bytesAPixel : count * bytesAPixel;
        if (bytes > static_cast<std::size_t>(end - at))
            refuseCut();
        if (count > pixels - done)
            refuseImage(FORMAT, "a run goes beyond its last pixel");
        onPacket(done, count, isRepeated, at);
        at += bytes;
        done += count;
    }
}

bool isCopied(const Header& header) { return header.kind == COLOURS && header.depth >= 24; }

template <std::size_t BYTES> I_Color colourAt(const unsigned char* in) {
    return I_Color(in[2], in[1], in[0], BYTES == 4 ? in[3] : static_cast<unsigned char>(255));
}

template <std::size_t BYTES> void copyColours(const unsigned char* in, I_Color* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        out[i] = colourAt<BYTES>(in + i * BYTES);
}

template <std::size_t BYTES> I_DecodedImage readColours(const Header& header, I_FileBytes data) {
    I_DecodedImage image;
    image.width = static_cast<int>(header.width);
    image.height = static_cast<int>(header.height);
    const std::size_t pixels = header.width * header.height;
    image.pixels = allocatePixels(pixels);
    I_Color* out = image.pixels.get();
    const auto rowOf = [&](std::size_t y) { return out + (header.fromTop ? y : header.height - 1 - y) * header.width; };
    if (!header.isRunLength) {
        for (std::size_t y = 0; y < header.height; ++y)
            copyColours<BYTES>(data.data() + y * header.width * BYTES, rowOf(y), header.width);
        return image;
    }
    walkPackets(data, pixels, BYTES, [out](std::size_t first, std::size_t count, bool isRepeated, const auto* in) {
        if (isRepeated)
            std::fill_n(out + first, count, colourAt<BYTES>(in));
        else
            copyColours<BYTES>(in, out + first, count);
    });
    if (!header.fromTop)
        for (std::size_t y = 0; y < header.height / 2; ++y)
            std::swap_ranges(out + y * header.width, out + (y + 1) * header.width, rowOf(y));
    return image;
}

void setWord16(std::vector<unsigned char>& bytes, std::size_t offset, std::size_t value) {
    bytes[offset] = static_cast<unsigned char>(value & 0xFFu);
    bytes[offset + 1] = static_cast<unsigned char>(value >> 8);
}

/// A map's entry with red and blue in each other's place.
void appendSwapped(std::vector<unsigned char>& bytes, I_FileBytes entry) {
    if (entry.size() == 2) { // five bits each, red highest
        const unsigned word = fileWord16(entry, 0);
        bytes.resize(bytes.size() + 2);
        setWord16(bytes, bytes.size() - 2, (word & 0x83E0u) | (word >> 10 & 0x1Fu) | (word & 0x1Fu) << 10);
        return;
    }
    bytes.insert(bytes.end(), {entry[2], entry[1], entry[0]});
    bytes.insert(bytes.end(), entry.begin() + 3, entry.end());
}

/// The same image with a map that begins at 0 and makes the decoder's colours ours, or without one where no pixel uses
/// it. The entries ahead of the first are like it: an index that the map does not have shows its first colour, on whichever
/// side it is missing.
std::vector<unsigned char> withPlainMap(const Header& header, I_FileBytes file, I_FileBytes data) {
    constexpr std::size_t MOST_ENTRIES = 0xFFFF;
    const std::size_t size = header.bytesAnEntry();
    const std::size_t entries = header.kind == MAPPED ? std::min(header.mapStart + header.mapLength, MOST_ENTRIES) : 0;
    const I_FileBytes map = file.subspan(header.mapOffset(), header.mapLength * size);

    std::vector<unsigned char> plain(file.begin(), file.begin() + HEADER_SIZE);
    plain.reserve(HEADER_SIZE + entries * size + data.size());
    plain[0] = 0;
    plain[1] = header.kind == MAPPED;
    setWord16(plain, 3, 0);
    setWord16(plain, 5, entries);
    for (std::size_t i = 0; i < entries; ++i)
        appendSwapped(plain, map.subspan(i < header.mapStart ? 0 : (i - header.mapStart) * size, size));
    plain.insert(plain.end(), data.begin(), data.end());
    return plain;
}

void mirrorRows(I_DecodedImage& image) {
    for (int y = 0; y < image.height; ++y) {
        I_Color* row = image.pixels.get() + std::ptrdiff_t{y} * image.width;
        std::reverse(row, row + image.width);
    }
}

I_DecodedImage decodeOthers(const Header& header, I_FileBytes file, I_FileBytes data, std::size_t pixels) {
    if (header.isRunLength)
        walkPackets(data, pixels, header.bytesAPixel(), [](auto...) {});
    std::vector<unsigned char> plain;
    if (header.hasMap) {
        plain = withPlainMap(header, file, data);
        file = plain;
    }
    return decodeWithStb(FORMAT, file, header.kind != COLOURS);
}

} // namespace

I_DecodedImage decodeTGA(I_FileBytes file) {
    const Header header = readHeader(file);
    checkKind(header);
    const std::size_t pixels = checkImageSize(FORMAT, header.width, header.height);
    const I_FileBytes data = takeData(header, file, pixels);
    I_DecodedImage image;
    if (isCopied(header))
        image = header.depth == 24 ? readColours<3>(header, data) : readColours<4>(header, data);
    else
        image = decodeOthers(header, file, data, pixels);
    if (header.fromRight)
        mirrorRows(image);
    return image;
}

} // namespace cairn
