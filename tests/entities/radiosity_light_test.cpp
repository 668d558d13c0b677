#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/geometry/polygon/polygon.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

using namespace cairn;

namespace {

void readRecord(CN_LevelEntityRadiosityLight& light, float hotspot, float falloff, unsigned int index) {
    F_MemoryFile file;
    file.createChunk(0, 1);
    for (unsigned char channel = 1; channel <= 4; ++channel)
        file << channel;
    file << 5.0f << hotspot << falloff << index;
    file.closeChunk();
    file.toRead();
    light.loadEntitySpecificData(file);
}

} // namespace

TEST(RadiosityLight, ReadsItsRecordAndWidensALightWithoutAngles) {
    CN_LevelEntityRadiosityLight light;
    readRecord(light, 10, 0, 0);
    EXPECT_EQ(light.getColor(), I_Color(1, 2, 3, 4));
    EXPECT_EQ(light.getIntensity(), 5);
    EXPECT_EQ(light.getHotspotAngle(), 10);
    EXPECT_EQ(light.getFalloffAngle(), 0);
    readRecord(light, 0, 0, 0);
    EXPECT_EQ(light.getHotspotAngle(), 180);
    EXPECT_EQ(light.getFalloffAngle(), 180);
    CN_RLightProperties properties = light.getRLightProperties();
    properties.initialize();
    EXPECT_EQ(properties.color, I_Color(255, 255, 255, 4));
}

TEST(RadiosityLight, BindsToThePolygonAtItsIndexAndSavesThePlaceItHasNow) {
    CN_LevelEntityMesh mesh;
    CN_Polygon* const first = mesh.addPolygon();
    CN_Polygon* const second = mesh.addPolygon();
    auto* const light = new CN_LevelEntityRadiosityLight;
    mesh.add(light, false);
    readRecord(*light, 1, 1, 1);
    light->generatePointersFromPolygonIndices();
    EXPECT_EQ(light->getRadiosityPolygon(), second);
    EXPECT_EQ(second->getRadiosityLight(), light);
    EXPECT_FALSE(first->isLight());

    mesh.accessPolygonList().remove(first);
    F_MemoryFile file;
    light->saveEntitySpecificData(file);
    file.toRead();
    CN_LevelEntityRadiosityLight again;
    again.loadEntitySpecificData(file);
    mesh.add(&again, false);
    again.generatePointersFromPolygonIndices();
    EXPECT_EQ(again.getRadiosityPolygon(), second);
    mesh.remove(&again);
}

TEST(RadiosityLight, IsRefusedByASaveBelowAMeshWhosePolygonsNoLoadWouldFind) {
    CN_LevelEntityMesh mesh;
    auto* const light = new CN_LevelEntityRadiosityLight;
    EXPECT_EQ(light->findRecordFault(), "");
    mesh.add(light, false);
    for (CN_Polygon* const polygon : {static_cast<CN_Polygon*>(nullptr), mesh.addPolygon()}) {
        light->setRadiosityPolygon(polygon);
        F_MemoryFile file;
        const std::string failure = test::failureText([&] { mesh.save(file); });
        EXPECT_NE(failure.find("Radiosity_Light_00"), string::npos) << failure;
        EXPECT_EQ(file.getSize(), 0u);
    }
}

TEST(RadiosityLight, EndsTheProcessOnAnIndexBeyondThePolygons) {
    test::ProcessStateGuard state;
    CN_LevelEntityMesh mesh;
    mesh.setName("Room", false);
    mesh.addPolygon();
    auto* const light = new CN_LevelEntityRadiosityLight;
    mesh.add(light, false);
    for (const auto& [index, shown] : {std::pair{1u, "1"}, std::pair{0xFFFFFFFFu, "-1"}}) {
        state.clear();
        readRecord(*light, 1, 1, index);
        try {
            light->generatePointersFromPolygonIndices();
            ADD_FAILURE();
        } catch (test::ProcessEnded* ended) {
            F_ExceptionGuard guard(ended);
            EXPECT_EQ(ended->exitCode(), 0);
        }
        ASSERT_EQ(state.boxes().size(), 1u);
        EXPECT_EQ(state.boxes()[0].text,
                  "RadiosityPolygon idx " + std::string(shown) + " not found in parent mesh 'Room'. Exiting..");
        EXPECT_EQ(light->getRadiosityPolygon(), nullptr);
    }
}
