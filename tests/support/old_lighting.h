#pragma once

#include "cairn/imaging/image_template.h"
#include "tests/support/old_records.h"

#include <filesystem>
#include <string>
#include <vector>

/// Writers of stored light in all its forms.
namespace cairn::test {

enum class LightmapForm {
    NEWEST,
    VERSION_1, ///< no pass-through
    BARE       ///< no chunks and no curve, four floats a pixel
};

/// A pool of the lightmaps 3 (2 x 1 pixels, passes through) and 7 (1 x 2), of which each pixel is `oldLight` of its index.
Bytes makeLightmapPool(LightmapForm form);
II::ColorF oldLight(std::size_t pixel);

/// One grid of 2 x 1 x 1 points in the box from 0, 0, 0 to 1, 2, 3; the points' bytes count from 0.
Bytes makeVolumeLighting(int version);

/// A record of which one file is stored in tests/data/records.
struct StoredLighting {
    std::string name; ///< of the file, without its ending
    Bytes bytes;
};
std::vector<StoredLighting> storedLighting();
std::filesystem::path storedLightingPath(const std::string& name);

} // namespace cairn::test
