#include "apps/petrel/serve/GuessLimiter.h"

#include <gtest/gtest.h>

namespace petrel {
namespace {

using namespace std::chrono_literals;

class GuessLimiterTest : public testing::Test {
protected:
    void Fail(const std::string& address, int times) {
        for (int i = 0; i < times; ++i)
            limiter.Failed(address, now);
    }

    GuessLimiter limiter;
    GuessLimiter::Time now{1000s};
};

TEST_F(GuessLimiterTest, LetsAFewMistakesPass) {
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 0s);
    Fail("192.0.2.1", GuessLimiter::kFreeOfAnAddress - 1);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 0s);
}

TEST_F(GuessLimiterTest, DoublesTheWaitWithEachFurtherMistake) {
    Fail("192.0.2.1", GuessLimiter::kFreeOfAnAddress);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 1s);
    now += 1s;
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 0s);
    Fail("192.0.2.1", 1);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 2s);
    now += 2s;
    Fail("192.0.2.1", 1);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 4s);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now + 3s + 1ms), 1s);  // never 0 too early
    Fail("192.0.2.1", 1000);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), GuessLimiter::kLongestOfAnAddress);
}

TEST_F(GuessLimiterTest, LeavesOtherAddressesAlone) {
    Fail("192.0.2.1", 10);
    EXPECT_EQ(limiter.WaitOf("192.0.2.2", now), 0s);
}

TEST_F(GuessLimiterTest, SlowsEverybodyWhenManyAddressesGuess) {
    for (int i = 0; i < GuessLimiter::kFreeOfAll; ++i)
        Fail("192.0.2." + std::to_string(i), 1);
    EXPECT_EQ(limiter.WaitOf("198.51.100.1", now), 1s);
    for (int i = 0; i < 1000; ++i)
        Fail("203.0.113." + std::to_string(i), 1);
    EXPECT_EQ(limiter.WaitOf("198.51.100.1", now), GuessLimiter::kLongestOfAll);
}

TEST_F(GuessLimiterTest, ForgetsAfterASuccessAndAfterHalfAnHour) {
    Fail("192.0.2.1", 8);
    limiter.Succeeded("192.0.2.1");
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 0s);
    Fail("192.0.2.1", 8);
    now += GuessLimiter::kForgottenAfter;
    Fail("192.0.2.1", 1);
    EXPECT_EQ(limiter.WaitOf("192.0.2.1", now), 0s);
}

TEST_F(GuessLimiterTest, TakesANetworkOfIpv6ForOneAddress) {
    for (int i = 0; i < GuessLimiter::kFreeOfAnAddress; ++i)
        Fail("2001:db8:1:2::" + std::to_string(i), 1);
    EXPECT_EQ(limiter.WaitOf("2001:db8:1:2:ffff::1", now), 1s);
    EXPECT_EQ(limiter.WaitOf("2001:db8:1:3::1", now), 0s);
}

TEST_F(GuessLimiterTest, RemembersABoundedNumberOfAddresses) {
    Fail("192.0.2.1", 20);
    now += 1s;
    for (std::size_t i = 0; i < GuessLimiter::kMostAddresses; ++i)
        Fail("10.0." + std::to_string(i / 256) + "." + std::to_string(i % 256), 1);
    EXPECT_LE(limiter.WaitOf("192.0.2.1", now), GuessLimiter::kLongestOfAll);  // its own record is gone
}

}  // namespace
}  // namespace petrel
