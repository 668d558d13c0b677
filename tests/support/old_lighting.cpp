#include "tests/support/old_lighting.h"

#include "tests/support/test_data.h"

namespace cairn::test {

namespace {

Bytes bytesOf(const F_MemoryFile& file) {
    const auto* bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

void writeLightmap(F_MemoryFile& file, LightmapForm form, unsigned width, unsigned height, bool passThrough) {
    const bool bare = form == LightmapForm::BARE;
    if (!bare)
        file.createChunk(0, form == LightmapForm::VERSION_1 ? 1 : 2);
    file << width << height;
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
        const II::ColorF light = oldLight(i);
        file << light.red << light.green << light.blue;
        if (bare)
            file << -1.0f;
    }
    if (form == LightmapForm::NEWEST)
        file << passThrough;
    if (!bare)
        file.closeChunk();
}

} // namespace

II::ColorF oldLight(std::size_t pixel) {
    const auto number = static_cast<float>(pixel);
    return {10 + number, 300 * number, 0.5f - number};
}

Bytes makeLightmapPool(LightmapForm form) {
    F_MemoryFile file;
    const bool bare = form == LightmapForm::BARE;
    if (!bare)
        file.createChunk(0, 1);
    file << 2 << 3ul;
    writeLightmap(file, form, 2, 1, true);
    file << 7ul;
    writeLightmap(file, form, 1, 2, false);
    if (!bare) {
        file.createChunk(0, 1);
        file << 100.0f << 10.0f << 200.0f << 0.5f;
        file.closeChunk();
        file.closeChunk();
    }
    return bytesOf(file);
}

Bytes makeVolumeLighting(int version) {
    F_MemoryFile file;
    file.createChunk(0, version);
    if (version > 0)
        file << 1u;
    file << 2 << 1 << 1 << M_Vector3Template<float>(0, 0, 0) << M_Vector3Template<float>(1, 2, 3);
    for (unsigned char byte = 0; byte < 50; ++byte)
        file << byte;
    file.closeChunk();
    return bytesOf(file);
}

std::vector<StoredLighting> storedLighting() {
    return {{"lightmap_2", makeLightmapPool(LightmapForm::NEWEST)},
            {"lightmap_1", makeLightmapPool(LightmapForm::VERSION_1)},
            {"lightmap_bare", makeLightmapPool(LightmapForm::BARE)},
            {"volume_lighting_1", makeVolumeLighting(1)},
            {"volume_lighting_0", makeVolumeLighting(0)}};
}

std::filesystem::path storedLightingPath(const std::string& name) {
    return projectFile("tests/data/records/" + name + ".record");
}

} // namespace cairn::test
