#include "cairn/document/document.h"
#include "cairn/foundation/exception.h"
#include "cairn/materials/material.h"
#include "host/import_materials.h"
#include "host/level_session.h"
#include "host/png_writer.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace cairn;
using namespace cairn::host;
namespace fs = std::filesystem;

namespace {

/// A folder of images with another beside it that must stay closed.
class ImportImagesTest : public testing::Test {
  protected:
    ImportImagesTest() {
        write("images/e1/wall.tga");
        write("images/e2/Wall.png", true);
        write("images/e2/*lava.png", true);
        write("images/a.b.jpg");
        write("images/notes.txt");
        write("outside/secret.png");
        fs::create_symlink("../outside/secret.png", m_root / "images/link.png");
        fs::create_directory_symlink("../outside", m_root / "images/door");
        fs::create_symlink("e2/Wall.png", m_root / "images/alias.png");
    }
    void write(const std::string& name, bool whole = false) const {
        fs::create_directories((m_root / name).parent_path());
        const std::vector<I_Color> pixels(8 * 16, I_Color(10, 20, 30));
        const std::vector<unsigned char> png = encodePng(pixels.data(), 8, 16);
        std::ofstream(m_root / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(png.data()), whole ? static_cast<std::streamsize>(png.size()) : 20);
    }
    std::string found(const ImportImages& images, std::string_view name) const {
        const auto file = images.find(name);
        return file ? images.nameInside(*file) : "";
    }

    test::TemporaryFolder m_temporary;
    fs::path m_root = m_temporary.path("root");
    Console m_console;
    LevelSession m_session{m_console, ""};
};

TEST_F(ImportImagesTest, FindsNamesInsideTheFolderAndNothingElse) {
    const ImportImages images(m_root / "images");
    const std::pair<const char*, const char*> cases[] = {
        {"wall", "e1/wall.tga"},
        {"E2/WALL", "e2/Wall.png"},
        {"textures/e2/wall", "e2/Wall.png"},
        {"wall.png", "e2/Wall.png"},
        {"c:\\art\\e2\\wall.tga", "e2/Wall.png"},
        {"*lava", "e2/*lava.png"},
        {"a.b", "a.b.jpg"},
        {"notes", ""},
        {"e1/../e2/Wall.png", "e2/Wall.png"},
        {"alias", "e2/Wall.png"},
        {"link", ""},
        {"secret", ""},
        {"door/secret.png", ""},
        {"../outside/secret.png", ""},
        {"", ""},
        {"..", ""},
        {"/", ""},
    };
    for (const auto& [name, file] : cases)
        EXPECT_EQ(found(images, name), file) << name;
    for (const std::string outside :
         {"link.png", "door/secret.png", "..\\outside/secret.png", "../nothing.png", "..", "/etc/secret.png"})
        EXPECT_TRUE(images.leadsOutside(outside)) << outside;
    for (const std::string inside : {"", "secret", "e1/../nothing.png", "nothing/..", "c:\\art\\nothing.png"})
        EXPECT_FALSE(images.leadsOutside(inside)) << inside;
    EXPECT_EQ(found(images, (m_root / "outside/secret.png").string()), "");
    const ImportImages direct = ImportImages::withoutSearch(m_root / "images");
    EXPECT_EQ(found(direct, "e2/Wall.png"), "e2/Wall.png");
    EXPECT_EQ(found(direct, "wall"), "");
    EXPECT_EQ(found(direct, "../outside/secret.png"), "");
    EXPECT_EQ(found(ImportImages(), "wall"), "");
    EXPECT_THROW(
        try { ImportImages(m_root / "missing"); } catch (F_Exception* e) {
            F_ExceptionGuard guard(e);
            throw 1;
        },
        int);
}

TEST_F(ImportImagesTest, MakesEachMaterialOnce) {
    const auto document = m_session.createDocument();
    const ImportImages images(m_root / "images");
    ImportMaterials materials(*document, "level", 32, images);
    CN_Material& lava = materials.get("*lava");
    EXPECT_EQ(&materials.get("*LAVA"), &lava);
    EXPECT_EQ(lava.name(), "*lava");
    EXPECT_EQ(lava.getTexture()->getWidth(), 8);
    EXPECT_EQ(lava.getTexture()->getHeight(), 16);
    EXPECT_EQ(lava.getTexture()->name(), "e2/*lava.png") << "no path of this machine goes into a level";
    CN_Material& broken = materials.get("wall");
    CN_Material& generated = materials.get("nothing");
    for (const CN_Material* material : {&broken, &generated})
        EXPECT_EQ(material->getTexture()->getWidth(), ImportMaterials::GENERATED_SIZE);
    EXPECT_EQ(materials.get("other", "e2/wall.png").getTexture()->name(), "e2/Wall.png");
    materials.get("first", "../outside/secret.png");
    materials.get("second", "../outside/secret.png");
    EXPECT_EQ(materials.getCounts().outside, (std::set<std::string>{"../outside/secret.png"}));
    EXPECT_EQ(materials.getCounts().found, 2u);
    EXPECT_EQ(materials.getCounts().generated, 4u);
    EXPECT_EQ(materials.getCounts().undecoded, 1u);
    EXPECT_EQ(document->getMaterials().find("level", "nothing"), &generated);
    EXPECT_EQ(document->getTextures().list().count(), 6u);
}

TEST_F(ImportImagesTest, MakesNoMoreMaterialsThanMemoryHolds) {
    const auto document = m_session.createDocument();
    const ImportImages images(m_root / "images");
    ImportMaterials materials(*document, "level", 32, images);
    for (std::size_t i = 0; i < ImportMaterials::MAX_MATERIALS; ++i)
        materials.get(std::to_string(i), "e2/wall.png"); // which all share the icons
    EXPECT_NE(test::failureText([&] { materials.get("one more"); }).find("16384 materials"), std::string::npos);
}

} // namespace
