#include "cairn/imaging/stb_decoder.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <string_view>

// JPEG. stb_image decodes it; here the segments are walked ahead for what it takes on trust: that the file is whole, what its
// channels are, the
// lengths of Huffman tables, and a number of scans and a size that the file can be meant to have.
namespace cairn {

namespace {

constexpr const char* FORMAT = "JPEG";

/// A progressive picture has about ten scans. Each costs the time of the whole picture, however short it is.
constexpr int MOST_SCANS = 64;
/// A block of 8 x 8 pixels takes a bit at least, twice the area where one component is halved each way.
constexpr std::uint64_t MOST_PIXELS_A_BYTE = 2 * 64 * 8;

/// What a file with four channels can be.
constexpr int CMYK = 0, YCCK = 2;

enum Marker : unsigned char {
    BASELINE = 0xC0,
    EXTENDED = 0xC1,
    PROGRESSIVE = 0xC2,
    HUFFMAN_TABLES = 0xC4,
    FIRST_RESTART = 0xD0,
    LAST_RESTART = 0xD7,
    START = 0xD8,
    END = 0xD9,
    SCAN = 0xDA,
    RESTARTS = 0xDD,
    ADOBE = 0xEE,
};

/// Goes through the segments of a file.
class Walk {
  public:
    explicit Walk(I_FileBytes file) : m_file(file) {}

    /// True where the one scan must write every sample, or the decoder fails: where it cannot give up at a restart, and no
    /// component is left out.
    bool writesAll() const { return m_scans == 1 && m_scanIsWhole && !m_isProgressive && !m_hasRestarts; }

    void check() {
        if (m_file.size() < 2 || m_file[0] != 0xFF || m_file[1] != START)
            refuseImage(FORMAT, "it does not begin like one");
        m_at = 2;
        for (unsigned char marker = nextMarker(); marker != END; marker = nextMarker()) {
            const I_FileBytes segment = takeSegment();
            if (marker == HUFFMAN_TABLES)
                checkTables(segment);
            else if (marker == BASELINE || marker == EXTENDED || marker == PROGRESSIVE)
                checkFrame(segment);
            else if (marker == RESTARTS)
                m_hasRestarts = true;
            else if (marker == ADOBE)
                readAdobe(segment);
            else if (marker == SCAN) {
                if (++m_scans > MOST_SCANS)
                    refuseImage(FORMAT, "it has too many scans");
                m_scanIsWhole = hasAllComponents(segment);
                passScanData();
            }
            m_isProgressive |= marker == PROGRESSIVE;
        }
        if (m_scans == 0)
            refuseImage(FORMAT, "it has no picture");
        // Without the word of who wrote it nobody knows what four channels are.
        if (m_components == 4 && m_transform != CMYK && m_transform != YCCK)
            refuseImage(FORMAT, "it has four channels of an unknown kind");
    }

  private:
    [[noreturn]] static void refuseCut() { refuseImage(FORMAT, "it is cut off"); }

    /// The next marker, with any fill ahead of it.
    unsigned char nextMarker() {
        while (m_at < m_file.size() && m_file[m_at] != 0xFF)
            ++m_at;
        while (m_at < m_file.size() && m_file[m_at] == 0xFF)
            ++m_at;
        if (m_at >= m_file.size())
            refuseCut();
        return m_file[m_at++];
    }

    I_FileBytes takeSegment() {
        if (m_file.size() - m_at < 2)
            refuseCut();
        const std::size_t length = m_file[m_at] * 256u + m_file[m_at + 1];
        if (length < 2)
            refuseImage(FORMAT, "a segment has no length");
        if (length > m_file.size() - m_at)
            refuseCut();
        const I_FileBytes segment = m_file.subspan(m_at + 2, length - 2);
        m_at += length;
        return segment;
    }

    /// Each table is a class, 16 counts of codes, and as many values, for which there is room for 256.
    static void checkTables(I_FileBytes segment) {
        constexpr std::size_t HEAD = 17;
        while (!segment.empty()) {
            if (segment.size() < HEAD)
                refuseImage(FORMAT, "a Huffman table is cut off");
            std::size_t codes = 0;
            for (const unsigned char count : segment.subspan(1, HEAD - 1))
                codes += count;
            if (codes > 256 || codes > segment.size() - HEAD)
                refuseImage(FORMAT, "a Huffman table is too long");
            segment = segment.subspan(HEAD + codes);
        }
    }

    void checkFrame(I_FileBytes segment) {
        if (segment.size() < 6)
            refuseImage(FORMAT, "its frame is cut off");
        const std::uint64_t height = segment[1] * 256u + segment[2];
        const std::uint64_t width = segment[3] * 256u + segment[4];
        checkImageSize(FORMAT, width, height);
        if (width * height > m_file.size() * MOST_PIXELS_A_BYTE)
            refuseImage(FORMAT, "it is too short for its size");
        m_components = segment[5];
    }

    /// The segment says how the channels are to be turned into colours.
    void readAdobe(I_FileBytes segment) {
        constexpr std::string_view NAME = "Adobe";
        constexpr std::size_t TRANSFORM_OFFSET = 11;
        if (segment.size() > TRANSFORM_OFFSET && std::equal(NAME.begin(), NAME.end(), segment.begin()))
            m_transform = segment[TRANSFORM_OFFSET];
    }

    /// True where a scan names as many components as the frame has, each another.
    bool hasAllComponents(I_FileBytes segment) const {
        if (segment.empty() || segment[0] != m_components || segment.size() < 1 + 2 * m_components)
            return false;
        std::bitset<256> named;
        for (std::size_t i = 0; i < m_components; ++i)
            named.set(segment[1 + 2 * i]);
        return named.count() == m_components;
    }

    /// Passes the data of a scan: up to a marker that is neither a stuffed byte nor a restart.
    void passScanData() {
        while (m_at < m_file.size()) {
            const void* found = std::memchr(m_file.data() + m_at, 0xFF, m_file.size() - m_at);
            if (!found)
                break;
            m_at = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - m_file.data());
            std::size_t next = m_at + 1;
            while (next < m_file.size() && m_file[next] == 0xFF)
                ++next;
            if (next >= m_file.size())
                break;
            const unsigned char code = m_file[next];
            if (code != 0 && (code < FIRST_RESTART || code > LAST_RESTART))
                return;
            m_at = next + 1;
        }
        refuseCut();
    }

    I_FileBytes m_file;
    std::size_t m_at = 0;
    std::size_t m_components = 0; ///< of the frame
    int m_transform = -1;         ///< of the channels to colours, where the file tells
    int m_scans = 0;
    bool m_scanIsWhole = false; ///< the last one has all components
    bool m_isProgressive = false, m_hasRestarts = false;
};

} // namespace

I_DecodedImage decodeJPEG(I_FileBytes file) {
    Walk walk(file);
    walk.check();
    return decodeJPEGWithStb(FORMAT, file, !walk.writesAll());
}

} // namespace cairn
