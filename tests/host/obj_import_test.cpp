#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"
#include "host/level_session.h"
#include "host/obj_import.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <utility>
#include <vector>

using namespace cairn;
using namespace cairn::host;
using namespace std::string_literals;

namespace {

using Vector = M_Vector3Template<double>;

class ObjImport : public testing::Test {
  protected:
    ObjImportSummary import(const std::string& text, double scale = 1, const ObjImages& images = {}) {
        m_document->createCairnLevelEntities();
        ImportMaterials materials(*m_document, "shapes", 1, m_images);
        m_text = text;
        return importObj(readObj(m_text), images, "shapes", scale, materials, *m_document);
    }
    CN_LevelEntityMesh& mesh(const char* name) {
        return dynamic_cast<CN_LevelEntityMesh&>(*m_document->accessLevel()->hasChildNamed(name));
    }
    static std::string faultOf(const std::string& text) {
        try {
            readObj(text);
        } catch (F_Exception* e) {
            F_ExceptionGuard guard(e);
            return e->getErrorMessage();
        }
        return "";
    }

    Console m_console;
    LevelSession m_session{m_console, ""};
    ImportImages m_images;
    std::string m_text;
    std::unique_ptr<CN_Document> m_document = m_session.createDocument();
};

// A wedge whose three sides all differ, with its front, +Z of the file, painted.
const std::string WEDGE = "v 0 0 0\nv 4 0 0\nv 0 2 0\nv 0 0 1\nvt 0 0\nvt 1 0\nvt 0 1\n"
                          "f 1 3 2\nf 1 2 4\nf 1 4 3\nf 2/2 3/3 4/1\n";

TEST_F(ObjImport, MirrorsOneAxisAndKeepsFacesOutward) {
    const ObjImportSummary summary = import(WEDGE, 2);
    EXPECT_EQ(summary.meshes.polygons, 4u);
    CN_LevelEntityMesh& made = mesh("shapes");
    EXPECT_EQ(made.getVertexList().count(), 4u);
    EXPECT_NEAR(CN_volume(made), -8.0 * 8 / 6, 1e-12) << "outward faces count as negative";
    EXPECT_EQ(made.getBoundingMin(), Vector(0, 0, -2));
    EXPECT_EQ(made.getBoundingMax(), Vector(8, 4, 0));
    const CN_Polygon& slope = *std::next(made.getPolygonList().begin(), 3);
    EXPECT_GT(slope.getNormal().x, 0);
    EXPECT_LT(slope.getNormal().z, 0);
    EXPECT_EQ(slope.getNormal(), slope.getReferenceNormal());
    EXPECT_EQ(slope.getPolygonIndex(), 3u);
    // Corner, and its coordinates: v runs downwards here.
    const std::pair<Vector, M_Vector2Template<double>> corners[] = {
        {{8, 0, 0}, {1, 1}}, {{0, 4, 0}, {0, 0}}, {{0, 0, -2}, {0, 1}}};
    const auto& space = slope.getUVSpace(0);
    const auto first = space.toUV(corners[2].first - made.getPosition());
    for (const auto& [corner, uv] : corners) {
        const auto got = space.toUV(corner - made.getPosition());
        EXPECT_NEAR(got.x - first.x, uv.x, 1e-12);
        EXPECT_NEAR(got.y - first.y, uv.y - 1, 1e-12);
    }
    EXPECT_TRUE(CN_validateDocument(*m_document, CN_LEVEL_TOLERANCE).empty());
}

TEST_F(ObjImport, MakesAMeshOfEachObjectAndGroup) {
    const ObjImportSummary summary =
        import("o Big box\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 0\nusemtl red\nf 1 2 3 \\\n4\ng lid\nf -4 -3 -2\n"
               "g other\nusemtl RED\nf 5 2 3\ng lid\nf 1// 3// 4//\nf 1 5 2\nf 1 1 2\nl 1 2\no Big box\nf 1 2 4\n");
    EXPECT_EQ(summary.meshes.meshes, 3u);
    EXPECT_EQ(summary.flat, 2u);
    EXPECT_EQ(summary.firstFlatLine, 17u);
    EXPECT_EQ(summary.passedOver, 1u);
    EXPECT_EQ(summary.firstPassedOver, 19u);
    EXPECT_EQ(mesh("Big_box").getPolygonList().count(), 2u);
    EXPECT_EQ(mesh("lid").getPolygonList().count(), 2u);
    EXPECT_EQ(mesh("other").getVertexList().count(), 3u);
    EXPECT_EQ(m_document->getMaterials().numMaterials(), 1);
    EXPECT_EQ(m_document->getMaterials().find("shapes", "red")->getUseCount(), 5);
}

TEST_F(ObjImport, KeepsMaterialsApartThatTheLevelCouldNot) {
    const std::string faces =
        "v 0 0 0\nv 1 0 0\nv 1 1 0\nusemtl wood\nf 1 2 3\nusemtl Wood\nf 1 2 3\nusemtl WOOD\nf 1 2 3\n";
    import(faces, 1, {{"wood", "a.tga"}, {"Wood", "b.tga"}, { "WOOD", "a.tga" }});
    EXPECT_EQ(m_document->getMaterials().find("shapes", "wood")->getUseCount(), 2);
    EXPECT_EQ(m_document->getMaterials().find("shapes", "[1]Wood")->getUseCount(), 1);

    import("v 0 0 0\nv 1 0 0\nv 1 1 0\nusemtl \0two\nf 1 2 3\n"s);
    F_MemoryFile file;
    m_document->save(file); // which refuses textures without a name
    EXPECT_NE(m_document->getTextures().get("_two.png"), nullptr);
}

TEST_F(ObjImport, FitsCoordinatesOnlyWhereAPlaneHasThem) {
    const std::string corners = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 0.2 0.7\n";
    EXPECT_EQ(import(corners + "f 1/1 2/2 3/3 4/4\nf 1/1 2/2 3/3 4/5\nf 1/5 2/5 3/5 4/5\n").unmapped, 1u);
    const ObjImportSummary tiny = import(corners + "f 1/1 2/2 3/3 4/4\n", 1e-3); // a repeat of 0.001, which is too fine
    EXPECT_EQ(tiny.meshes.unmapped, 1u);
    EXPECT_NE(tiny.text().find("1 polygon has the usual axes for textures that"), std::string::npos) << tiny.text();
    import(corners + "f 1/1 2/2 3/3 4/4\nf 1/1 2/2 3/3 4/5\nf 1/5 2/5 3/5 4/5\n");
    const CN_Polygon& plain = *std::next(mesh("shapes").getPolygonList().begin(), 2);
    for (const CN_Edge& edge : plain.getEdgeList()) {
        const auto uv = plain.getUVSpace(0).toUV(edge.getLocal(0));
        EXPECT_NEAR(uv.x - std::floor(uv.x), 0.2, 1e-3) << "one colour of a picture stays that colour";
        EXPECT_NEAR(uv.y - std::floor(uv.y), 0.3, 1e-3);
    }
}

TEST_F(ObjImport, ASlitLeadsToAHole) {
    // A frame of two windows, each with corners of its own.
    const std::string corners = "v 0 0 0\nv 9 0 0\nv 9 5 0\nv 0 5 0\nv 1 1 0\nv 1 4 0\nv 4 4 0\nv 4 1 0\n"
                                "v 5 1 0\nv 5 4 0\nv 8 4 0\nv 8 1 0\nv 4 1 0\n";
    const struct {
        const char* name;
        std::string face;
        int holes, corners;
        double area;
    } cases[] = {
        {"one slit", "f 1 2 3 4 1 5 6 7 8 5", 1, 8, 36},
        {"from within it", "f 5 1 2 3 4 1 5 6 7 8", 1, 8, 36},
        {"from the hole on", "f 6 7 8 5 1 2 3 4 1 5", 1, 8, 36},
        {"a slit to each", "f 1 5 6 7 8 5 1 2 12 9 10 11 12 2 3 4", 2, 12, 27},
        {"from one to the other", "f 1 2 3 4 1 5 6 7 8 9 10 11 12 9 13 5", 2, 12, 27},
        {"a spike", "f 1 2 3 11 3 4", 0, 4, 45},
        {"none", "f 1 2 3 4", 0, 4, 45},
    };
    for (const auto& c : cases) {
        const ObjImportSummary summary = import(corners + c.face + "\n");
        EXPECT_EQ(summary.meshes.untriangulated, 0u) << c.name;
        const CN_Polygon& polygon = *mesh("shapes").getPolygonList().first();
        EXPECT_EQ(polygon.getNumHoles(), c.holes) << c.name;
        EXPECT_EQ(polygon.numVertices(), c.corners) << c.name;
        EXPECT_EQ(polygon.getEdgeList().count(), c.corners) << c.name;
        EXPECT_NEAR(polygon.calcArea(), c.area, 1e-12) << c.name;
        for (const CN_Finding& finding : CN_validateMesh(mesh("shapes"), CN_LEVEL_TOLERANCE))
            EXPECT_STREQ(finding.code, "mesh-open") << c.name;
    }
}

TEST_F(ObjImport, ASlitBetweenOutlinesPartsThem) {
    // A square with a window, and a small square, each on one end of a slit; the small one beside the window's level.
    const char* const text = "v 0 0 0\nv 5 0 0\nv 5 5 0\nv 0 5 0\nv 1 1 0\nv 1 4 0\nv 4 4 0\nv 4 1 0\n"
                             "v 7 2 0\nv 8 2 0\nv 8 3 0\nv 7 3 0\nv 5 2 0\n"
                             "f 1 2 13 9 10 11 12 9 13 3 4 1 5 6 7 8 5\n";
    EXPECT_EQ(import(text).meshes.untriangulated, 0u);
    std::vector<std::pair<int, double>> found;
    for (const CN_Polygon& polygon : mesh("shapes").getPolygonList())
        found.emplace_back(polygon.getNumHoles(), polygon.calcArea());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::pair<int, double>>{{0, 1}, {1, 16}}));
}

TEST_F(ObjImport, TakesCarriageReturnsForLineEndsWhereThereAreNoOthers) {
    EXPECT_EQ(import("v 0 0 0\rv 1 0 0\rv 1 1 0\rf 1 2 3\r").meshes.polygons, 1u);
}

TEST_F(ObjImport, TellsOfFacesTooThinForALevel) {
    const ObjImportSummary summary = import("v 0 0 0\nv 1 0 0\nv 0.5 1e-6 0\nv 0 1 0\nv 1e-6 0 0\nv 0 1e-6 0\n"
                                            "f 1 2 4\nf 1 2 3\nf 1 5 6\n");
    EXPECT_EQ(summary.flat, 0u);
    EXPECT_EQ(summary.meshes.degenerate, 2u);
    EXPECT_NE(summary.text().find("; 2 polygons are too thin or small to be an area of a level, the first on line 8"),
              std::string::npos)
        << summary.text();
}

TEST_F(ObjImport, StopsAtTheLineOfAFault) {
    const std::string head = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    const struct {
        std::string text, fault;
    } cases[] = {
        {"v 0 0\n", "line 1: a vertex's coordinate expected, the line ends"},
        {"# x\n\nv 0 0 nan\n", "line 3: a vertex's coordinate expected, found \"nan\""},
        {"v 0 0 1e16\n", "line 1: a vertex lies too far out"},
        {head + "f 1 2\n", "line 4: a face needs three corners, this has 2"},
        {head + "f 1 2 4\n", "line 4: there is no vertex 4: 3 stand ahead"},
        {head + "f 1 2 0\n", "line 4: there is no vertex 0: 3 stand ahead"},
        {head + "f 1 2 -4\n", "line 4: there is no vertex -4: 3 stand ahead"},
        {head + "f 1/1 2/1 3/1\n", "line 4: there is no texture coordinate 1: 0 stand ahead"},
        {head + "f 1 2 \\\n3//1\n", "line 4: there is no normal 1: 0 stand ahead"},
        {head + "f 1 2 3x\n", "line 4: no corner of a face: \"3x\""},
        {head + "f 1 2 3/1/1/1\n", "line 4: no corner of a face: \"3/1/1/1\""},
        {head + "face 1 2 3\n", "line 4: no statement of an object: \"face\""},
        {"\x89PNG\r\n", "line 1: no statement of an object: \"\\x89PNG\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(faultOf(c.text), c.fault) << c.text;
}

TEST_F(ObjImport, ReadsMaterialsFromTheObjectsFolderAlone) {
    const test::TemporaryFolder temporary;
    const std::filesystem::path root = temporary.path("root"), folder = root / "object";
    std::filesystem::create_directories(folder / "sub");
    std::ofstream(root / "secret.mtl") << "newmtl a\nmap_Kd a.png\n";
    std::ofstream(folder / "sub" / "my own.mtl")
        << "newmtl a\n  map_Kd -s 1 2 -clamp on a wall.png\nnewmtl b\nKd 1 1 1\n";
    std::filesystem::create_symlink("../secret.mtl", folder / "link.mtl");
    m_text = "mtllib sub\\my own.mtl\nmtllib ../secret.mtl link.mtl\nmtllib " + (root / "secret.mtl").string() +
             "\nmtllib missing.mtl missing.mtl\n";
    std::vector<ImportFinding> findings;
    const ObjImages images = readObjMaterials(readObj(m_text), folder, findings);
    EXPECT_EQ(images, (ObjImages{{"a", "sub/a wall.png"}}));
    ASSERT_EQ(findings.size(), 4u);
    EXPECT_EQ(findings[0].line, 2u);
    EXPECT_EQ(findings[3].line, 4u);
}

} // namespace
