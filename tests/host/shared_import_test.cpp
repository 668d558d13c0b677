#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "host/level_session.h"
#include "host/obj_import.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

using namespace cairn;
using namespace cairn::host;

namespace {

using Vector = M_Vector3Template<double>;
using Row = std::vector<std::string>;

std::string contentOf(const std::filesystem::path& file) {
    const std::vector<unsigned char> bytes = F_File::readAll(file.string());
    return {bytes.begin(), bytes.end()};
}

/// The cells of the rows of a readme's tables whose first cell ends so.
std::vector<Row> rowsOf(const std::filesystem::path& readme, const std::string& ending) {
    std::vector<Row> rows;
    std::istringstream lines(contentOf(readme));
    for (std::string line; std::getline(lines, line);) {
        Row cells;
        std::istringstream parts(line);
        for (std::string cell; std::getline(parts, cell, '|');) {
            const std::size_t begin = cell.find_first_not_of(' ');
            cells.push_back(begin == std::string::npos ? ""
                                                       : cell.substr(begin, cell.find_last_not_of(' ') - begin + 1));
        }
        if (cells.size() > 9 && cells[1].size() > ending.size() && cells[1].ends_with(ending))
            rows.push_back(cells);
    }
    return rows;
}

/// Imports the files of the shared data and compares with what its readme says, which was measured by other means.
class SharedImport : public testing::Test {
  protected:
    std::vector<CN_LevelEntityMesh*> meshes() {
        std::vector<CN_LevelEntityMesh*> list;
        CN_PreIterator it = m_document->accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            if (auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(*it))
                list.push_back(mesh);
        return list;
    }
    void start() {
        m_document = m_session.createDocument();
        m_document->createCairnLevelEntities();
    }
    /// Codes of what does not hold in the level, with their counts.
    std::map<std::string, std::size_t> faults() {
        std::map<std::string, std::size_t> codes;
        for (const CN_Finding& finding : CN_validateDocument(*m_document, CN_LEVEL_TOLERANCE))
            ++codes[finding.code];
        return codes;
    }
    static void expectNear(double value, const std::string& expected) {
        const double number = std::stod(expected);
        EXPECT_NEAR(value, number, 1e-6 * std::abs(number));
    }

    Console m_console;
    LevelSession m_session{m_console, ""};
    std::unique_ptr<CN_Document> m_document;
};

TEST_F(SharedImport, MapsHaveTheSolidsOfTheReadme) {
    CAIRN_SHARED_DATA_OR_SKIP(readme, "README.md");
    const std::vector<Row> rows = rowsOf(readme, ".map");
    ASSERT_GE(rows.size(), 17u);
    for (const Row& row : rows) {
        SCOPED_TRACE(row[1]);
        const std::string text = contentOf(readme.parent_path() / "maps" / row[1]);
        const MapFile map = readMap(text);
        EXPECT_EQ(map.entities.size(), static_cast<std::size_t>(std::stoul(row[5])));
        start();
        const MapImportSummary summary = importMap(map, DEFAULT_MAP_SCALE, *m_document);
        EXPECT_EQ(summary.meshes.meshes, std::stoul(row[6])) << summary.text();
        EXPECT_EQ(summary.meshes.polygons, std::stoul(row[7]));
        EXPECT_EQ(summary.meshes.untriangulated, 0u);
        EXPECT_EQ(summary.lostBrushes + summary.idleFaces, 0u);
        EXPECT_TRUE(faults().empty()) << faults().begin()->first;
        double volume = 0, area = 0;
        for (const CN_LevelEntityMesh* mesh : meshes()) {
            EXPECT_TRUE(CN_findOpenEdges(*mesh, 1e-6).empty()) << mesh->getName();
            volume -= CN_volume(*mesh);
            for (const CN_Polygon& polygon : mesh->getPolygonList()) {
                area += CN_areaVector(polygon).length();
                EXPECT_FALSE(polygon.getTriangleList().empty());
                EXPECT_TRUE(polygon.isUVCalculated());
            }
        }
        if (row[8] != "-") {
            expectNear(volume / std::pow(DEFAULT_MAP_SCALE, 3), row[9]);
            expectNear(area / std::pow(DEFAULT_MAP_SCALE, 2), row[10]);
        }
    }
}

/// How many edges of all meshes, by their places, one polygon has, and how many have more than two.
std::pair<std::size_t, std::size_t> countOddEdges(const std::vector<CN_LevelEntityMesh*>& meshes) {
    const auto less = [](const Vector& a, const Vector& b) {
        return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
    };
    std::map<Vector, int, decltype(less)> places(less);
    std::map<std::pair<int, int>, int> edges;
    const auto number = [&](const Vector& place) {
        return places.emplace(place, static_cast<int>(places.size())).first->second;
    };
    for (const CN_LevelEntityMesh* mesh : meshes)
        for (const CN_Polygon& polygon : mesh->getPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                ++edges[std::minmax({number(edge.getWorld(0)), number(edge.getWorld(1))})];
    std::pair<std::size_t, std::size_t> counts;
    for (const auto& [edge, uses] : edges) {
        counts.first += uses == 1;
        counts.second += uses > 2;
    }
    return counts;
}

TEST_F(SharedImport, ObjectsHaveTheFacesOfTheReadme) {
    CAIRN_SHARED_DATA_OR_SKIP(readme, "README.md");
    const std::vector<Row> rows = rowsOf(readme, ".obj");
    ASSERT_GE(rows.size(), 17u);
    const ImportImages none;
    std::string refused;
    for (const Row& row : rows) {
        SCOPED_TRACE(row[1]);
        const std::string text = contentOf(readme.parent_path() / "meshes" / row[1]);
        start();
        ImportMaterials materials(*m_document, "shared", 1, none);
        ObjImportSummary summary;
        try {
            const ObjFile object = readObj(text);
            EXPECT_EQ(object.positions.size(), std::stoul(row[4]));
            summary = importObj(object, {}, "shared", 1, materials, *m_document);
        } catch (F_Exception* e) {
            F_ExceptionGuard guard(e);
            refused += row[1] + ": " + e->getErrorMessage() + "\n";
            continue;
        }
        std::map<int, int> sides;
        double volume = 0;
        for (const CN_LevelEntityMesh* mesh : meshes()) {
            volume -= CN_volume(*mesh);
            for (const CN_Polygon& polygon : mesh->getPolygonList())
                ++sides[polygon.numVertices()];
        }
        // A face that is left out for its lack of area is told, and is a triangle here.
        sides[3] += static_cast<int>(summary.flat);
        std::string faces;
        for (const auto& [corners, count] : sides)
            if (count > 0)
                faces += fmt::format("{}{}:{}", faces.empty() ? "" : ", ", corners, count);
        EXPECT_EQ(fmt::format("{} ({})", summary.meshes.polygons + summary.flat, faces), row[5]);
        if (summary.flat == 0) {
            EXPECT_EQ(countOddEdges(meshes()),
                      (std::pair<std::size_t, std::size_t>(std::stoul(row[6]), std::stoul(row[7]))));
        }
        std::map<std::string, std::size_t> codes = faults();
        EXPECT_EQ(codes["polygon-nonplanar"], summary.bent);
        EXPECT_EQ(codes["polygon-degenerate"], summary.meshes.degenerate);
        // A face whose corners leave its plane is that first of all.
        EXPECT_EQ(codes["polygon-untriangulated"],
                  summary.meshes.untriangulated - std::min<std::size_t>(summary.meshes.untriangulated, summary.bent));
        if (row[8] != "-") {
            // The readme's volumes have so many digits.
            EXPECT_NEAR(volume, std::stod(row[8]), std::max(1e-6 * volume, 5e-5));
            EXPECT_EQ(codes["mesh-open"], 0u);
        }
    }
    EXPECT_EQ(refused, "trimesh_notenoughindices.obj: line 9: a face needs three corners, this has 2\n");
}

} // namespace
