#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <vector>

// Windows bitmaps. stb_image decodes them; here stands what it takes on trust or reads wrong: that the rows are there,
// and colour maps with fewer colours than the indices can name or with colours of three bytes.
namespace cairn {

namespace {

constexpr const char* FORMAT = "BMP";
constexpr std::size_t FILE_HEADER_SIZE = 14;
constexpr std::size_t CORE_HEADER_SIZE = 12; ///< the oldest header, with sizes of 16 bits and colours of three bytes
constexpr std::size_t INFO_HEADER_SIZE = 40;

struct Header {
    std::size_t dataOffset, size;
    std::uint64_t width, height;
    bool fromTop;
    std::size_t bits;
    std::uint32_t compression;

    std::size_t bytesAColour() const { return size == CORE_HEADER_SIZE ? 3 : 4; }
    std::size_t mapOffset() const { return FILE_HEADER_SIZE + size; }
};

Header readHeader(I_FileBytes file) {
    if (file.size() < FILE_HEADER_SIZE + CORE_HEADER_SIZE || file[0] != 'B' || file[1] != 'M')
        refuseImage(FORMAT, "it does not begin like one");
    Header header{};
    header.dataOffset = fileWord32(file, 10);
    header.size = fileWord32(file, 14);
    if (header.size == CORE_HEADER_SIZE) {
        header.width = fileWord16(file, 18);
        header.height = fileWord16(file, 20);
        header.bits = fileWord16(file, 24);
    } else {
        if (header.size < INFO_HEADER_SIZE || header.size > file.size() - FILE_HEADER_SIZE)
            refuseImage(FORMAT, "its header has an unknown size");
        header.width = fileWord32(file, 18);
        const std::uint32_t height = fileWord32(file, 22);
        header.fromTop = height >= 0x80000000u;
        header.height = header.fromTop ? 0x100000000u - std::uint64_t{height} : height;
        header.bits = fileWord16(file, 28);
        header.compression = fileWord32(file, 30);
    }
    return header;
}

/// The last row needs no padding.
void checkData(const Header& header, I_FileBytes file) {
    checkImageSize(FORMAT, header.width, header.height);
    const std::uint64_t row = (header.width * header.bits + 7) / 8;
    const std::uint64_t needed = (row + 3) / 4 * 4 * (header.height - 1) + row;
    if (header.dataOffset > file.size() || needed > file.size() - header.dataOffset)
        refuseImage(FORMAT, "its data is cut off");
}

void append32(std::vector<unsigned char>& bytes, std::uint64_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<unsigned char>(value >> shift & 0xFFu));
}

/// The same image under the common header with a colour for each index, black where the file has none.
std::vector<unsigned char> withWholeMap(const Header& header, I_FileBytes file) {
    if (header.dataOffset < header.mapOffset())
        refuseImage(FORMAT, "its data stands in its header");
    if (header.compression != 0)
        refuseImage(FORMAT, "it is compressed");
    const std::size_t colours = std::size_t{1} << header.bits;
    const I_FileBytes map = file.subspan(header.mapOffset(), header.dataOffset - header.mapOffset());
    const I_FileBytes data = file.subspan(header.dataOffset);

    std::vector<unsigned char> whole{'B', 'M'};
    whole.reserve(FILE_HEADER_SIZE + INFO_HEADER_SIZE + 4 * colours + data.size());
    append32(whole, 0); // length, which nobody reads
    append32(whole, 0);
    append32(whole, FILE_HEADER_SIZE + INFO_HEADER_SIZE + 4 * colours);
    append32(whole, INFO_HEADER_SIZE);
    append32(whole, header.width);
    append32(whole, header.fromTop ? 0x100000000u - header.height : header.height);
    append32(whole, 1 | header.bits << 16); // one plane
    whole.resize(FILE_HEADER_SIZE + INFO_HEADER_SIZE + 4 * colours);
    const std::size_t present = std::min(colours, map.size() / header.bytesAColour());
    for (std::size_t i = 0; i < present; ++i)
        std::copy_n(map.begin() + static_cast<std::ptrdiff_t>(i * header.bytesAColour()), 3,
                    whole.end() - static_cast<std::ptrdiff_t>(4 * (colours - i)));
    whole.insert(whole.end(), data.begin(), data.end());
    return whole;
}

} // namespace

I_DecodedImage decodeBMP(I_FileBytes file) {
    const Header header = readHeader(file);
    checkData(header, file);
    std::vector<unsigned char> whole;
    if (header.bits == 1 || header.bits == 4 || header.bits == 8) {
        whole = withWholeMap(header, file);
        file = whole;
    } else if (header.bits != 16 && header.bits != 24 && header.bits != 32)
        refuseImage(FORMAT, "its pixels have an unknown size");
    return decodeWithStb(FORMAT, file);
}

} // namespace cairn
