#include "support/send_queue.h"

#include <gtest/gtest.h>

namespace {

using support::SendQueue;

TEST(SendQueue, KeepsTheOrder) {
    SendQueue queue(10000);
    EXPECT_EQ(queue.Front(), nullptr);
    EXPECT_EQ(queue.Push("one"), SendQueue::Pushed::First);
    EXPECT_EQ(queue.Push("two"), SendQueue::Pushed::Behind);
    EXPECT_EQ(*queue.Front(), "one");
    queue.PopFront();
    EXPECT_EQ(*queue.Front(), "two");
    queue.PopFront();
    EXPECT_EQ(queue.Front(), nullptr);
    EXPECT_EQ(queue.Push("three"), SendQueue::Pushed::First);
}

TEST(SendQueue, LeavesTheFirstInPlaceWhileOthersCome) {
    SendQueue queue(1 << 20);
    queue.Push("first");
    const std::string* first = queue.Front();
    for (int i = 0; i < 1000; ++i)
        queue.Push("more");
    EXPECT_EQ(queue.Front(), first);
}

TEST(SendQueue, OverflowsForGood) {
    SendQueue queue(1000);
    EXPECT_EQ(queue.Push(std::string(900, 'x')), SendQueue::Pushed::First);
    EXPECT_FALSE(queue.HasOverflown());
    EXPECT_EQ(queue.Push(std::string(100, 'x')), SendQueue::Pushed::Overflow);
    EXPECT_TRUE(queue.HasOverflown());
    queue.PopFront();
    EXPECT_EQ(queue.Push("small"), SendQueue::Pushed::Overflow);
}

TEST(SendQueue, BoundsEmptyTextsToo) {
    SendQueue queue(1000);
    int taken = 0;
    while (queue.Push("") != SendQueue::Pushed::Overflow)
        ++taken;
    EXPECT_LT(taken, 100);
    EXPECT_GT(taken, 0);
}

TEST(SendQueue, RefusesATextThatNeverFits) {
    SendQueue queue(100);
    EXPECT_EQ(queue.Push(std::string(101, 'x')), SendQueue::Pushed::Overflow);
}

}  // namespace
