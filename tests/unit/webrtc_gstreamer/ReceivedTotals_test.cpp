#include "webrtc_gstreamer/ReceivedTotals.h"

#include <gtest/gtest.h>

namespace webrtc_gstreamer {
namespace {

TEST(ReceivedTotals, AreNothingBeforeTheFirstStream) {
    EXPECT_EQ(ReceivedTotals().Sum(), Received());
}

TEST(ReceivedTotals, SumPictureAndSound) {
    ReceivedTotals totals;
    totals.Take(7, {1000, 10, 2});
    totals.Take(8, {300, 5, -1});
    EXPECT_EQ(totals.Sum(), (Received{1300, 15, 1}));
}

TEST(ReceivedTotals, TakeTheLatestCountOfAStream) {
    ReceivedTotals totals;
    totals.Take(7, {1000, 10, 2});
    totals.Take(7, {1500, 12, 3});
    EXPECT_EQ(totals.Sum(), (Received{1500, 12, 3}));
}

TEST(ReceivedTotals, NeverFallWhenAnotherStreamReplacesOne) {
    ReceivedTotals totals;
    totals.Take(7, {1000, 10, 2});
    totals.Take(9, {50, 1, 0});
    EXPECT_EQ(totals.Sum(), (Received{1050, 11, 2}));
}

}  // namespace
}  // namespace webrtc_gstreamer
