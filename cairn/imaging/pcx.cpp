#include "cairn/imaging/image_decoders.h"

#include <algorithm>
#include <vector>

// PCX of 8 bits a sample: one plane of indices with a map of 256 colours at the file's end, or a plane a channel.
namespace cairn {

namespace {

constexpr const char* FORMAT = "PCX";
constexpr std::size_t HEADER_SIZE = 128;
constexpr std::size_t MAP_SIZE = 1 + 3 * 256; ///< a mark and the colours
constexpr unsigned char MAP_MARK = 12;
/// A run of 63 bytes takes two.
constexpr std::uint64_t MOST_BYTES_A_BYTE = 32;

struct Header {
    std::size_t width, height, planes, bytesARow;
};

Header readHeader(I_FileBytes file) {
    if (file.size() < HEADER_SIZE || file[0] != 10)
        refuseImage(FORMAT, "it does not begin like one");
    if (file[2] != 1)
        refuseImage(FORMAT, "it is not run-length encoded");
    const unsigned left = fileWord16(file, 4), top = fileWord16(file, 6);
    const unsigned right = fileWord16(file, 8), bottom = fileWord16(file, 10);
    if (right < left || bottom < top)
        refuseImage(FORMAT, "it has no size");
    Header header{};
    header.width = right - left + 1;
    header.height = bottom - top + 1;
    header.planes = file[65];
    header.bytesARow = fileWord16(file, 66);
    if (file[3] != 8 || (header.planes != 1 && header.planes != 3))
        refuseImage(FORMAT, "only 256 colours and 24 bits a pixel are read");
    if (header.bytesARow < header.width)
        refuseImage(FORMAT, "its rows are too short");
    return header;
}

/// Unpacks runs, which may go on from row to row.
class Runs {
  public:
    explicit Runs(I_FileBytes data) : m_data(data) {}

    void read(std::vector<unsigned char>& row) {
        for (std::size_t done = 0; done < row.size();) {
            if (m_left == 0)
                next();
            const std::size_t part = std::min(m_left, row.size() - done);
            std::fill_n(row.begin() + static_cast<std::ptrdiff_t>(done), part, m_value);
            done += part;
            m_left -= part;
        }
    }

  private:
    unsigned char take() {
        if (m_data.empty())
            refuseImage(FORMAT, "its data is cut off");
        const unsigned char byte = m_data.front();
        m_data = m_data.subspan(1);
        return byte;
    }
    void next() {
        m_value = take();
        m_left = 1;
        if (m_value >= 0xC0) {
            m_left = m_value & 0x3Fu; // none is a run too
            m_value = take();
        }
    }

    I_FileBytes m_data;
    std::size_t m_left = 0; ///< of the run
    unsigned char m_value = 0;
};

void readMapped(const Header& header, Runs& runs, I_FileBytes map, I_Color* out) {
    std::vector<unsigned char> row(header.bytesARow);
    for (std::size_t y = 0; y < header.height; ++y) {
        runs.read(row);
        for (std::size_t x = 0; x < header.width; ++x) {
            const I_FileBytes colour = map.subspan(row[x] * std::size_t{3}, 3);
            *out++ = I_Color(colour[0], colour[1], colour[2]);
        }
    }
}

void readPlanes(const Header& header, Runs& runs, I_Color* out) {
    std::vector<unsigned char> row(header.planes * header.bytesARow);
    const unsigned char* red = row.data();
    const unsigned char* green = red + header.bytesARow;
    const unsigned char* blue = green + header.bytesARow;
    for (std::size_t y = 0; y < header.height; ++y) {
        runs.read(row);
        for (std::size_t x = 0; x < header.width; ++x)
            *out++ = I_Color(red[x], green[x], blue[x]);
    }
}

} // namespace

I_DecodedImage decodePCX(I_FileBytes file) {
    const Header header = readHeader(file);
    const bool isMapped = header.planes == 1;
    I_FileBytes data = file.subspan(HEADER_SIZE), map;
    if (isMapped) {
        if (data.size() < MAP_SIZE || data[data.size() - MAP_SIZE] != MAP_MARK)
            refuseImage(FORMAT, "it has no colour map at its end");
        map = data.last(MAP_SIZE - 1);
        data = data.first(data.size() - MAP_SIZE);
    }
    const std::size_t count = checkImageSize(FORMAT, header.width, header.height);
    if (std::uint64_t{header.planes} * header.bytesARow * header.height > data.size() * MOST_BYTES_A_BYTE)
        refuseImage(FORMAT, "its data is cut off");

    I_DecodedImage image;
    image.width = static_cast<int>(header.width);
    image.height = static_cast<int>(header.height);
    image.pixels = allocatePixels(count);
    Runs runs(data);
    if (isMapped)
        readMapped(header, runs, map, image.pixels.get());
    else
        readPlanes(header, runs, image.pixels.get());
    return image;
}

} // namespace cairn
