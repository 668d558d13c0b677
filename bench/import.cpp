#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "host/brush_solid.h"
#include "host/console.h"
#include "host/level_session.h"
#include "host/map_import.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

// A map's text to a level's bytes, by the number of its brushes: the whole, and how much of it is cutting half-spaces,
// triangulating and saving. "grid" are brushes of six to ten faces side by side, "maps" those of the shared data, where they
// are there.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;

/// A brush of a box whose upper corners are cut, `cuts` of them.
std::string brushText(int x, int y, int cuts) {
    const int a = x * 128, b = y * 128, c = a + 96, d = b + 96;
    std::string text = "{\n";
    const auto face = [&](int px, int py, int pz, int qx, int qy, int qz, int rx, int ry, int rz) {
        text += fmt::format("( {} {} {} ) ( {} {} {} ) ( {} {} {} ) wall{} 0 0 0 1 1\n", px, py, pz, qx, qy, qz, rx, ry,
                            rz, (x + y) % 8);
    };
    face(a, b, 0, a, b + 1, 0, a, b, 1);
    face(a, b, 0, a, b, 1, a + 1, b, 0);
    face(a, b, 0, a + 1, b, 0, a, b + 1, 0);
    face(c, d, 96, c, d + 1, 96, c + 1, d, 96);
    face(c, d, 96, c + 1, d, 96, c, d, 97);
    face(c, d, 96, c, d, 97, c, d + 1, 96);
    const int corners[4][4] = {{a, b, 1, 1}, {c, b, -1, 1}, {c, d, -1, -1}, {a, d, 1, -1}};
    for (int i = 0; i < cuts; ++i) {
        const auto& [px, py, sx, sy] = corners[i];
        if (sx * sy > 0)
            face(px + 32 * sx, py, 96, px, py, 64, px, py + 32 * sy, 96);
        else
            face(px, py + 32 * sy, 96, px, py, 64, px + 32 * sx, py, 96);
    }
    return text + "}\n";
}

std::string gridText(int n) {
    std::string text = "{\n\"classname\" \"worldspawn\"\n";
    for (int i = 0; i < n; ++i)
        text += brushText(i % 64, i / 64, i % 5);
    return text + "}\n";
}

/// The text of a shared map; empty where it is not there.
std::string sharedText(const std::string& name) {
    const char* named = std::getenv("CAIRN_TEST_DATA");
    const std::filesystem::path data =
        named && *named ? named : std::filesystem::path(CAIRN_BENCH_SOURCE_DIR).parent_path() / "shared" / "data";
    std::ifstream file(data / "maps" / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::unique_ptr<CN_Document> importText(const std::string& text) {
    auto document = std::make_unique<CN_Document>();
    document->createCairnLevelEntities();
    host::importMap(host::readMap(text), host::DEFAULT_MAP_SCALE, *document);
    return document;
}

template <class Visit> void forEachMesh(CN_Document& document, Visit&& visit) {
    CN_PreIterator it = document.accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it)
        if (auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(*it))
            visit(*mesh);
}

std::size_t countPolygons(CN_Document& document) {
    std::size_t count = 0;
    forEachMesh(document,
                [&](CN_LevelEntityMesh& mesh) { count += static_cast<std::size_t>(mesh.getPolygonList().count()); });
    return count;
}

std::size_t cutBrushes(const host::MapFile& map) {
    std::size_t faces = 0;
    std::vector<host::BrushPlane> planes;
    for (const host::MapBrush& brush : map.brushes) {
        planes.assign(brush.faceCount, {});
        for (std::uint32_t i = 0; i < brush.faceCount; ++i) {
            const auto& points = map.faces[brush.firstFace + i].points;
            const Vector place[3] = {{points[0][0], points[0][1], points[0][2]},
                                     {points[1][0], points[1][1], points[1][2]},
                                     {points[2][0], points[2][1], points[2][2]}};
            host::makeBrushPlane(place, planes[i]);
        }
        faces += host::intersectHalfSpaces(planes).faces.size();
    }
    return faces;
}

void addScenes(bench::Report& report, const std::string& scene, const std::string& content) {
    struct Shelf {
        std::string text;
        host::MapFile map;
        std::unique_ptr<CN_Document> document;
    };
    const auto shelf = std::make_shared<Shelf>();
    shelf->text = content;
    shelf->map = host::readMap(shelf->text);
    shelf->document = importText(shelf->text);
    const auto n = static_cast<double>(shelf->map.brushes.size());
    const std::size_t polygons = countPolygons(*shelf->document);
    report.addTimed(scene, "whole", n, [shelf](bench::Watch& watch) {
        std::unique_ptr<CN_Document> document;
        F_MemoryFile file;
        watch.timed([&] {
            document = importText(shelf->text);
            CN_LevelFile::write(*document, file);
        });
        return countPolygons(*document);
    });
    report.add(scene, "half-spaces", n, [shelf] { return cutBrushes(shelf->map); });
    report.add(scene, "triangulation", n, [shelf, polygons] {
        forEachMesh(*shelf->document, [](CN_LevelEntityMesh& mesh) { mesh.triangulizeAll(true); });
        return polygons;
    });
    report.add(scene, "save", n, [shelf, polygons] {
        F_MemoryFile file;
        CN_LevelFile::write(*shelf->document, file);
        return polygons;
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    static const cairn::host::Console console;
    report.peers({"half-spaces", "triangulation", "save"});      // parts of it
    static const cairn::host::LevelSession session(console, ""); // items and monsters need a content database
    for (const int n : cairn::bench::sizes({35, 350, 3500}, 350))
        cairn::addScenes(report, "grid", cairn::gridText(n));
    bool any = false;
    for (const char* name : {"ericw_q2_detail_leak_test.map", "ericw_qbspfeatures.map", "quake_dm5.map",
                             "quake_dm1.map", "ericw_retrojam1_ericw.map", "quake_e1m1.map", "librequake_e3m4.map"})
        if (const std::string text = cairn::sharedText(name);
            !text.empty() && (!cairn::bench::quick() || text.size() < 100000)) {
            cairn::addScenes(report, "maps", text);
            any = true;
        }
    report.limitGrowth("grid", "whole", 1.1);
    if (any)
        report.limitGrowth("maps", "whole", 1.1);
}

static const cairn::bench::Scene
    SCENE("import", "A map's text to a level's bytes, by the number of its brushes, and the parts of that.", measure);
