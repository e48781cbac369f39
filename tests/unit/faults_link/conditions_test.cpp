#include "tests/faults/link/Conditions.h"

#include <gtest/gtest.h>

namespace faults {
namespace {

TEST(LinkConditions, AreSetByCommands) {
    Conditions conditions;
    for (const char* command : {"loss 2.5", "delay 2", "jitter 0.5", "reorder 3", "duplicate 4", "rate 1000",
                                "queue 30000", "down"})
        EXPECT_TRUE(Apply(command, conditions)) << command;
    EXPECT_EQ(conditions.lossPercent, 2.5);
    EXPECT_EQ(conditions.delayUs, 2000);
    EXPECT_EQ(conditions.jitterUs, 500);
    EXPECT_EQ(conditions.reorderPercent, 3);
    EXPECT_EQ(conditions.duplicatePercent, 4);
    EXPECT_EQ(conditions.rateKbits, 1000);
    EXPECT_EQ(conditions.queueBytes, 30'000U);
    EXPECT_FALSE(conditions.up);
    EXPECT_TRUE(Apply("up", conditions));
    EXPECT_TRUE(conditions.up);
}

TEST(LinkConditions, StayAsTheyAreForAnythingElse) {
    Conditions conditions;
    for (const char* command :
         {"", "loss", "loss x", "loss -1", "loss 101", "loss 1 2", "up 1", "delay nan", "rat 5"})
        EXPECT_FALSE(Apply(command, conditions)) << command;
    EXPECT_TRUE(conditions.up);
    EXPECT_EQ(conditions.lossPercent, 0);
    EXPECT_EQ(conditions.rateKbits, 0);
}

}  // namespace
}  // namespace faults
