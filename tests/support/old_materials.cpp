#include "tests/support/old_materials.h"

#include "cairn/foundation/memory_file.h"
#include "tests/support/image_files.h"

namespace cairn::test {

void writeOldMaterial(F_MemoryFile& file, int version, const OldMaterial& m) {
    file.createChunk(0, version);
    file << m.name;
    if (version > 4)
        file.writeCount(m.diffuse.size());
    for (std::size_t i = 0; i < (version > 4 ? m.diffuse.size() : 1); ++i)
        file << m.diffuse[i];
    file << m.light << m.detail << m.tiles[0] << m.tiles[1] << m.tiles[2] << m.tiles[3];
    if (version > 2)
        file << m.detailScale;
    file << m.doubleSided;
    if (version <= 1)
        file << m.firstFlag;
    file << m.alphaTestValue << m.adultContent;
    if (version <= 1)
        file << m.secondFlag;
    else
        file << m.blendType << m.edgeBlend;
    if (version > 3)
        file << m.usesReflection << m.usesGloss << m.reflection << m.gloss;
    if (version > 4)
        file << m.visibleFrame << m.framerate;
    file.closeChunk();
}

void writeOldCategory(F_MemoryFile& file, const std::string& name, std::size_t count) {
    file.createChunk(0, 1);
    file.writeCount(count);
    file << name;
    file.closeChunk();
}

void writeTextures(F_MemoryFile& file, const std::vector<std::string>& names) {
    const Bytes image = makeTga(2, 2, 10, 20, 30);
    file.createChunk(0, 1);
    file.writeCount(names.size());
    for (const std::string& name : names) {
        file.createChunk(0, 1);
        file << 0u << static_cast<int>(image.size()) << name;
        file.write(image.data(), static_cast<int>(image.size()));
        file.closeChunk();
    }
    file.closeChunk();
}

std::vector<StoredRecord> storedMaterialRecords(const OldLevel& level) {
    std::vector<StoredRecord> records;
    for (int version = 0; version <= 5; ++version) {
        records.push_back({"material_" + std::to_string(version), level});
        records.back().level.textures = [](F_MemoryFile& file) {
            writeTextures(file, {"wall.tga", "wall2.tga", "lamp.tga", "grit.tga", "sky.tga", "G.tga"});
        };
        records.back().level.materials = [version](F_MemoryFile& file) {
            file << 1u;
            writeOldCategory(file, "Old", 1);
            writeOldMaterial(file, version,
                             {.diffuse = {"wall.tga", "wall2.tga"},
                              .light = "lamp.tga",
                              .detail = "grit.tga",
                              .firstFlag = version == 0,
                              .secondFlag = version == 1});
        };
    }
    return records;
}

} // namespace cairn::test
