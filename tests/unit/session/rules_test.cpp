// The session's pure rules, as tables.
#include <gtest/gtest.h>

#include "session/message_depth.h"
#include "session/reconnect_delay.h"
#include "session/session_url.h"
#include "session/tally_state.h"

namespace {

TEST(ReconnectDelay, GrowsByOneMicrosecondMoreThanASecond) {
    const std::int64_t expected[] = {0,       1000001, 2000002, 3000003, 4000004,
                                     5000005, 6000006, 7000007, 8000008};
    for (std::int32_t attempt = 0; attempt <= kLastReconnectAttempt; ++attempt) {
        EXPECT_EQ(ReconnectDelayUs(attempt), expected[attempt]);
    }
    EXPECT_EQ(kLastReconnectAttempt, 8);
}

TEST(SessionUrl, AddsASchemeUnlessThereIsOneOrNoText) {
    const struct {
        const char* address;
        const char* url;
    } rows[] = {
        {"ws://192.168.1.20:9001/", "ws://192.168.1.20:9001/"},
        {"10.0.0.5/join", "wss://10.0.0.5/join"},
        {"wss://10.0.0.5/join", "wss://wss://10.0.0.5/join"},
        {"WS://host/", "wss://WS://host/"},
        {"ws:/", "wss://ws:/"},
        {"a", "wss://a"},
        {"", ""},
        {"\x05host", "\x05host"},
        {"\x06host", "wss://\x06host"},
        {"\x01", "\x01"},
        {"\x7Fhost", "wss://\x7Fhost"},
        {"\x80host", "\x80host"},
        {"\xC3\xA9t\xC3\xA9.example", "\xC3\xA9t\xC3\xA9.example"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(SessionUrl(row.address), row.url);
}

TEST(TallyState, OneAndTwoAreOnFourAndFiveAreOff) {
    EXPECT_EQ(OnAirOfTallyState(1), true);
    EXPECT_EQ(OnAirOfTallyState(2), true);
    EXPECT_EQ(OnAirOfTallyState(4), false);
    EXPECT_EQ(OnAirOfTallyState(5), false);
    for (const std::int32_t other : {0, 3, -1, 6, 100, INT32_MAX, INT32_MIN})
        EXPECT_EQ(OnAirOfTallyState(other), std::nullopt) << other;
}

TEST(MessageDepth, CountsOpenBracketsOutsideStrings) {
    EXPECT_FALSE(NestsDeeperThan("", 0));
    EXPECT_FALSE(NestsDeeperThan("{}", 1));
    EXPECT_TRUE(NestsDeeperThan("{}", 0));
    EXPECT_TRUE(NestsDeeperThan("[[{}]]", 2));
    EXPECT_FALSE(NestsDeeperThan("[[],[],[]]", 2));
    EXPECT_FALSE(NestsDeeperThan(R"(["[[[[{{{{"])", 1));
    EXPECT_FALSE(NestsDeeperThan(R"(["\"[[[["])", 1));
    EXPECT_TRUE(NestsDeeperThan(R"(["\\",[[]]])", 2));
    EXPECT_FALSE(NestsDeeperThan("[\"\\", 1));
    EXPECT_TRUE(NestsDeeperThan(std::string(500'000, '['), kDeepestMessage));
}

}  // namespace
