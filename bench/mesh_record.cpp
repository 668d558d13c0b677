// Saving and loading meshes of quads that share their corners, beside cereal's binary archive over plain structs of the
// same fields, and Assimp's own binary form and glb, which have the bare geometry; and the memory that a loaded polygon
// takes.
#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#ifdef CAIRN_BENCH_WITH_ASSIMP
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <algorithm>
#endif
#ifdef CAIRN_BENCH_WITH_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/array.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <array>
#include <sstream>
#endif

namespace cairn {
namespace {

constexpr const char* CATEGORY = "Masonry";
constexpr int MATERIALS = 100;

/// A floor of about `count` quads in a grid, of which each neighbour of sixteen has another material.
CN_LevelEntityMesh* addFloor(CN_Document& document, int count) {
    CN_MaterialsCategory* const category = document.accessMaterials().addCategory(&document.accessTextures(), CATEGORY);
    std::vector<CN_Material*> materials;
    for (int i = 0; i < MATERIALS; ++i) {
        materials.push_back(category->add(0, "", nullptr));
        materials.back()->setName(("weathered brick " + std::to_string(i)).c_str());
    }
    auto owned = std::make_unique<CN_LevelEntityMesh>();
    CN_LevelEntityMesh* const mesh = owned.get();
    mesh->setDocument(&document);
    const int columns = static_cast<int>(std::sqrt(count)), rows = count / columns;
    for (int z = 0; z <= rows; ++z)
        for (int x = 0; x <= columns; ++x)
            mesh->addVertex({x * 0.5, 0.0, z * 0.5});
    for (int i = 0; i < rows * columns; ++i) {
        const int first = i / columns * (columns + 1) + i % columns;
        const int corners[] = {first, first + columns + 1, first + columns + 2, first + 1};
        CN_Polygon* const polygon = mesh->addPolygon();
        for (int k = 0; k < 4; ++k)
            polygon->addEdge(corners[k], corners[(k + 1) % 4], false);
        for (const int second : {1, 2}) {
            CN_Triangle& triangle = polygon->accessTriangleList().addNew();
            triangle.setParent(polygon);
            triangle.accessVertices() = {corners[0], corners[second], corners[second + 1]};
        }
        polygon->setNormal({0, 1, 0});
        polygon->setReferenceNormal({0, 1, 0});
        polygon->setNumVertices(4);
        polygon->updatePointOnPlane();
        polygon->setPolygonIndex(static_cast<unsigned int>(i));
        polygon->setMaterial(materials[static_cast<std::size_t>(i / 16 % MATERIALS)]);
    }
    document.accessLevel()->addOwned(std::move(owned), false);
    return mesh;
}

#ifdef CAIRN_BENCH_WITH_CEREAL
using Numbers3 = std::array<double, 3>;

struct PlainSpace {
    Numbers3 normal, origin;
    std::array<double, 9> matrix;
    std::array<double, 2> offset;
    template <class Archive> void serialize(Archive& archive) { archive(normal, origin, matrix, offset); }
};

struct PlainTriangle {
    Numbers3 normal;
    std::vector<int> corners;
    template <class Archive> void serialize(Archive& archive) { archive(normal, corners); }
};

struct PlainPolygon {
    unsigned int index, mode;
    Numbers3 normal, referenceNormal, pointOnPlane;
    std::array<double, 9> legacy;
    PlainSpace space, lightmapSpace;
    int holes, exit;
    float resolution;
    bool lightmapValid;
    unsigned int lightmap;
    std::string category, material;
    std::vector<std::array<int, 2>> edges;
    std::vector<PlainTriangle> triangles;
    std::vector<PlainSpace> extraSpaces;
    template <class Archive> void serialize(Archive& archive) {
        archive(index, mode, normal, referenceNormal, pointOnPlane, legacy, space, lightmapSpace, holes, exit,
                resolution, lightmapValid, lightmap, category, material, edges, triangles, extraSpaces);
    }
};

struct PlainMesh {
    bool facesFlipped;
    std::vector<Numbers3> vertices;
    std::vector<PlainPolygon> polygons;
    template <class Archive> void serialize(Archive& archive) { archive(facesFlipped, vertices, polygons); }
};

Numbers3 plain(const M_Vector3Template<double>& v) { return {v.x, v.y, v.z}; }

PlainSpace plain(const M_PlanarSpace3Template<double>& space) {
    const auto& [a, b, c] = space.getMatrix().rows;
    return {plain(space.getNormal()),
            plain(space.getPoint()),
            {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z},
            {space.getOffset().x, space.getOffset().y}};
}

PlainMesh plain(const CN_LevelEntityMesh& mesh) {
    PlainMesh out{mesh.areFacesFlipped(), {}, {}};
    for (const CN_Vertex& vertex : mesh.getVertexList())
        out.vertices.push_back(plain(vertex.local));
    for (const CN_Polygon& p : mesh.getPolygonList()) {
        const CN_LightmapMapping& mapping = p.getLightmapMapping();
        out.polygons.push_back({p.getPolygonIndex(),
                                p.getPolyMode(),
                                plain(p.getNormal()),
                                plain(p.getReferenceNormal()),
                                plain(p.getPointOnPlane()),
                                {1, 0, 0, 0, 1, 0, 0, 0, 1},
                                plain(p.getUVSpace(0)),
                                plain(mapping.getPhysicalSpace()),
                                p.getNumHoles(),
                                -1,
                                mapping.getResolution(),
                                mapping.isLightmapValid(),
                                static_cast<unsigned int>(mapping.getLightmapID()),
                                CATEGORY,
                                p.getMaterial()->name().str(),
                                {},
                                {},
                                {}});
        for (const CN_Edge& edge : p.getEdgeList())
            out.polygons.back().edges.push_back({edge.index(0), edge.index(1)});
        for (const CN_Triangle& triangle : p.getTriangleList())
            out.polygons.back().triangles.push_back({plain(p.getWorldNormal()), triangle.getVertices()});
    }
    return out;
}
#endif

#ifdef CAIRN_BENCH_WITH_ASSIMP
constexpr const char* ASSIMP_FORMATS[][2] = {{"Assimp assbin", "assbin"}, {"Assimp glb", "glb2"}};

/// Corners and faces of the mesh; triangles in place of the quads where `triangles` is set.
std::unique_ptr<aiScene> sceneOf(const CN_LevelEntityMesh& mesh, bool triangles) {
    auto scene = std::make_unique<aiScene>();
    scene->mRootNode = new aiNode("root");
    scene->mNumMaterials = 1;
    scene->mMaterials = new aiMaterial* [1] { new aiMaterial };
    auto* const out = new aiMesh;
    scene->mNumMeshes = 1;
    scene->mMeshes = new aiMesh* [1] { out };
    scene->mRootNode->mNumMeshes = 1;
    scene->mRootNode->mMeshes = new unsigned[1]{0};
    out->mPrimitiveTypes = triangles ? aiPrimitiveType_TRIANGLE : aiPrimitiveType_POLYGON;
    out->mNumVertices = static_cast<unsigned>(mesh.getVertexList().count());
    out->mVertices = new aiVector3D[out->mNumVertices];
    std::transform(mesh.getVertexList().begin(), mesh.getVertexList().end(), out->mVertices, [](const CN_Vertex& v) {
        return aiVector3D(static_cast<float>(v.local.x), static_cast<float>(v.local.y), static_cast<float>(v.local.z));
    });
    std::vector<std::vector<int>> faces;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        if (!triangles)
            faces.emplace_back();
        for (const CN_Edge& edge : polygon.getEdgeList())
            if (!triangles)
                faces.back().push_back(edge.index(0));
        for (const CN_Triangle& triangle : polygon.getTriangleList())
            if (triangles)
                faces.push_back(triangle.getVertices());
    }
    out->mNumFaces = static_cast<unsigned>(faces.size());
    out->mFaces = new aiFace[faces.size()];
    for (std::size_t i = 0; i < faces.size(); ++i) {
        out->mFaces[i].mNumIndices = static_cast<unsigned>(faces[i].size());
        out->mFaces[i].mIndices = new unsigned[faces[i].size()];
        std::copy(faces[i].begin(), faces[i].end(), out->mFaces[i].mIndices);
    }
    return scene;
}
#endif

/// What the rows of one size work on.
struct Shelf {
    CN_Document document;
    CN_LevelEntityMesh* mesh; ///< as it came from a file
    F_MemoryFile file;
#ifdef CAIRN_BENCH_WITH_CEREAL
    PlainMesh plainMesh;
    std::string archive;
#endif

    explicit Shelf(int n) {
        document.createCairnLevelEntities();
        mesh = addFloor(document, n);
        mesh->saveEntitySpecificData(file);
        file.toRead();
        mesh->loadEntitySpecificData(file);
#ifdef CAIRN_BENCH_WITH_CEREAL
        plainMesh = plain(*mesh);
        std::ostringstream out;
        cereal::BinaryOutputArchive{out}(plainMesh);
        archive = std::move(out).str();
#endif
    }
};

#ifdef CAIRN_BENCH_WITH_ASSIMP
/// Rows without a witness in common with ours: faces come back as triangles.
void addAssimpRows(bench::Report& report, int n, const std::shared_ptr<Shelf>& shelf) {
    for (const auto& [contender, format] : ASSIMP_FORMATS) {
        const std::shared_ptr<aiScene> scene = sceneOf(*shelf->mesh, std::string(format) == "glb2");
        report.add("save", contender, n, [shelf, scene, format] {
            Assimp::Exporter exporter;
            return exporter.ExportToBlob(scene.get(), format) ? shelf->mesh->getPolygonList().count() : 0;
        });
        Assimp::Exporter exporter;
        const aiExportDataBlob* const blob = exporter.ExportToBlob(scene.get(), format);
        const auto bytes = std::make_shared<std::string>(static_cast<const char*>(blob->data), blob->size);
        report.add("load", contender, n, [shelf, bytes, format] {
            Assimp::Importer importer;
            const aiScene* const loaded = importer.ReadFileFromMemory(bytes->data(), bytes->size(), 0,
                                                                      std::string(format) == "glb2" ? "glb" : format);
            return loaded && loaded->mNumMeshes == 1 ? shelf->mesh->getPolygonList().count() : 0;
        });
    }
}
#endif

void addScenes(bench::Report& report, int n) {
    const auto shelf = std::make_shared<Shelf>(n);
#ifdef CAIRN_BENCH_WITH_CEREAL
    report.add("save", "cereal", n, [shelf] {
        std::ostringstream out;
        cereal::BinaryOutputArchive{out}(shelf->plainMesh);
        return out.tellp() > 0 ? shelf->mesh->getPolygonList().count() : 0;
    });
#endif
    report.add("save", "cairn", n, [shelf] {
        F_MemoryFile file;
        shelf->mesh->save(file);
        return file.getSize() > 0 ? shelf->mesh->getPolygonList().count() : 0;
    });
#ifdef CAIRN_BENCH_WITH_CEREAL
    report.addTimed("load", "cereal", n, [shelf](bench::Watch& watch) {
        std::istringstream in(shelf->archive);
        PlainMesh loaded;
        watch.timed([&] { cereal::BinaryInputArchive{in}(loaded); });
        return loaded.polygons.size();
    });
#endif
    report.addTimed("load", "cairn", n, [shelf](bench::Watch& watch) {
        CN_LevelEntityMesh loaded;
        loaded.setDocument(&shelf->document);
        F_MemoryFile file(shelf->file.getAddress(), shelf->file.getSize(), false);
        watch.timed([&] { loaded.loadEntitySpecificData(file); });
        loaded.updateMaterialRefCounts(false);
        return static_cast<std::size_t>(loaded.getPolygonList().count());
    });
#ifdef CAIRN_BENCH_WITH_ASSIMP
    addAssimpRows(report, n, shelf);
#endif
}

/// What a loaded mesh takes, by the allocator's own count, beside its record.
void addMemory(bench::Report& report, int n) {
#ifdef __GLIBC__
    const auto shelf = std::make_shared<Shelf>(n);
    report.addBytes("memory", "its record", n, [shelf] { return static_cast<double>(shelf->file.getSize()); });
    report.addBytes("memory", "cairn", n, [shelf] {
        CN_LevelEntityMesh loaded;
        loaded.setDocument(&shelf->document);
        F_MemoryFile file(shelf->file.getAddress(), shelf->file.getSize(), false);
        const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        loaded.loadEntitySpecificData(file);
        const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
        loaded.updateMaterialRefCounts(false);
        return static_cast<double>(after - before);
    });
#endif
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    cairn::bench::keepFreedMemory();
    report.peers({"cereal", "Assimp assbin", "Assimp glb", "its record"});
    for (const int n : cairn::bench::sizes({1000, 10000, 100000}))
        cairn::addScenes(report, n);
    cairn::addMemory(report, 10000);
    report.limitRatio("save", "cairn", 0.5);
    report.limitRatio("load", "cairn", 2);
    report.reason("save", "cairn", "a polygon is 1.7 kB in memory: a hundred thousand are read from beyond the caches");
    for (const char* scene : {"save", "load"})
        report.limitGrowth(scene, "cairn", 1.1);
}

static const cairn::bench::Scene SCENE("mesh_record",
                                       "Saving and loading meshes by the number of their quads, beside a binary "
                                       "archive of the same fields and files of the bare geometry.",
                                       measure);
