#include "cairn/entities/radiosity_light.h"
#include "cairn/foundation/memory_file.h"

#include <gtest/gtest.h>

using namespace cairn;

namespace {

void readRecord(CN_LevelEntityRadiosityLight& light, float hotspot, float falloff) {
    F_MemoryFile file;
    file.createChunk(0, 1);
    for (unsigned char channel = 1; channel <= 4; ++channel)
        file << channel;
    file << 5.0f << hotspot << falloff << 0u;
    file.closeChunk();
    file.toRead();
    light.loadEntitySpecificData(file);
}

} // namespace

TEST(RadiosityLight, ReadsItsRecordAndWidensALightWithoutAngles) {
    CN_LevelEntityRadiosityLight light;
    readRecord(light, 10, 0);
    EXPECT_EQ(light.getColor(), I_Color(1, 2, 3, 4));
    EXPECT_EQ(light.getIntensity(), 5);
    EXPECT_EQ(light.getHotspotAngle(), 10);
    EXPECT_EQ(light.getFalloffAngle(), 0);
    readRecord(light, 0, 0);
    EXPECT_EQ(light.getHotspotAngle(), 180);
    EXPECT_EQ(light.getFalloffAngle(), 180);
    CN_RLightProperties properties = light.getRLightProperties();
    properties.initialize();
    EXPECT_EQ(properties.color, I_Color(255, 255, 255, 4));
}
