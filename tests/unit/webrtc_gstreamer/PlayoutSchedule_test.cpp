#include "webrtc_gstreamer/PlayoutSchedule.h"

#include <gtest/gtest.h>

namespace webrtc_gstreamer {
namespace {

using std::chrono::milliseconds;

class PlayoutScheduleTest : public testing::Test {
protected:
    // Blocks played by a worker that is awake from `timeMs` on until nothing is due any more.
    int Wake(int timeMs) {
        int blocks = 0;
        for (; schedule.Due() <= At(timeMs); ++blocks)
            schedule.Play(At(timeMs));
        return blocks;
    }
    static PlayoutSchedule::TimePoint At(int timeMs) {
        return PlayoutSchedule::TimePoint(milliseconds(timeMs));
    }

    PlayoutSchedule schedule;
};

TEST_F(PlayoutScheduleTest, TheFirstBlockIsDueTenMillisecondsAfterTheStart) {
    schedule.Begin(At(1000));
    EXPECT_EQ(Wake(1009), 0);
    EXPECT_EQ(Wake(1010), 1);
}

TEST_F(PlayoutScheduleTest, AWorkerThatWakesLateMakesUpForWhatItMissed) {
    schedule.Begin(At(0));
    EXPECT_EQ(Wake(10), 1);
    EXPECT_EQ(Wake(57), 4) << "20, 30, 40 and 50";
    EXPECT_EQ(schedule.Due(), At(60)) << "lateness does not move the clock";
    EXPECT_EQ(Wake(1050), 100) << "up to a second";
}

TEST_F(PlayoutScheduleTest, AfterAStopOfMoreThanASecondItBeginsAnew) {
    schedule.Begin(At(0));
    EXPECT_EQ(Wake(10), 1);
    EXPECT_EQ(Wake(1021), 1);
    EXPECT_EQ(schedule.Due(), At(1031));
}

TEST_F(PlayoutScheduleTest, BlocksFollowTheClockHoweverLateEachWakeIs) {
    schedule.Begin(At(0));
    int blocks = 0;
    int timeMs = 0;
    for (int wake = 0; wake < 10'000; ++wake)
        blocks += Wake(timeMs += 10 + wake * 7919 % 60);
    EXPECT_EQ(blocks, timeMs / 10);
}

}  // namespace
}  // namespace webrtc_gstreamer
