#include "cairn/imaging/image_decoders.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

// The container of surfaces: a header of 124 bytes, behind a word of four letters where there is one, then the faces, each
// followed by its smaller copies. Pixels of 24 or 32 bits, their channels where the masks say, rows without padding.
namespace cairn {

namespace {

constexpr const char* FORMAT = "SCX";
constexpr std::string_view MAGIC = "DDS ";

// Where the header's words stand, and their bits.
constexpr std::size_t SIZE = 0, FLAGS = 4, HEIGHT = 8, WIDTH = 12, LEVELS = 24;
constexpr std::size_t PIXEL_SIZE = 72, PIXEL_FLAGS = 76, BITS = 84, RED = 88, GREEN = 92, BLUE = 96, ALPHA = 100;
constexpr std::uint32_t HAS_LEVELS = 0x20000;
constexpr std::uint32_t PIXELS_HAVE_ALPHA = 0x1, PIXELS_ARE_COLOURS = 0x40;
constexpr std::uint32_t PIXEL_HEADER_SIZE = 32;
constexpr std::uint32_t IS_VOLUME = 0x200000;
constexpr std::uint32_t FACES = 0xFC00; ///< a bit a face
constexpr unsigned ALL_FACES = 6;

/// Where a channel stands in a pixel's word, and what makes 255 of its largest value.
struct Channel {
    std::uint32_t mask = 0;
    int shift = 0;
    std::uint32_t most = 0; ///< 0 where there is no such channel

    explicit Channel(std::uint32_t bits) : mask(bits) {
        if (mask == 0)
            return;
        shift = std::countr_zero(mask);
        most = mask >> shift;
        if ((most & (most + 1)) != 0)
            refuseImage(FORMAT, "a channel's bits do not stand together");
    }
    unsigned char of(std::uint32_t word, unsigned char without) const {
        if (most == 0)
            return without;
        return static_cast<unsigned char>(std::uint64_t{(word & mask) >> shift} * 255 / most);
    }
};

struct Layout {
    std::size_t width, height;
    unsigned faces;
    std::size_t bytesAPixel;
    unsigned levels; ///< the full picture included
    Channel red, green, blue, alpha;

    bool isOurs() const {
        return bytesAPixel == 4 && red.mask == 0xFF0000 && green.mask == 0xFF00 && blue.mask == 0xFF &&
               alpha.mask == 0xFF000000;
    }
    /// The bytes of a face with its smaller copies. Both sides are at most `MAX_PIXELS`.
    std::uint64_t bytesAFace() const {
        std::uint64_t pixels = 0;
        for (unsigned level = 0; level < levels; ++level)
            pixels += std::max<std::uint64_t>(width >> level, 1) * std::max<std::uint64_t>(height >> level, 1);
        return pixels * bytesAPixel;
    }
};

unsigned facesOf(const I_SurfaceHeader& header) {
    if (!header.isCube())
        return 1;
    const int named = std::popcount(header.getCaps2() & FACES);
    return named > 0 ? static_cast<unsigned>(named) : ALL_FACES;
}

Layout readLayout(const I_SurfaceHeader& header) {
    if (header.word(SIZE) != header.bytes.size() || header.word(PIXEL_SIZE) != PIXEL_HEADER_SIZE)
        refuseImage(FORMAT, "it does not begin like one");
    const std::uint32_t pixelFlags = header.word(PIXEL_FLAGS), bits = header.word(BITS);
    if ((pixelFlags & PIXELS_ARE_COLOURS) == 0 || (bits != 24 && bits != 32))
        refuseImage(FORMAT, "only plain colours of 24 and 32 bits are read");
    if ((header.getCaps2() & IS_VOLUME) != 0)
        refuseImage(FORMAT, "it is no flat picture");
    const unsigned faces = facesOf(header);
    checkImageSize(FORMAT, header.word(WIDTH), header.word(HEIGHT), faces);

    const std::uint32_t longer = std::max(header.word(WIDTH), header.word(HEIGHT));
    const std::uint32_t levels = (header.word(FLAGS) & HAS_LEVELS) ? std::max(header.word(LEVELS), 1u) : 1u;
    if (levels > static_cast<std::uint32_t>(std::bit_width(longer)))
        refuseImage(FORMAT, fmt::format("it has {} sizes, which are too many", levels));
    return {header.word(WIDTH),
            header.word(HEIGHT),
            faces,
            bits / 8,
            levels,
            Channel(header.word(RED)),
            Channel(header.word(GREEN)),
            Channel(header.word(BLUE)),
            Channel((pixelFlags & PIXELS_HAVE_ALPHA) ? header.word(ALPHA) : 0)};
}

void readFace(const Layout& layout, const unsigned char* in, I_Color* out, std::size_t count) {
    if (layout.isOurs()) {
        std::memcpy(out, in, count * sizeof(I_Color));
        return;
    }
    for (std::size_t i = 0; i < count; ++i, in += layout.bytesAPixel) {
        std::uint32_t word = in[0] | in[1] * 0x100u | in[2] * 0x10000u;
        if (layout.bytesAPixel == 4)
            word |= in[3] * 0x1000000u;
        out[i] = I_Color(layout.red.of(word, 0), layout.green.of(word, 0), layout.blue.of(word, 0),
                         layout.alpha.of(word, 255));
    }
}

} // namespace

I_DecodedImage decodeSCX(I_FileBytes file) {
    if (file.size() >= MAGIC.size() && std::equal(MAGIC.begin(), MAGIC.end(), file.begin()))
        file = file.subspan(MAGIC.size());
    I_DecodedImage image;
    image.surfaceHeader = std::make_unique<I_SurfaceHeader>();
    auto& headerBytes = image.surfaceHeader->bytes;
    if (file.size() < headerBytes.size())
        refuseImage(FORMAT, "it ends in its header");
    std::copy_n(file.begin(), headerBytes.size(), headerBytes.begin());
    const Layout layout = readLayout(*image.surfaceHeader);
    file = file.subspan(headerBytes.size());

    // Its smaller copies may lack behind the last face.
    const std::size_t count = layout.width * layout.height;
    const std::uint64_t stride = layout.bytesAFace();
    if (stride * (layout.faces - 1) + count * layout.bytesAPixel > file.size())
        refuseImage(FORMAT, "its data is cut off");
    image.width = static_cast<int>(layout.width);
    image.height = static_cast<int>(layout.height);
    image.faceCount = static_cast<int>(layout.faces);
    image.pixels = allocatePixels(count * layout.faces);
    for (std::size_t face = 0; face < layout.faces; ++face)
        readFace(layout, file.data() + face * stride, image.pixels.get() + face * count, count);
    return image;
}

} // namespace cairn
