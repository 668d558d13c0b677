#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/foundation/file.h"
#include "cairn/imaging/image.h"
#include "cairn/materials/material.h"
#include "host/label_font.h"
#include "host/safe_file_names.h"
#include "host/sheet_layout.h"
#include "tests/host/program_run.h"
#include "tests/support/image_files.h"
#include "tests/support/old_materials.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace cairn::host {
namespace {

using test::Bytes;
using test::ProgramRun;
using Json = nlohmann::ordered_json;

TEST(SafeFileNames, NameOneFileInTheFolder) {
    const struct {
        std::string name, ending, made;
    } CASES[] = {
        {"wall.TGA", ".tga", "wall.TGA"},
        {"WALL.tga", ".tga", "WALL_2.tga"},
        {"wall_2.tga", ".tga", "wall_2_2.tga"},
        {"wall.tga", ".tga", "wall_3.tga"},
        {"../../etc/passwd", ".tga", "passwd.tga"},
        {"C:\\textures\\sky.pcx", ".pcx", "sky.pcx"},
        {"..", ".bin", "_...bin"},
        {"", ".bin", "_.bin"},
        {"a/", ".tga", "_.tga"},
        {".hidden.tga", ".tga", "_.hidden.tga"},
        {"NUL.tga", ".tga", "_NUL.tga"},
        {"com1.old.tga", ".tga", "_com1.old.tga"},
        {std::string("a\0b\n\x7F?*\xFF.tga", 12), ".tga", "a_b_____.tga"},
        {"gr\xC3\xBCn.tga", ".tga", "gr\xC3\xBCn.tga"},
        {"trailing. ", "", "trailing._"},
        {"x", "./\\\n\x7F:a", "x._____a"},
    };
    SafeFileNames names;
    for (const auto& each : CASES)
        EXPECT_EQ(names.make(each.name, each.ending), each.made) << each.name;
    std::string longName;
    for (int i = 0; i < 200; ++i)
        longName += "\xC3\xBC";
    const std::string made = names.make(longName, ".tga");
    EXPECT_LE(made.size(), SafeFileNames::MAX_LENGTH);
    EXPECT_EQ(made.size() % 2, 0u) << "whole characters and an ending of four";
}

TEST(LabelFont, ShortensInTheMiddle) {
    EXPECT_EQ(LabelFont::shorten("14 characters.", 14), "14 characters.");
    EXPECT_EQ(LabelFont::shorten("metal_floor_plate_07", 14), "metal_fl..e_07");
    EXPECT_EQ(LabelFont::shorten("\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", 4), "\xC3\xBC\xC3\xBC..");
    I_Image picture(4, 4);
    LabelFont::draw(picture, -3, -2, "\xFF|M", I_Color(255, 255, 255)); // beyond every side
    EXPECT_TRUE(std::any_of(picture.getPixels(), picture.getPixels() + 16, [](I_Color c) { return c.red == 255; }));
}

TEST(SheetLayout, TakesAsManyMaterialsAsAPictureHasRoomFor) {
    const struct {
        const char* what;
        std::vector<int> categories;
        int columns;
    } CASES[] = {
        {"nothing", {}, 8},
        {"one", {1}, 8},
        {"as wide as high", {6000}, 74},
        {"small categories", std::vector<int>(400, 1), 8},
        {"very many of them", std::vector<int>(1000, 1), 7},
    };
    for (const auto& each : CASES) {
        const SheetLayout layout = layOutSheet(each.categories);
        EXPECT_EQ(layout.columns, each.columns) << each.what;
        EXPECT_TRUE(layout.fits()) << each.what;
    }
    std::vector<int> mixed(63, 1);
    mixed.push_back(4000);
    EXPECT_TRUE(layOutSheet(mixed).fits());
    EXPECT_FALSE(layOutSheet({9000}).fits());
}

class TexturesProgram : public test::ProgramTest {
  protected:
    TexturesProgram() {
        CN_Document document;
        document.createCairnLevelEntities();
        CN_TextureList& textures = document.accessTextures();
        for (const char* name : {"../up.tga", "UP.TGA", "red.tga"}) {
            CN_Texture* const texture = textures.addNew();
            texture->setName(name);
            test::setSource(*texture, m_red);
        }
        document.accessMaterials().setList(&textures);
        document.accessMaterials().addCategory(&textures, "Walls")->add(64, "red.tga", nullptr);
        CN_LevelFile::save(document, path("a.cairn").string());
    }

    const Bytes m_red = test::makeTga(64, 64, 250, 10, 20);
};

TEST_F(TexturesProgram, ListsAndExtractsSources) {
    const ProgramRun listed = run({"textures", "--json", "a.cairn", "--extract", "out/deep"});
    ASSERT_EQ(listed.code, 0) << listed.error;
    const Json textures = Json::parse(listed.output)["textures"];
    ASSERT_EQ(textures.size(), 3u);
    EXPECT_EQ(textures[2].dump(), R"({"name":"red.tga","format":"TGA","width":64,"height":64,"bytes":12306,"refs":1})");
    const std::string source(m_red.begin(), m_red.end());
    for (const char* name : {"up.tga", "UP_2.TGA", "red.tga"})
        EXPECT_EQ(read(std::string("out/deep/") + name), source) << name;
    EXPECT_FALSE(std::filesystem::exists(path("out/up.tga")));

    std::filesystem::create_directory(path("linked"));
    std::filesystem::create_symlink(path("victim"), path("linked/red.tga"));
    const ProgramRun refused = run({"textures", "a.cairn", "--extract", "linked"});
    EXPECT_EQ(refused.code, 4);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.error, "cairn: linked/red.tga: something other than a plain file stands there\n");
    EXPECT_FALSE(std::filesystem::exists(path("victim")));
    EXPECT_FALSE(std::filesystem::exists(path("linked/up.tga"))) << "nothing is written where a place is taken";
    const Json info = Json::parse(run({"info", "--json", "a.cairn"}).output);
    for (const auto& [key, count] :
         {std::pair("textures", 3), {"texels", 3 * 64 * 64}, {"materials", 1}, {"categories", 1}})
        EXPECT_EQ(info[key], count) << key;
    EXPECT_EQ(run({"textures", "a.cairn"}).output.find("\"../up.tga\" TGA 64 x 64, 12306 bytes, 0 references\n"), 0u);
}

TEST_F(TexturesProgram, DrawsASheetOfThumbnails) {
    ASSERT_EQ(run({"thumbs", "a.cairn", "-o", "sheet.png"}).code, 0);
    const std::string png = read("sheet.png");
    I_Image sheet;
    sheet.construct(I_Image::PNG, png.data(), static_cast<int>(png.size()));
    const std::ptrdiff_t pixels = std::ptrdiff_t{sheet.getWidth()} * sheet.getHeight();
    const auto red = std::count(sheet.getPixels(), sheet.getPixels() + pixels, I_Color(250, 10, 20));
    EXPECT_EQ(red, 64 * 64);
    EXPECT_EQ(run({"thumbs", "a.cairn", "-o", "-"}).output, png);
    ASSERT_EQ(run({"new", "empty.cairn"}).code, 0);
    EXPECT_EQ(run({"thumbs", "empty.cairn", "-o", "empty.png"}).code, 0);
    EXPECT_EQ(run({"thumbs", "a.cairn", "-o", "no/folder.png"}).code, 4);
}

TEST_F(TexturesProgram, ExtractsUnderEndingsOfItsOwnWhereANameHidesAnother) {
    CN_Document document;
    document.createCairnLevelEntities();
    CN_Texture& texture = *document.accessTextures().addNew();
    texture.editName() = CString(std::string("a.tga\0./x", 9));
    test::setSource(texture, m_red);
    CN_LevelFile::save(document, path("nul.cairn").string());
    EXPECT_EQ(run({"textures", "nul.cairn", "--extract", "out"}).code, 0);
    EXPECT_EQ(read("out/x.tga"), std::string(m_red.begin(), m_red.end()));
}

TEST_F(TexturesProgram, TellsOnceOfAMaterialThatWasDropped) {
    test::OldLevel level;
    level.materials = [](F_MemoryFile& file) {
        file << 1u;
        test::writeOldCategory(file, "Old", 1);
        test::writeOldMaterial(file, CAIRN_MATERIAL_VERSION, {.diffuse = {""}, .reflection = "", .gloss = ""});
    };
    const Bytes bytes = test::makeLevel(level);
    write("dropped.cairn", std::string(bytes.begin(), bytes.end()));
    const Json problems = Json::parse(run({"check", "--json", "dropped.cairn"}).output)["files"][0]["problems"];
    const auto tellings = std::count_if(problems.begin(), problems.end(), [](const Json& problem) {
        return problem["message"].get<std::string>().find("aterial") != std::string::npos;
    });
    EXPECT_EQ(tellings, 1) << problems;
}

TEST_F(TexturesProgram, ChecksTexturesThatDoNotDecode) {
    CN_Document document;
    document.createCairnLevelEntities();
    CN_Texture* const texture = document.accessTextures().addNew();
    texture->setName("noise.tga");
    EXPECT_NE(test::failureText([&] { test::setSource(*texture, Bytes(3)); }), "(nothing thrown)");
    CN_LevelFile::save(document, path("bad.cairn").string());
    const Json problems = Json::parse(run({"check", "--json", "bad.cairn"}).output)["files"][0]["problems"];
    ASSERT_EQ(problems.size(), 1u) << "its message box is not told once more: " << problems;
    EXPECT_EQ(problems[0]["code"], "texture-undecoded");
    EXPECT_NE(problems[0]["message"].get<std::string>().find("(noise.tga)"), std::string::npos);
}

} // namespace
} // namespace cairn::host
