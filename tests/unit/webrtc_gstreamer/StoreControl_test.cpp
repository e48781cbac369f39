#include "webrtc_gstreamer/StoreControl.h"

#include <gtest/gtest.h>

namespace webrtc_gstreamer {
namespace {

constexpr int kBlock = 480;
constexpr int kMinute = 6000;  // blocks

class StoreControlTest : public testing::Test {
protected:
    StoreControlTest() { control.Begin(); }

    // A store that packets of 20 ms fill, with so many frames just after one has come.
    void Saw(int blocks, double highest) {
        for (int block = 0; block < blocks; ++block)
            control.SpeedFor(block % 2 == 0 ? highest : highest - kBlock);
    }
    void Dip(double stored) { control.SpeedFor(stored); }

    StoreControl control{kBlock, 17};
};

TEST_F(StoreControlTest, BeginsWithThirtyMilliseconds) {
    EXPECT_DOUBLE_EQ(control.Target(), 1440);
    EXPECT_DOUBLE_EQ(control.BeginAt(), 1440 + 240) << "just after a packet";
}

TEST_F(StoreControlTest, ATooFullStoreIsPlayedFasterATooEmptyOneSlower) {
    for (int block = 0; block < 3000; ++block)
        control.SpeedFor(2000);
    EXPECT_GT(control.SpeedFor(2000), 1.0);
    for (int block = 0; block < 3000; ++block)
        control.SpeedFor(1200);
    EXPECT_LT(control.SpeedFor(1200), 1.0);
}

TEST_F(StoreControlTest, TheSpeedChangesByAFifthOfAPercentAtMost) {
    double speed = 1;
    for (int block = 0; block < 3000; ++block)
        speed = control.SpeedFor(8000);
    EXPECT_DOUBLE_EQ(speed, 1.002);
    StoreControl starving(kBlock, 17);
    starving.Begin();
    for (int block = 0; block < 3000; ++block)
        speed = starving.SpeedFor(0);
    EXPECT_DOUBLE_EQ(speed, 0.998);
}

TEST_F(StoreControlTest, ALumpIsNoReasonToHurry) {
    EXPECT_NEAR(control.SpeedFor(2400), 1.0, 1e-5);
}

TEST_F(StoreControlTest, TheTargetOutlastsMoreThanTheWorstDipOfMostMinutes) {
    Saw(200, 1680);
    Dip(0);
    // 1.7 times the dip of about 30 ms; a block and the resampler's window.
    EXPECT_NEAR(control.Target(), 1440 * 1.7 + 497, 20);
}

TEST_F(StoreControlTest, AMinuteUnlikeTheOthersCountsForItselfOnly) {
    Saw(9 * kMinute, 1680);
    Dip(0);
    EXPECT_NEAR(control.Target(), 1440 + 480 + 497, 20);
}

TEST_F(StoreControlTest, TheMarginIsTenMillisecondsAtLeast) {
    Saw(11 * kMinute, 1440 + 240);
    const double dip = control.Target() - 497 - 480;
    EXPECT_NEAR(dip, 240, 2) << "packets alone make that; what was assumed at first is forgotten";
}

TEST_F(StoreControlTest, ADipIsRememberedForTenMinutes) {
    Saw(200, 1680);
    Dip(0);
    const double raised = 1440 + 480 + 497;
    Saw(2 * kMinute, raised + 240);
    Saw(6 * kMinute, raised + 240);
    EXPECT_NEAR(control.Target(), raised, 20);
    Saw(3 * kMinute, raised + 240);
    EXPECT_LT(control.Target(), raised - 600);
}

TEST_F(StoreControlTest, AnEmptyStoreRaisesTheTargetUpToALimit) {
    const double before = control.Target();
    control.RunEmpty();
    EXPECT_GE(control.Target(), before + 400);
    for (int time = 0; time < 100; ++time) {
        control.Begin();
        control.RunEmpty();
    }
    EXPECT_DOUBLE_EQ(control.Target(), StoreControl::kHighestTarget);
}

TEST_F(StoreControlTest, MuchTooMuchIsLeftOutAtOnceMoreThanSpeedCanMendAfterAWhile) {
    EXPECT_DOUBLE_EQ(control.Excess(1440 + 9600), 0);
    EXPECT_DOUBLE_EQ(control.Excess(1440 + 9601), 9601);
    EXPECT_DOUBLE_EQ(control.Excess(1440 + 4000), 0);
    int blocks = 0;
    while (control.Excess(1440 + 4000) == 0) {
        control.SpeedFor(1440 + 4000);
        ASSERT_LT(++blocks, 2000);
    }
    EXPECT_GT(blocks, 200) << "not for a lump that passes";
    const double excess = control.Excess(1440 + 4000);
    EXPECT_NEAR(excess, 2880, 30);
    control.LeaveOut(excess);
    EXPECT_DOUBLE_EQ(control.Excess(1440 + 4000 - excess), 0);
}

}  // namespace
}  // namespace webrtc_gstreamer
