// The loop of the main thread: who wakes it, what it tells, and the virtual clock that tests drive it with.
#include "host_runtime/core/MainThreadQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "host/core/zThread.h"
#include "tests/fakes/VirtualTime.h"

namespace {

using host_runtime::MainThreadQueue;

MainThreadQueue::Job DelayedJob(std::int64_t delayUs, std::function<void()> action) {
    MainThreadQueue::Job job;
    job.delayUs = delayUs;
    job.action = std::move(action);
    return job;
}

TEST(MainThreadQueue, QuitBeforeRunLetsRunReturnAtOnce) {
    MainThreadQueue queue;
    bool ran = false;
    queue.Post(DelayedJob(0, [&ran] { ran = true; }));
    queue.Quit();
    queue.Run();
    EXPECT_FALSE(ran);
    EXPECT_EQ(queue.PendingCount(), 1U);
}

TEST(MainThreadQueue, PostFromAnotherThreadWakesRun) {
    MainThreadQueue queue;
    bool ran = false;
    std::thread poster;
    queue.Post(DelayedJob(0, [&] {
        poster = std::thread([&] {
            queue.Post(DelayedJob(0, [&] {
                ran = true;
                queue.Quit();
            }));
        });
    }));
    queue.Run();  // would wait for ever if the second post did not wake it
    poster.join();
    EXPECT_TRUE(ran);
}

TEST(MainThreadQueue, QuitFromAnotherThreadWakesRun) {
    MainThreadQueue queue;
    std::thread quitter;
    queue.Post(DelayedJob(0, [&] { quitter = std::thread([&] { queue.Quit(); }); }));
    queue.Run();
    quitter.join();
}

TEST(MainThreadQueue, EarlierJobShortensAWaitForALaterOne) {
    MainThreadQueue queue;
    std::thread poster;
    queue.Post(DelayedJob(3'600'000'000, [] { FAIL(); }));
    queue.Post(DelayedJob(
        0, [&] { poster = std::thread([&] { queue.Post(DelayedJob(0, [&] { queue.Quit(); })); }); }));
    queue.Run();
    poster.join();
    EXPECT_EQ(queue.PendingCount(), 1U);
}

TEST(MainThreadQueue, RunDueLeavesJobsThatItsJobsPost) {
    MainThreadQueue queue;
    queue.UseClock([] { return std::int64_t{100}; });
    queue.Post(DelayedJob(0, [&queue] { queue.Post(DelayedJob(0, [] {})); }));
    queue.Post(DelayedJob(0, [] {}));
    EXPECT_EQ(queue.RunDue(), 2U);
    EXPECT_EQ(queue.PendingCount(), 1U);
    EXPECT_EQ(queue.RunDue(), 1U);
    EXPECT_EQ(queue.RunDue(), 0U);
}

TEST(MainThreadQueue, TellsWhenTheNextJobFallsDue) {
    MainThreadQueue queue;
    queue.UseClock([] { return std::int64_t{100}; });
    EXPECT_EQ(queue.NextDueUs(), std::nullopt);
    queue.Post(DelayedJob(50, [] {}));
    queue.Post(DelayedJob(20, [] {}));
    EXPECT_EQ(queue.NextDueUs(), 120);
    EXPECT_EQ(queue.NowUs(), 100);
}

TEST(MainThreadQueue, QueuedJobsKeepTheDelayTheyHaveLeftWhenTheClockChanges) {
    MainThreadQueue queue;
    queue.UseClock([] { return std::int64_t{1'000}; });
    queue.Post(DelayedJob(50, [] {}));
    queue.UseClock([] { return std::int64_t{7}; });
    EXPECT_EQ(queue.NextDueUs(), 57);
}

TEST(MainThreadQueue, RunOpensAQueueThatWasShutDown) {
    MainThreadQueue queue;
    queue.ShutDown();
    queue.Quit();
    queue.Run();
    queue.Post(DelayedJob(0, [] {}));
    EXPECT_EQ(queue.PendingCount(), 1U);
}

TEST(VirtualTime, SetsTheClockToEachDueTime) {
    fakes::VirtualTime time;
    std::vector<std::int64_t> times;
    const auto note = [&] { times.push_back(time.NowUs() - fakes::VirtualTime::kStartUs); };
    zThread::ExecuteOnMainThread(
        [&] {
            note();
            zThread::ExecuteOnMainThread(note, 500);
            zThread::ExecuteOnMainThread(note);
        },
        1'000);
    zThread::ExecuteOnMainThread(note, 1'200);
    zThread::ExecuteOnMainThread(note, 9'000);
    time.AdvanceBy(2'000);
    EXPECT_EQ(times, (std::vector<std::int64_t>{1'000, 1'000, 1'200, 1'500}));
    EXPECT_EQ(time.NowUs(), fakes::VirtualTime::kStartUs + 2'000);
}

TEST(VirtualTime, EndsWithAnEmptyQueueOnTheSteadyClock) {
    bool ran = false;
    {
        const fakes::VirtualTime time;
        zThread::ExecuteOnMainThread([&ran] { ran = true; }, 1'000);
    }
    EXPECT_EQ(MainThreadQueue::Default().PendingCount(), 0U);
    EXPECT_EQ(MainThreadQueue::Default().RunDue(), 0U);
    EXPECT_FALSE(ran);
    const std::int64_t before = MainThreadQueue::Default().NowUs();
    const auto steady = std::chrono::steady_clock::now().time_since_epoch();
    const std::int64_t steadyUs = std::chrono::duration_cast<std::chrono::microseconds>(steady).count();
    EXPECT_LE(before, steadyUs);
    EXPECT_LE(steadyUs, MainThreadQueue::Default().NowUs());
}

TEST(VirtualTime, RefusesJobsThatPostJobsWithoutEnd) {
    fakes::VirtualTime time;
    std::function<void()> again = [&again] { zThread::ExecuteOnMainThread(again); };
    again();
    EXPECT_THROW(time.RunDue(), std::runtime_error);
}

}  // namespace
