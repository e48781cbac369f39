// How often the phone is told what has arrived.
#include <gtest/gtest.h>

#include <chrono>
#include <iostream>

#include "tests/contract/webrtc/Call.h"

namespace contract {
namespace {

using std::chrono::steady_clock;

// Ten are usual.
constexpr double kMostPerSecond = 15;
constexpr int kPictures = 60;
constexpr int kMostWindows = 8;

double ReportsPerSecond(Call& call) {
    const int before = call.phone.ReportsHeard();
    const auto begin = steady_clock::now();
    EXPECT_TRUE(call.WaitForPictures(kPictures));
    const std::chrono::duration<double> seconds = steady_clock::now() - begin;
    return (call.phone.ReportsHeard() - before) / seconds.count();
}

// A busy machine may lose packets, and reports are more frequent for a while then.
TEST(Reports, LeaveRarelyWhileNothingIsLost) {
    Call call;
    call.Connect();
    ASSERT_TRUE(call.WaitForPictures(30));
    double rate = kMostPerSecond + 1;
    for (int window = 0; window < kMostWindows && rate > kMostPerSecond; ++window)
        rate = ReportsPerSecond(call);
    std::cout << rate << " reports per second\n";
    EXPECT_LE(rate, kMostPerSecond);
    EXPECT_GT(rate, 1);
}

}  // namespace
}  // namespace contract
