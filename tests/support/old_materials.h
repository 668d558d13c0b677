#pragma once

#include "tests/support/old_records.h"

/// Writers of the textures and materials of a level file as older versions wrote them.
namespace cairn::test {

/// A material as it shall stand in a file.
struct OldMaterial {
    std::string name = "Stone";
    std::vector<std::string> diffuse = {"wall.tga"}; ///< versions up to 4 store the first
    std::string light = {}, detail = {};
    double tiles[4] = {2, 3, 4, 5};
    double detailScale = 6; ///< stored above version 2
    bool doubleSided = true;
    bool firstFlag = false; ///< stored up to version 1
    unsigned int alphaTestValue = 0;
    bool adultContent = true;
    bool secondFlag = false;                             ///< stored up to version 1
    int blendType = 4;                                   ///< stored above version 1
    bool edgeBlend = true;                               ///< stored above version 1
    bool usesReflection = true, usesGloss = true;        ///< stored above version 3
    std::string reflection = "sky.tga", gloss = "G.tga"; ///< stored above version 3
    int visibleFrame = 1, framerate = 12;                ///< stored above version 4
};

void writeOldMaterial(F_MemoryFile& file, int version, const OldMaterial& material);
/// The chunk with the category's own fields; `count` materials are to follow.
void writeOldCategory(F_MemoryFile& file, const std::string& name, std::size_t count);
/// A list of textures of 2 by 2 pixels.
void writeTextures(F_MemoryFile& file, const std::vector<std::string>& names);

/// "material_<version>" for each version: `level` with one category "Old" and in it "Stone" with all that the version
/// knows.
std::vector<StoredRecord> storedMaterialRecords(const OldLevel& level);

} // namespace cairn::test
