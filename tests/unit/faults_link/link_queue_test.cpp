#include "tests/faults/link/LinkQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace faults {
namespace {

constexpr std::int64_t kForeverUs = 1'000'000'000;

Packet Numbered(int number, std::size_t bytes = 1000) {
    Packet packet(bytes);
    packet[0] = static_cast<std::byte>(number & 0xFF);
    packet[1] = static_cast<std::byte>(number >> 8);
    return packet;
}

int NumberOf(const Packet& packet) {
    return static_cast<int>(packet[0]) + static_cast<int>(packet[1]) * 256;
}

std::vector<int> TakeAll(LinkQueue& queue) {
    std::vector<int> numbers;
    while (const auto packet = queue.Take(kForeverUs))
        numbers.push_back(NumberOf(*packet));
    return numbers;
}

class LinkQueueTest : public testing::Test {
protected:
    void Set(const char* command) {
        ASSERT_TRUE(Apply(command, conditions));
        queue.Change(conditions);
    }
    void PutMany(int count, std::int64_t everyUs) {
        for (int number = 0; number < count; ++number)
            queue.Put(Numbered(number), number * everyUs);
    }

    Conditions conditions;
    LinkQueue queue{1};
};

TEST_F(LinkQueueTest, WithoutConditionsAPacketIsDueAtOnceAndUnchanged) {
    const Packet packet = Numbered(7, 1200);
    queue.Put(packet, 50);
    EXPECT_EQ(queue.NextDueUs(), 50);
    EXPECT_EQ(queue.Take(50), packet);
    EXPECT_FALSE(queue.NextDueUs());
}

TEST_F(LinkQueueTest, DelayHoldsAPacketSoLongAndNotLonger) {
    Set("delay 2");
    queue.Put(Numbered(1), 100);
    EXPECT_FALSE(queue.Take(2099));
    EXPECT_TRUE(queue.Take(2100));
}

TEST_F(LinkQueueTest, EqualDelayKeepsTheOrder) {
    Set("delay 5");
    PutMany(500, 0);
    const std::vector<int> numbers = TakeAll(queue);
    EXPECT_EQ(numbers.size(), 500U);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST_F(LinkQueueTest, LossTakesItsShare) {
    Set("loss 5");
    PutMany(20'000, 10);
    const auto arrived = static_cast<int>(TakeAll(queue).size());
    EXPECT_NEAR(arrived, 19'000, 150);
    EXPECT_EQ(queue.Counted().lost, 20'000 - arrived);
}

TEST_F(LinkQueueTest, TheSameSeedLosesTheSamePackets) {
    LinkQueue again{1};
    LinkQueue other{2};
    Set("loss 10");
    again.Change(conditions);
    other.Change(conditions);
    for (int number = 0; number < 1000; ++number)
        for (LinkQueue* each : {&queue, &again, &other})
            each->Put(Numbered(number), number);
    const std::vector<int> first = TakeAll(queue);
    EXPECT_EQ(TakeAll(again), first);
    EXPECT_NE(TakeAll(other), first);
}

TEST_F(LinkQueueTest, JitterStaysBetweenItsBounds) {
    Set("delay 30");
    Set("jitter 20");
    std::int64_t earliest = kForeverUs;
    std::int64_t latest = 0;
    for (int number = 0; number < 5000; ++number) {
        queue.Put(Numbered(number), 0);
        earliest = std::min(earliest, *queue.NextDueUs());
        latest = std::max(latest, *queue.NextDueUs());
        queue.Take(kForeverUs);
    }
    EXPECT_GE(earliest, 10'000);
    EXPECT_LT(earliest, 10'500);
    EXPECT_LE(latest, 50'000);
    EXPECT_GT(latest, 49'500);
}

TEST_F(LinkQueueTest, AHeldBackPacketIsPassed) {
    Set("reorder 1");
    PutMany(10'000, 1000);
    const std::vector<int> numbers = TakeAll(queue);
    ASSERT_EQ(numbers.size(), 10'000U);
    int passed = 0;
    for (std::size_t index = 1; index < numbers.size(); ++index)
        passed += numbers[index] < numbers[index - 1] ? 1 : 0;
    EXPECT_NEAR(passed, 100, 35);
}

TEST_F(LinkQueueTest, DuplicatesComeTwice) {
    Set("duplicate 2");
    PutMany(10'000, 1000);
    EXPECT_NEAR(static_cast<double>(TakeAll(queue).size()), 10'200, 60);
}

TEST_F(LinkQueueTest, TheRateSpacesPackets) {
    Set("rate 1000");  // 1000 bytes take 8 ms
    Set("delay 2");
    queue.Put(Numbered(1), 0);
    queue.Put(Numbered(2), 0);
    EXPECT_EQ(queue.NextDueUs(), 10'000);
    EXPECT_TRUE(queue.Take(10'000));
    EXPECT_EQ(queue.NextDueUs(), 18'000);
}

TEST_F(LinkQueueTest, WhatDoesNotFitIntoTheQueueIsLost) {
    Set("rate 1000");
    Set("queue 5000");
    PutMany(20, 0);
    EXPECT_EQ(TakeAll(queue), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(queue.Counted().overflow, 15);
    queue.Put(Numbered(20), 40'000);  // by then it is empty again
    EXPECT_EQ(TakeAll(queue), std::vector<int>{20});
}

TEST_F(LinkQueueTest, ALinkThatIsDownLosesWhatComesAndWhatIsUnderWay) {
    Set("delay 5");
    queue.Put(Numbered(1), 0);
    Set("down");
    queue.Put(Numbered(2), 10);
    Set("up");
    queue.Put(Numbered(3), 20);
    EXPECT_EQ(TakeAll(queue), std::vector<int>{3});
    EXPECT_EQ(queue.Counted().lost, 2);
}

TEST_F(LinkQueueTest, TellsHowLateItWasEmptied) {
    queue.Put(Numbered(1), 100);
    queue.Take(350);
    EXPECT_EQ(queue.Counted().latestUs, 250);
}

}  // namespace
}  // namespace faults
