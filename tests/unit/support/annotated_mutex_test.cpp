#include "support/annotated_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace {

using support::Condition;
using support::Mutex;
using support::MutexLock;

class Counter {
public:
    void Add() {
        const MutexLock lock(mutex);
        const int before = value;
        std::this_thread::yield();
        value = before + 1;
    }
    int Value() {
        const MutexLock lock(mutex);
        return value;
    }

private:
    Mutex mutex;
    int value GUARDED_BY(mutex) = 0;
};

TEST(AnnotatedMutex, KeepsThreadsApart) {
    Counter counter;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&counter] {
            for (int round = 0; round < 500; ++round)
                counter.Add();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter.Value(), 2000);
}

TEST(AnnotatedMutex, LockMayBeReleasedBeforeItsScopeEnds) {
    Mutex mutex;
    MutexLock lock(mutex);
    lock.Unlock();
    const MutexLock again(mutex);  // would wait for ever otherwise
}

TEST(AnnotatedMutex, WaitEndsWithANotification) {
    Mutex mutex;
    Condition changed;
    bool ready = false;
    bool seen = false;
    std::thread waiter([&] {
        const MutexLock lock(mutex);
        while (!ready)
            changed.Wait(mutex);
        seen = true;
    });
    {
        const MutexLock lock(mutex);
        ready = true;
        changed.NotifyOne();
    }
    waiter.join();
    EXPECT_TRUE(seen);
}

TEST(AnnotatedMutex, WaitUntilTellsThatTheDeadlinePassed) {
    Mutex mutex;
    Condition changed;
    const MutexLock lock(mutex);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(1);
    while (changed.WaitUntil(mutex, deadline)) {
    }
    EXPECT_GE(std::chrono::steady_clock::now(), deadline);
}

TEST(AnnotatedMutex, WaitUntilHoldsTheMutexAgainAfterwards) {
    Mutex mutex;
    Condition changed;
    bool ready = false;
    std::thread notifier([&] {
        const MutexLock lock(mutex);
        ready = true;
        changed.NotifyAll();
    });
    {
        const MutexLock lock(mutex);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        bool inTime = true;
        while (!ready && inTime)
            inTime = changed.WaitUntil(mutex, deadline);
        EXPECT_TRUE(ready);
    }
    notifier.join();
}

}  // namespace
