#include "cairn/foundation/file.h"
#include "cairn/imaging/image.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/image_files.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/sha256.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <set>

namespace cairn {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

const fs::path SEEDS = test::projectFile("fuzz/seeds/image_decode");

void construct(I_Image& image, I_Image::Format format, std::span<const unsigned char> bytes) {
    image.construct(format, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}
void construct(I_Image& image, const fs::path& file) {
    construct(image, I_Image::determineImageFormat(file.c_str()), F_File::readAll(file.string()));
}

/// True where `work` throws that exception.
template <class Exception = I_ImageException, class Work> bool isRefused(Work&& work) {
    try {
        work();
    } catch (Exception* e) {
        e->Delete();
        return true;
    }
    return false;
}

/// Red, green, blue, alpha of each pixel, face after face.
string channelsOf(const I_Image& image) {
    string channels;
    const int count = image.getWidth() * image.getHeight() * image.getFaceCount();
    for (const I_Color* pixel = image.getPixels(); pixel < image.getPixels() + count; ++pixel)
        for (const unsigned char channel : {pixel->red, pixel->green, pixel->blue, pixel->alpha})
            channels += static_cast<char>(channel);
    return channels;
}

TEST(Image, DecodesImagesOfOtherPrograms) {
    CAIRN_SHARED_DATA_OR_SKIP(folder, "images");
    const struct {
        const char* name;
        int width, height;
        std::array<double, 4> mean;
        const char* hash; ///< start of the channels' SHA-256, empty where the format leaves room
    } images[] = {
        {"24bit.pcx", 435, 353, {43.14, 66.75, 48.27, 255}, "b60c7abec434"},
        {"256-palette.pcx", 435, 353, {42.55, 66.83, 47.95, 255}, "4c2db8cf2896"},
        {"b5-attrib.tga", 4, 4, {83.88, 152.19, 132.19, 255}, "e43b8dfb0018"},
        {"b5-cmap.tga", 4, 4, {83.88, 152.19, 132.19, 255}, "e43b8dfb0018"},
        {"baseline_420_exif.jpg", 113, 150, {99.91, 102.83, 83.01, 255}, ""},
        {"baseline_444_iptc.jpg", 64, 48, {93.88, 96.86, 119.37, 255}, ""},
        {"bottom_right.tga", 75, 70, {166.46, 206.77, 224.28, 124.90}, ""},
        {"cbw8.tga", 128, 128, {132.50, 132.50, 132.50, 255}, "63b953eea39d"},
        {"ccm8.tga", 128, 128, {95.62, 95.62, 95.62, 255}, "291f88aa4416"},
        {"cmap_offset.tga", 12, 6, {127.75, 145.67, 124.11, 255}, "b25b6c273410"},
        {"ctc24.tga", 128, 128, {95.62, 95.62, 95.62, 255}, "291f88aa4416"},
        {"progressive_420_cat.jpg", 320, 240, {137.48, 143.20, 128.04, 255}, ""},
        {"progressive_444_test.jpg", 32, 23, {181.87, 131.48, 128.73, 255}, ""},
        {"top_left.tga", 75, 70, {166.46, 206.77, 224.28, 124.90}, ""},
        {"ucm8.tga", 128, 128, {95.62, 95.62, 95.62, 255}, "291f88aa4416"},
        {"utc16.tga", 128, 128, {95.62, 95.62, 95.62, 255}, "291f88aa4416"},
        {"utc32.tga", 128, 128, {95.62, 95.62, 95.62, 0}, "d997b0ead3b9"},
    };
    std::set<string> listed;
    for (const auto& expected : images) {
        I_Image image;
        ASSERT_NO_THROW(construct(image, folder / expected.name)) << expected.name;
        EXPECT_EQ(image.getWidth(), expected.width) << expected.name;
        EXPECT_EQ(image.getHeight(), expected.height) << expected.name;
        const string channels = channelsOf(image);
        std::array<double, 4> sum{};
        for (std::size_t i = 0; i < channels.size(); ++i)
            sum[i % 4] += static_cast<unsigned char>(channels[i]);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(sum[i] * 4 / static_cast<double>(channels.size()), expected.mean[i], 1.0) << expected.name;
        if (*expected.hash) {
            EXPECT_EQ(test::sha256(channels).substr(0, 12), expected.hash) << expected.name;
        }
        listed.insert(expected.name);
    }
    for (const auto& entry : fs::directory_iterator(folder)) {
        const string name = entry.path().filename().string();
        if (entry.is_regular_file() && !listed.contains(name)) {
            I_Image image;
            EXPECT_TRUE(isRefused([&] { construct(image, entry.path()); })) << name;
        }
    }
}

TEST(Image, TakesOrRefusesWhatAFuzzerMade) {
    CAIRN_SHARED_DATA_OR_SKIP(folder, "images/fuzz-seeds");
    const char* seedFolder = std::getenv("CAIRN_FUZZ_SEED_DIR");
    int taken = 0, files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const Bytes bytes = F_File::readAll(entry.path().string());
        const I_Image::Format format = I_Image::determineImageFormat(entry.path().c_str());
        const test::AllocationMeter meter;
        ++files;
        try {
            I_Image image;
            construct(image, format, bytes);
            ++taken;
        } catch (I_ImageException* e) {
            e->Delete();
        }
        EXPECT_LE(meter.peak(), std::size_t{16} << 20) << entry.path();
        if (seedFolder) {
            fs::create_directories(fs::path(seedFolder) / "image_decode");
            F_File::replace((fs::path(seedFolder) / "image_decode" / entry.path().filename()).string(), bytes);
        }
    }
    EXPECT_EQ(files, 101);
    EXPECT_GE(taken, 12); // those that are whole
}

/// An uncompressed or run-length TGA; what stands behind the header is `data`.
Bytes tga(unsigned char type, unsigned char width, unsigned char height, unsigned char depth, unsigned char descriptor,
          const Bytes& data, unsigned char mapLength = 0) {
    Bytes file{0, mapLength > 0, type, 0, 0, mapLength, 0, 24, 0, 0, 0, 0, width, 0, height, 0, depth, descriptor};
    for (const unsigned char byte : data)
        file.push_back(byte);
    return file;
}

TEST(Image, DecodesWhatIsEasilyReadWrong) {
    const auto seed = [](const char* name) { return F_File::readAll((SEEDS / name).string()); };
    const Bytes crossing{0x84, 1, 2, 3, 0x00, 4, 5, 6}; // five pixels and one, in rows of three
    constexpr unsigned char TOP = 0x20, RIGHT = 0x10;
    const auto scx = [](int width, int height, int bits, unsigned char faces, const Bytes& pixels) {
        Bytes file = test::makeScx(static_cast<unsigned char>(width), static_cast<unsigned char>(height), 1);
        file[80] = 0x40; // without alpha
        file[88] = static_cast<unsigned char>(bits);
        file[113] = faces;
        file.resize(128);
        file.insert(file.end(), pixels.begin(), pixels.end());
        return file;
    };
    const auto mapped = [](unsigned char mapBits, unsigned char depth, const Bytes& mapAndIndex) {
        Bytes file{0, 1, 1, 0, 0, 2, 0, mapBits, 0, 0, 0, 0, 1, 0, 1, 0, depth, TOP};
        for (const unsigned char byte : mapAndIndex)
            file.push_back(byte);
        return file;
    };
    const struct {
        const char* what;
        I_Image::Format format;
        Bytes file;
        std::vector<I_Color> pixels; ///< the first ones
    } images[] = {
        {"a colour map from 3 on", I_Image::TGA, seed("map.tga"), {{2, 1, 0}, {2, 1, 0}}},
        {"runs over rows", I_Image::TGA, tga(10, 3, 2, 24, TOP, crossing), {{3, 2, 1}, {3, 2, 1}, {3, 2, 1}}},
        {"rows from the bottom", I_Image::TGA, tga(10, 3, 2, 24, 0, crossing), {{3, 2, 1}, {3, 2, 1}, {6, 5, 4}}},
        {"rows from the right", I_Image::TGA, tga(10, 3, 2, 24, RIGHT, crossing), {{6, 5, 4}, {3, 2, 1}, {3, 2, 1}}},
        {"a map nobody uses", I_Image::TGA, tga(2, 1, 1, 24, TOP, {9, 9, 9, 1, 2, 3}, 1), {{3, 2, 1}}},
        {"an index beyond the map", I_Image::TGA, tga(1, 1, 1, 8, TOP, {1, 2, 3, 7}, 1), {{3, 2, 1}}},
        {"fewer colours than indices", I_Image::BMP, seed("map.bmp"), {{3, 2, 1}, {6, 5, 4}, {9, 8, 7}, {9, 8, 7}}},
        {"fewer colours than indices", I_Image::PNG, seed("short_palette.png"), {{255, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
        {"padded rows", I_Image::PCX, seed("planes.pcx"), {{200, 200, 200}, {200, 200, 200}, {200, 200, 200}}},
        {"channels by masks", I_Image::SCX, seed("plain.scx"), {{0, 1, 2}, {3, 4, 5}}},
        {"a map of 32 bits", I_Image::TGA, mapped(32, 8, {9, 9, 9, 9, 1, 2, 3, 4, 1}), {{3, 2, 1, 4}}},
        {"a map of 16 bits", I_Image::TGA, mapped(16, 8, {0x1F, 0, 0, 0x7C, 1}), {{255, 0, 0}}},
        {"indices of 16 bits", I_Image::TGA, mapped(24, 16, {1, 2, 3, 4, 5, 6, 1, 0}), {{6, 5, 4}}},
        {"a grey of 16 bits", I_Image::TGA, tga(3, 1, 1, 16, TOP, {7, 9}), {{7, 7, 7, 9}}},
        {"rows that end oddly", I_Image::SCX, scx(1, 2, 24, 0, {1, 2, 3, 4, 5, 6}), {{3, 2, 1}, {6, 5, 4}}},
        {"two faces", I_Image::SCX, scx(1, 1, 32, 0x0E, {1, 2, 3, 0, 4, 5, 6, 0}), {{3, 2, 1}, {6, 5, 4}}},
    };
    for (const auto& expected : images) {
        I_Image image;
        ASSERT_NO_THROW(construct(image, expected.format, expected.file)) << expected.what;
        for (std::size_t i = 0; i < expected.pixels.size(); ++i)
            EXPECT_EQ(image.getPixels()[i], expected.pixels[i]) << expected.what << ", pixel " << i;
        EXPECT_EQ(image.getSurfaceHeader() != nullptr, expected.format == I_Image::SCX);
    }
    EXPECT_TRUE(isRefused([&] {
        I_Image image;
        construct(image, I_Image::JPEG,
                  F_File::readAll(test::projectFile("tests/data/images/four_channels.jpg")
                                      .string())); // of which nothing says what they are
    }));
    for (const int levels : {3, 4}) { // of a side of 4 there are 4, 2 and 1
        Bytes file = test::makeScx(4, 4, 1);
        file[10] = 0x02; // it says how many
        file[28] = static_cast<unsigned char>(levels);
        I_Image image;
        EXPECT_EQ(isRefused([&] { construct(image, I_Image::SCX, file); }), levels == 4);
    }
}

TEST(Image, KeepsTheFacesOfACube) {
    I_Image cube;
    construct(cube, SEEDS / "cube.scx");
    ASSERT_EQ(cube.getFaceCount(), 6);
    ASSERT_TRUE(cube.getSurfaceHeader() && cube.getSurfaceHeader()->isCube());
    for (int face = 0; face < 6; ++face) // each face has 16 bytes and a smaller copy of 4
        EXPECT_EQ(cube.getPixels(face)->blue, face * 20) << face;

    I_Image whole(cube, false), plain(cube, true);
    EXPECT_EQ(channelsOf(whole), channelsOf(cube));
    EXPECT_EQ(whole.getSurfaceHeader()->bytes, cube.getSurfaceHeader()->bytes);
    EXPECT_EQ(channelsOf(plain), channelsOf(cube).substr(0, 16));
    EXPECT_EQ(plain.getSurfaceHeader(), nullptr);

    Bytes two = F_File::readAll((SEEDS / "cube.scx").string());
    two[4 + 109] = 0x06; // the cube's bit and one face's
    construct(cube, I_Image::SCX, two);
    EXPECT_EQ(cube.getFaceCount(), 1);
    EXPECT_TRUE(cube.getSurfaceHeader()->isCube());
}

TEST(Image, RefusesEveryCutAndSurvivesEveryChange) {
    for (const auto& entry : fs::directory_iterator(SEEDS)) {
        const I_Image::Format format = I_Image::determineImageFormat(entry.path().c_str());
        const Bytes file = F_File::readAll(entry.path().string());
        // The smaller copy of the last face may lack.
        const std::size_t needed = entry.path().filename() == "cube.scx" ? file.size() - 4 : file.size();
        for (std::size_t size = 0; size < needed; ++size) {
            I_Image image;
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_TRUE(isRefused([&] { construct(image, format, cut); })) << entry.path() << " cut at " << size;
        }
        const auto result = test::driveHostileBytes(file, [format](std::span<const unsigned char> bytes) {
            I_Image image;
            construct(image, format, bytes);
        });
        EXPECT_EQ(result.text(), "") << entry.path();
        EXPECT_GT(result.taken, 0u) << entry.path();
    }
}

TEST(Image, AllocatesNothingForSizesThatAFileCannotHold) {
    const struct {
        const char* seed;
        std::size_t offset; ///< of two bytes of its width and of its height
        std::size_t offsetOfHeight;
    } claims[] = {{"runs.tga", 12, 14},   {"planes.pcx", 8, 10}, {"grid.png", 18, 22},
                  {"grid.jpg", 163, 165}, {"grid.bmp", 18, 22},  {"plain.scx", 12, 8}};
    for (const auto& claim : claims)
        for (const int huge : {0x20, 0xFF}) {
            Bytes file = F_File::readAll((SEEDS / claim.seed).string());
            for (const std::size_t at : {claim.offset, claim.offsetOfHeight})
                file[at] = file[at + 1] = static_cast<unsigned char>(huge);
            const test::AllocationMeter meter;
            I_Image image;
            EXPECT_TRUE(isRefused([&] { construct(image, I_Image::determineImageFormat(claim.seed), file); }))
                << claim.seed;
            EXPECT_LT(meter.peak(), std::size_t{1} << 20) << claim.seed;
        }
    EXPECT_TRUE(isRefused([] { I_Image(1u << 16, 1u << 16); }));
}

TEST(Image, KeepsWhatItHeldWhereDecodingFails) {
    I_Image image(2, 1);
    EXPECT_EQ(channelsOf(image), string(8, '\0'));
    image.accessPixels()[1] = I_Color(1, 2, 3);
    HBITMAP bitmap = image.makeDIB();
    const char bytes[] = "no image at all";
    for (const int format : {0, 1, 2, 3, 4, 5, 6, 7, -1})
        EXPECT_TRUE(isRefused([&] { image.construct(static_cast<I_Image::Format>(format), bytes, sizeof bytes); }));
    EXPECT_TRUE(isRefused([&] { image.construct(I_Image::TGA, nullptr, 0); }));
    EXPECT_TRUE(isRefused([&] { image.construct(I_Image::TGA, bytes, -1); }));
    EXPECT_EQ(image.getPixels()[1], I_Color(1, 2, 3));
    ASSERT_EQ(image.getDIB(), bitmap);
    EXPECT_EQ(bitmap->pixels, (Bytes{0, 0, 0, 0, 3, 2, 1, 255}));

    construct(image, SEEDS / "grid.png");
    EXPECT_EQ(image.getDIB(), nullptr);
    EXPECT_EQ(I_Image().makeDIB(), nullptr);
}

TEST(Image, TellsFormatsByTheEndingInAnyCase) {
    EXPECT_EQ(I_Image::determineImageFormat("a.b/C.TgA"), I_Image::TGA);
    EXPECT_EQ(I_Image::determineImageFormat("a.tga.jpeg"), I_Image::JPEG);
    EXPECT_EQ(I_Image::determineImageFormat("\xFF.SCX"), I_Image::SCX);
    for (const char* name : {"", "tga", "a.tga ", "a.gif", static_cast<const char*>(nullptr)})
        EXPECT_TRUE(isRefused<I_ImageException_UnknownImageFormat>([&] { I_Image::determineImageFormat(name); }));
}

} // namespace
} // namespace cairn
