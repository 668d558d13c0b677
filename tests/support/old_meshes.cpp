#include "tests/support/old_meshes.h"

#include "cairn/entities/mesh_properties.h"
#include "cairn/geometry/polygon/polygon.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/test_data.h"

namespace cairn::test {

namespace {

void writeSpace(F_MemoryFile& file, const OldSpace& space) {
    file << space.matrix.row(2) << space.origin << space.matrix << space.offset;
}

int countOr(int told, std::size_t count) { return told == -1 ? static_cast<int>(count) : told; }

void writeExtraSpaces(F_MemoryFile& file, const OldMesh& mesh, const OldPolygon& polygon) {
    file << static_cast<unsigned int>(polygon.spaces.size() + 1);
    for (const auto& [key, space] : polygon.spaces) {
        if (mesh.features & PF_UV_SPACE_KEYS)
            file << key;
        writeSpace(file, space);
    }
}

void writePolygon(F_MemoryFile& file, const OldMesh& mesh, const OldPolygon& polygon) {
    file.createChunk(0, mesh.polygonVersion);
    if (mesh.polygonVersion > 1)
        file << polygon.index;
    file << countOr(polygon.edgeCount, polygon.edges.size());
    file << polygon.normal << polygon.referenceNormal << M_Matrix3Template<double>();
    writeSpace(file, polygon.space);
    file << polygon.pointOnPlane << polygon.holes;
    writeSpace(file, polygon.lightmapSpace);
    file << polygon.lightmapResolution << (polygon.lightmap != 0xFFFFFFFFu) << polygon.lightmap;
    file << polygon.mode << polygon.exit;
    if (mesh.polygonVersion <= 1)
        file << "dropped";
    file << polygon.category << polygon.material;
    for (const auto& [a, b] : polygon.edges)
        file << a << b;
    file << countOr(polygon.triangleCount, polygon.triangles.size());
    for (const std::vector<int>& triangle : polygon.triangles) {
        if (!(mesh.features & PF_NO_TRIANGLE_NORMALS))
            file << polygon.normal;
        if (mesh.features & PF_TRIANGLE_CORNERS)
            file << static_cast<int>(triangle.size());
        for (const int corner : triangle)
            file << corner;
    }
    if (mesh.features & PF_UV_SPACES)
        writeExtraSpaces(file, mesh, polygon);
    if (mesh.polygonVersion <= 2 && (mesh.features & PF_OLD_EXTENT))
        file << 1.0f << 2.0f << 3.0f << 4.0f;
    file.closeChunk();
}

void writeProperties(F_MemoryFile& file, int meshVersion) {
    if (meshVersion <= 5) {
        writeOldMeshProperties(file, meshVersion, 0);
        return;
    }
    CN_MeshProperties properties;
    properties.collideA = false;
    properties.physicalMaterial = "stone";
    properties.save(file);
}

} // namespace

void writeOldMesh(F_MemoryFile& file, const OldMesh& mesh) {
    file.createChunk(0, mesh.version);
    file << mesh.facesFlipped;
    file.writeCount(mesh.vertices.size());
    for (const auto& vertex : mesh.vertices) {
        file.createChunk(0, 1);
        file << vertex;
        file.closeChunk();
    }
    file.writeCount(mesh.polygons.size());
    for (const OldPolygon& polygon : mesh.polygons)
        writePolygon(file, mesh, polygon);
    file << mesh.dynamic;
    if (mesh.dynamic)
        writeOldAnimations(file, mesh.animations);
    writeProperties(file, mesh.version);
    if (mesh.version > 2) {
        file << mesh.trigger;
        if (mesh.trigger)
            writeOldTriggerProperties(file, 3);
    }
    file.closeChunk();
}

std::filesystem::path StoredMesh::path() const { return projectFile("tests/data/records/" + name + ".record"); }

Bytes StoredMesh::bytes() const {
    F_MemoryFile file;
    writeOldMesh(file, mesh);
    return bytesOf(file);
}

std::vector<StoredMesh> storedMeshes() {
    OldMesh newest;
    newest.polygons.resize(2);
    newest.polygons[0].category = "Old";
    newest.polygons[0].material = "Stone";
    newest.polygons[0].spaces = {{1, {.offset = {0.5, 0.25}}}, {2, {.offset = {2, 3}}}};
    newest.polygons[1].index = 1;
    newest.polygons[1].edges = {{1, 3}, {3, 2}, {2, 1}};
    newest.polygons[1].triangles = {{1, 3, 2}};
    std::vector<StoredMesh> stored;
    const auto add = [&](const std::string& name, auto&& change) {
        stored.push_back({name, newest});
        change(stored.back().mesh);
    };
    for (int version = 1; version <= 9; ++version)
        add("mesh_" + std::to_string(version), [version](OldMesh& mesh) {
            mesh.version = version;
            mesh.trigger = version > 2;
            mesh.dynamic = version % 2 == 1;
        });
    for (int version = 1; version <= 2; ++version)
        add("polygon_" + std::to_string(version), [version](OldMesh& mesh) { mesh.polygonVersion = version; });
    add("polygon_features_plain", [](OldMesh& mesh) { mesh.features = PF_EDGES | PF_NO_TRIANGLE_NORMALS; });
    add("polygon_features_unkeyed", [](OldMesh& mesh) { mesh.features &= ~static_cast<unsigned>(PF_UV_SPACE_KEYS); });
    return stored;
}

} // namespace cairn::test
