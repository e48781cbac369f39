#include "panel/data_rate.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::int64_t kNoRate = std::numeric_limits<std::int64_t>::min();

std::int64_t Rate(std::int64_t bytes, std::int64_t elapsedUs) {
    nxWebRtcStats previous;
    previous.timestampUs = 1'000'000'000;
    previous.bytesReceived = 5'000'000;
    nxWebRtcStats current = previous;
    current.timestampUs += elapsedUs;
    current.bytesReceived += bytes;
    return BytesPerSecond(previous, current);
}

TEST(DataRate, IsBytesOverTime) {
    EXPECT_EQ(Rate(2'500'000, 2'000'000), 1'250'000);
    EXPECT_EQ(Rate(312'500, 500'000), 625'000);
    EXPECT_EQ(Rate(0, 500'000), 0);
}

TEST(DataRate, IsTruncatedToWholeBytes) {
    EXPECT_EQ(Rate(1, 1'500'000), 0);
    EXPECT_EQ(Rate(5, 1'500'000), 3);
    EXPECT_EQ(Rate(-1, 1'500'000), 0);
    EXPECT_EQ(Rate(-5, 1'500'000), -3);
}

TEST(DataRate, IsNegativeWhenOneCounterWentBack) {
    EXPECT_LT(Rate(-1000, 500'000), 0);
    EXPECT_LT(Rate(1000, -500'000), 0);
}

TEST(DataRate, CannotBeHadWithoutTime) {
    EXPECT_EQ(Rate(1000, 0), kNoRate);
    EXPECT_EQ(Rate(-1000, 0), kNoRate);
    EXPECT_EQ(Rate(0, 0), kNoRate);
}

TEST(DataRate, CannotBeHadOutOfRange) {
    nxWebRtcStats previous;
    nxWebRtcStats current;
    current.timestampUs = 1;
    current.bytesReceived = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(BytesPerSecond(previous, current), kNoRate);
    previous.bytesReceived = std::numeric_limits<std::int64_t>::min();
    EXPECT_LT(BytesPerSecond(previous, current), 0);  // the difference wraps
}

TEST(DataRateText, ShowsMegabitsWithOneDecimal) {
    EXPECT_EQ(DataRateText(1'250'000), "10.0 Mbits");
    EXPECT_EQ(DataRateText(625'000), "5.0 Mbits");
    EXPECT_EQ(DataRateText(0), "0.0 Mbits");
    EXPECT_EQ(DataRateText(125'000'000), "1000.0 Mbits");
}

TEST(DataRateText, RoundsTheBinaryValue) {
    EXPECT_EQ(DataRateText(6'250), "0.1 Mbits");
    EXPECT_EQ(DataRateText(6'249), "0.0 Mbits");
    EXPECT_EQ(DataRateText(18'750), "0.1 Mbits");
    EXPECT_EQ(DataRateText(31'250), "0.2 Mbits");
}

}  // namespace
