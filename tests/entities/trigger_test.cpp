#include "cairn/entities/trigger.h"
#include "cairn/foundation/memory_file.h"

#include <gtest/gtest.h>

using namespace cairn;

TEST(Trigger, HasOneRadiusInItsSphereAndItsSettings) {
    CN_LevelEntityTrigger trigger;
    EXPECT_EQ(trigger.getTriggerProperties(), CN_TriggerProperties());
    trigger.setRadius(3);
    EXPECT_EQ(trigger.getTriggerProperties().radius, 3);
    CN_TriggerProperties properties;
    properties.radius = 4;
    properties.bulletTrigger = true;
    properties.animationName = "Pull";
    trigger.setTriggerProperties(properties);
    EXPECT_EQ(trigger.getRadius(), 4);
    EXPECT_EQ(trigger.getBoundingRadius(), 4);

    F_MemoryFile file;
    trigger.saveEntitySpecificData(file);
    file.toRead();
    CN_LevelEntityTrigger again;
    again.loadEntitySpecificData(file);
    EXPECT_EQ(again.getTriggerProperties(), properties);
    EXPECT_EQ(again.getRadius(), 4);
    EXPECT_EQ(CN_LevelEntityTrigger(again).getTriggerProperties(), properties);
}
