#include "webrtc_gstreamer/PictureSpacing.h"

#include <gtest/gtest.h>

#include <optional>

namespace webrtc_gstreamer {
namespace {

using std::chrono::milliseconds;

class PictureSpacingTest : public testing::Test {
protected:
    // When the picture that is ready at the one time, and has the other as its stamp, is due. It is handed
    // out so much later.
    long DueMs(int readyMs, std::optional<int> stampMs, int lateMs = 0) {
        std::optional<PictureSpacing::Duration> stamp;
        if (stampMs) stamp = milliseconds(*stampMs);
        const auto due = spacing.Due(PictureSpacing::TimePoint(milliseconds(readyMs)), stamp);
        spacing.HandedOut(due + milliseconds(lateMs), stamp);
        return std::chrono::duration_cast<milliseconds>(due.time_since_epoch()).count();
    }

    PictureSpacing spacing;
};

TEST_F(PictureSpacingTest, PicturesThatAreOnTimeWaitForNothing) {
    EXPECT_EQ(DueMs(1000, 0), 1000);
    EXPECT_EQ(DueMs(1033, 33), 1033);
    EXPECT_EQ(DueMs(1053, 66), 1053) << "20 ms after the one before";
}

TEST_F(PictureSpacingTest, ThePictureAfterALateOneWaitsForThreeFifthsOfTheirDistance) {
    EXPECT_EQ(DueMs(1030, 0), 1030);
    EXPECT_EQ(DueMs(1035, 20), 1042);
    EXPECT_EQ(DueMs(1042, 40), 1054);
    EXPECT_EQ(DueMs(1062, 60), 1066);
    EXPECT_EQ(DueMs(1082, 80), 1082) << "made up for";
}

TEST_F(PictureSpacingTest, NobodyWaitsMoreThan20Milliseconds) {
    EXPECT_EQ(DueMs(1000, 0), 1000);
    EXPECT_EQ(DueMs(1001, 5000), 1020);
}

TEST_F(PictureSpacingTest, WhatWasHandedOutLateCountsFromThen) {
    EXPECT_EQ(DueMs(1000, 0, 7), 1000);
    EXPECT_EQ(DueMs(1010, 33), 1026);
}

// A host that pulls 60 times a second, one that is up to 3 ms late with it.
TEST_F(PictureSpacingTest, EachOf30PicturesASecondIsPulledBy60PullsASecond) {
    constexpr int kPictures = 10'000;
    int seen = 0;
    int pull = 0;
    long previousUs = 0;
    for (int picture = 0; picture < kPictures; ++picture) {
        const int lateUs = picture * 7919 % 30'000;
        const std::chrono::microseconds ready(picture * 33'333 + lateUs);
        const std::chrono::microseconds stamp(picture * 33'333);
        const auto due = spacing.Due(PictureSpacing::TimePoint(ready), stamp);
        spacing.HandedOut(due, stamp);
        const long dueUs =
            std::chrono::duration_cast<std::chrono::microseconds>(due.time_since_epoch()).count();
        const auto pulledAtUs = [](int number) { return number * 50'000L / 3 + number * 6271 % 3000; };
        // Did a pull fall between the picture before and this one?
        bool pulled = false;
        for (; pulledAtUs(pull) < dueUs; ++pull)
            pulled = pulled || pulledAtUs(pull) >= previousUs;
        if (picture > 0 && pulled) ++seen;
        previousUs = dueUs;
    }
    EXPECT_EQ(seen, kPictures - 1);
}

TEST_F(PictureSpacingTest, WithoutStampsThatGrowNothingWaits) {
    EXPECT_EQ(DueMs(1000, std::nullopt), 1000);
    EXPECT_EQ(DueMs(1001, 33), 1001) << "nothing to compare it with";
    EXPECT_EQ(DueMs(1002, std::nullopt), 1002);
    EXPECT_EQ(DueMs(1003, 66), 1003);
    EXPECT_EQ(DueMs(1004, 66), 1004) << "the same stamp";
    EXPECT_EQ(DueMs(1005, 20), 1005) << "an earlier one: the stream began anew";
}

}  // namespace
}  // namespace webrtc_gstreamer
