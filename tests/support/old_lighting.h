#pragma once

#include "cairn/foundation/memory_file.h"
#include "cairn/imaging/image_template.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/old_records.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
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

template <class Light> void loadLight(Light& light, std::span<const unsigned char> bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    light.load(file);
}
template <class Light> Bytes saveLight(Light& light) {
    F_MemoryFile file;
    light.save(file);
    const auto* bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

/// Expects that every damage of the record is refused, or loads and comes back from its save as it was.
template <class Light, class Use> void expectDamageIsRefusedOrLoads(const Bytes& record, Use&& use) {
    const auto result = driveHostileBytes(record, [&use](std::span<const unsigned char> bytes) {
        Light light, again;
        loadLight(light, bytes);
        use(light);
        loadLight(again, saveLight(light));
        if (saveLight(again) != saveLight(light))
            throw std::logic_error("what loads does not come back from its save as it was");
    });
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.taken, 0u);
    EXPECT_GT(result.refused, 0u);
}

} // namespace cairn::test
