#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "host/export_machines.h"
#include "host/export_obj.h"
#include "host/export_scene.h"
#include "host/import_materials.h"
#include "host/level_session.h"
#include "host/map_import.h"
#include "host/map_reader.h"
#include "host/obj_import.h"
#include "host/obj_reader.h"
#include "host/png_writer.h"
#include "tests/faults/fault_loop.h"
#include "tests/support/full_level.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_data.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

using namespace cairn;
using namespace cairn::test;

namespace {

constexpr const char* MAP = R"({
"classname" "worldspawn"
{
( 0 0 0 ) ( 0 1 0 ) ( 0 0 1 ) wall 0 0 0 1 1
( 64 0 0 ) ( 64 0 1 ) ( 64 1 0 ) wall 0 0 0 1 1
( 0 0 0 ) ( 0 0 1 ) ( 1 0 0 ) grid.png 0 0 0 1 1
( 0 64 0 ) ( 1 64 0 ) ( 0 64 1 ) wall 0 0 0 1 1
( 0 0 0 ) ( 1 0 0 ) ( 0 1 0 ) wall 0 0 0 1 1
( 0 0 64 ) ( 0 1 64 ) ( 1 0 64 ) wall 0 0 0 1 1
}
}
{
"classname" "monster_rat"
"origin" "1 2 3"
"targetname" "rat"
}
{
"classname" "trigger_relay"
"target" "rat"
}
)";
constexpr const char* OBJECT = "mtllib a.mtl\no Box\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nvt 0 0\nvt 1 0\nvt 0 1\n"
                               "usemtl m\nf 1/1 3/3 2/2\nf 1/1 2/2 4/3\nf 1/1 4/3 3/2\nf 2/1 3/2 4/3\n";

/// Takes in what others write, and writes what others read, while allocations fail.
class ConversionFaults : public testing::Test {
  protected:
    static std::string levelBytes(CN_Document& document) {
        F_MemoryFile file;
        CN_LevelFile::write(document, file);
        return {static_cast<const char*>(file.getAddress()), file.getSize()};
    }
    /// An import into a fresh level each time: what came in is whole, or the import has failed.
    void importAll(const char* what, const std::function<void(CN_Document&)>& work) {
        SCOPED_TRACE(what);
        const auto prepare = [this] {
            auto document = m_session.createDocument();
            document->createCairnLevelEntities();
            return document;
        };
        const auto whole = prepare();
        work(*whole);
        const std::string bytes = levelBytes(*whole);
        const FaultCounts counts =
            forEachFault(FaultChoice::ALL, prepare, work, [&](CN_Document& document, bool failed, FaultCounts&) {
                EXPECT_TRUE(failed || levelBytes(document) == bytes);
            });
        fmt::print("{}: {}\n", what, counts.text());
    }
    /// The text is the same each time, or the export has failed; the level stays as it is.
    void exportAll(const char* what, CN_Document& document, const std::function<std::string()>& work) {
        SCOPED_TRACE(what);
        const std::string text = work(), level = levelBytes(document);
        const FaultCounts counts = forEachFault(
            FaultChoice::ALL, [] { return std::make_unique<std::string>(); }, [&](std::string& out) { out = work(); },
            [&](std::string& out, bool failed, FaultCounts&) {
                EXPECT_TRUE(out == (failed ? "" : text));
                EXPECT_TRUE(levelBytes(document) == level);
            });
        fmt::print("{}: {}\n", what, counts.text());
    }

    host::Console m_console;
    host::LevelSession m_session{m_console, ""};
};

TEST_F(ConversionFaults, Imports) {
    const TemporaryFolder folder;
    std::filesystem::copy_file(projectFile("fuzz/seeds/image_decode/grid.png"), folder.path("grid.png"));
    const std::string materials = "newmtl m\nmap_Kd grid.png\n";
    F_File::replace(folder.path("a.mtl").string(),
                    {reinterpret_cast<const unsigned char*>(materials.data()), materials.size()});
    importAll(".map", [&](CN_Document& document) {
        const host::MapFile map = host::readMap(MAP);
        // Not listed: the standard library's walk over a folder ends the process where memory lacks.
        const auto images = host::ImportImages::withoutSearch(folder.path(""));
        host::ImportMaterials taken(document, "a", 32, images);
        host::importMap(map, 1.0 / 32, taken, document);
    });
    importAll(".obj", [&](CN_Document& document) {
        const host::ObjFile object = host::readObj(OBJECT);
        std::vector<host::ImportFinding> findings;
        const auto names = host::readObjMaterials(object, folder.path(""), findings);
        const auto images = host::ImportImages::withoutSearch(folder.path(""));
        host::ImportMaterials taken(document, "a", 64, images);
        host::importObj(object, names, "a", 1, taken, document);
    });
}

// glTF is made of JSON documents, whose destructors may need memory: the tests of the program have it.
TEST_F(ConversionFaults, Exports) {
    const auto document = makeEveryKind();
    const host::ExportChoice all;
    CN_LevelEntity& root = *document->accessLevel();
    exportAll(".obj", *document, [&] {
        host::ExportScene scene = host::makeExportScene(root, all);
        std::string text;
        for (const host::ExportFile& file : host::writeObj(scene, "a.obj"))
            text.append(file.bytes.begin(), file.bytes.end());
        return text;
    });
    exportAll(".xml", *document, [&] { return host::makeMachineXml(root, all).text; });
    exportAll(".script", *document, [&] { return host::makeScript(*document, all).text; });
    const std::vector<I_Color> pixels(64 * 64, I_Color(1, 2, 3, 4));
    exportAll(".png", *document, [&] {
        const auto png = host::encodePng(pixels.data(), 64, 64);
        return std::string(png.begin(), png.end());
    });
}

} // namespace
