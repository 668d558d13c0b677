#include "cairn/foundation/file.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/imaging/device_texture.h"
#include "cairn/materials/texture.h"
#include "tests/support/image_files.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;

Bytes sourceOf(const CN_Texture& texture) {
    const auto* bytes = static_cast<const unsigned char*>(texture.getSource());
    return {bytes, bytes + texture.getSourceSize()};
}

class TextureTest : public testing::Test {
  protected:
    /// Writes a file and gives its name.
    std::string file(const char* name, const Bytes& bytes) const {
        const std::string path = m_folder.path(name).string();
        F_File::replace(path, bytes);
        return path;
    }

    test::TemporaryFolder m_folder;
    test::ProcessStateGuard m_process;
    const Bytes m_red = test::makeTga(4, 2, 255, 0, 0);
};

TEST_F(TextureTest, LoadsAFileWhole) {
    const std::string name = file("Red.TGA", m_red);
    CN_Texture texture(name.c_str());
    EXPECT_EQ(texture.name(), name);
    EXPECT_EQ(sourceOf(texture), m_red);
    EXPECT_EQ(texture.getSourceFormat(), I_Image::TGA);
    EXPECT_EQ(texture.getWidth(), 4);
    EXPECT_EQ(texture.getHeight(), 2);
    double u = 0, v = 0;
    texture.getDefaultScale(u, v, 8);
    EXPECT_EQ(u, 0.5);
    EXPECT_EQ(v, 0.25);
    texture.destruct();
    EXPECT_FALSE(texture.isConstructed());
    EXPECT_FALSE(texture.hasSource());
    EXPECT_EQ(texture.getSourceFormat(), I_Image::UNSUPPORTED);
    EXPECT_EQ(texture.getWidth(), 0);
    EXPECT_EQ(texture.name(), name);
}

TEST_F(TextureTest, WhatCannotBeReadChangesNothing) {
    const std::string name = file("red.tga", m_red);
    const std::string fifo = m_folder.path("pipe.tga").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    CN_Texture texture(name.c_str());
    for (const std::string& other : {file("red.txt", m_red), m_folder.path("absent.tga").string(), fifo,
                                     std::string("/dev/zero.tga"), std::string()})
        EXPECT_FALSE(texture.load(other.c_str())) << other;
    EXPECT_EQ(texture.name(), name);
    EXPECT_EQ(sourceOf(texture), m_red);
    EXPECT_TRUE(m_process.boxes().empty());
}

TEST_F(TextureTest, WhatDoesNotDecodeLeavesNoSource) {
    const std::string name = file("red.tga", m_red);
    CN_Texture texture(name.c_str());
    EXPECT_FALSE(texture.load(file("bad.tga", Bytes(7)).c_str()));
    EXPECT_FALSE(texture.getSource());
    EXPECT_EQ(texture.getSourceSize(), 0);
    EXPECT_EQ(std::pair(texture.getWidth(), texture.getHeight()), std::pair(0, 0));
    EXPECT_EQ(texture.name(), name);
    ASSERT_EQ(m_process.boxes().size(), 1u);
    EXPECT_EQ(m_process.boxes()[0].style, MB_SYSTEMMODAL);
}

TEST_F(TextureTest, TakesBytesOverAndGivesThemBack) {
    CN_Texture texture;
    test::setSource(texture, m_red);
    EXPECT_EQ(texture.getWidth(), 4);

    const std::unique_ptr<unsigned char[]> old(
        const_cast<unsigned char*>(static_cast<const unsigned char*>(texture.getSource())));
    const Bytes wide = test::makeTga(8, 1, 1, 2, 3);
    auto* const given = new unsigned char[wide.size()];
    std::copy(wide.begin(), wide.end(), given);
    texture.setSource(given, static_cast<int>(wide.size()), false);
    EXPECT_EQ(old[2], 2) << "still the caller's";
    EXPECT_EQ(texture.getWidth(), 8);
    EXPECT_EQ(sourceOf(texture), wide);

    EXPECT_NE(failureText([&] { test::setSource(texture, Bytes(7)); }), "(nothing thrown)");
    EXPECT_EQ(texture.getSourceSize(), 7);
    EXPECT_EQ(texture.getWidth(), 0);
    EXPECT_NE(failureText([&] { texture.setSource(nullptr, -1, true); }), "(nothing thrown)");
    EXPECT_EQ(texture.getSourceSize(), 7);
    texture.setSource(nullptr, 0, true);
    EXPECT_FALSE(texture.hasSource());

    unsigned char callers[1] = {};
    texture.setSourceFormat(I_Image::UNSUPPORTED);
    EXPECT_NE(failureText([&] { texture.setSource(callers, 1, true); }), "(nothing thrown)");
    EXPECT_EQ(texture.getSource(), callers);
}

TEST_F(TextureTest, MakesTheDeviceSideWhenAsked) {
    const Bytes flat = test::makeScx(8, 8, 1), cube = test::makeScx(8, 8, 6);
    CN_Texture texture(file("flat.scx", flat).c_str());
    ASSERT_TRUE(texture.getRenderTexture());
    EXPECT_FALSE(texture.isCube());
    V::Texture* const device = texture.getRenderTexture()->getTexture();
    EXPECT_EQ(device->getFaceCount(), 1);
    EXPECT_EQ(texture.getRenderTexture()->getTexture(), device);
    EXPECT_EQ(device->getDepth(), 16);
    EXPECT_TRUE(device->hasMipLevels());

    ASSERT_TRUE(texture.load(file("cube.scx", cube).c_str()));
    EXPECT_TRUE(texture.isCube());
    EXPECT_EQ(texture.getRenderTexture()->getTexture()->getFaceCount(), 6);

    const std::string odd = file("odd.tga", test::makeTga(3, 5, 0, 0, 0));
    ASSERT_TRUE(texture.load(odd.c_str()));
    EXPECT_FALSE(texture.isCube());
    try {
        texture.getRenderTexture()->getTexture();
        FAIL() << "a size that the device refuses";
    } catch (Exception_CreateRenderTextureFailed* e) {
        const F_ExceptionGuard guard(e);
        EXPECT_NE(e->getErrorMessage().find(" (" + odd + ")"), string::npos) << e->getErrorMessage();
    }
}

TEST_F(TextureTest, EqualsByNameSizeFormatAndBytes) {
    const auto make = [](const char* name, I_Image::Format format, const Bytes& bytes) {
        auto texture = std::make_unique<CN_Texture>();
        texture->setName(name);
        texture->setSourceFormat(format);
        if (!bytes.empty())
            test::setSource(*texture, bytes, format);
        return texture;
    };
    const auto red = make("a", I_Image::TGA, m_red);
    EXPECT_TRUE(*red == *make("a", I_Image::TGA, m_red));
    EXPECT_FALSE(*red == *make("A", I_Image::TGA, m_red));
    EXPECT_FALSE(*red == *make("a", I_Image::TGA, test::makeTga(4, 2, 254, 0, 0)));
    EXPECT_FALSE(*red == *make("a", I_Image::TGA, test::makeTga(2, 4, 255, 0, 0)));
    EXPECT_FALSE(*red == *make("a", I_Image::TGA, {}));
    EXPECT_TRUE(*make("a", I_Image::PCX, {}) == *make("a", I_Image::PCX, {}));
    EXPECT_FALSE(*make("a", I_Image::PCX, {}) == *make("a", I_Image::TGA, {}));
}

} // namespace
} // namespace cairn
