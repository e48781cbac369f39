// What the main thread's jobs keep to, on the steady clock as on a virtual one.
#include "host_runtime/core/MainThreadQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/core/zThread.h"
#include "host_runtime/core/TraceOutput.h"
#include "tests/fakes/VirtualTime.h"

namespace {

using host_runtime::MainThreadQueue;

// The test's thread plays the main thread.
class Driver {
public:
    virtual ~Driver() = default;
    virtual void RunFor(std::int64_t durationUs) = 0;
};

class SteadyDriver : public Driver {
public:
    ~SteadyDriver() override {
        MainThreadQueue::Default().ShutDown();
        MainThreadQueue::Default().UseClock({});
    }
    void RunFor(std::int64_t durationUs) override {
        zThread::ExecuteOnMainThread([] { MainThreadQueue::Default().Quit(); }, durationUs);
        MainThreadQueue::Default().Run();
    }
};

class VirtualDriver : public Driver {
public:
    void RunFor(std::int64_t durationUs) override { time.AdvanceBy(durationUs); }

private:
    fakes::VirtualTime time;
};

enum class ClockKind { Steady, Virtual };

class MainThreadJobs : public testing::TestWithParam<ClockKind> {
protected:
    void SetUp() override {
        if (GetParam() == ClockKind::Steady) {
            driver = std::make_unique<SteadyDriver>();
        } else {
            driver = std::make_unique<VirtualDriver>();
        }
    }
    void RunFor(std::int64_t durationUs) { driver->RunFor(durationUs); }
    void RunDue() { driver->RunFor(0); }
    static MainThreadQueue& Queue() { return MainThreadQueue::Default(); }

    std::unique_ptr<Driver> driver;
    std::vector<int> ran;
};

// Sees when and where it is destroyed.
struct Witness {
    std::thread::id* destroyedOn;
    explicit Witness(std::thread::id* where) : destroyedOn(where) {}
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;
    ~Witness() { *destroyedOn = std::this_thread::get_id(); }
};

TEST_P(MainThreadJobs, NeverRunInline) {
    zThread::ExecuteOnMainThread([this] {
        zThread::ExecuteOnMainThread([this] { ran.push_back(2); });
        ran.push_back(1);
    });
    EXPECT_TRUE(ran.empty());
    RunDue();
    RunDue();
    EXPECT_EQ(ran, (std::vector<int>{1, 2}));
}

TEST_P(MainThreadJobs, RunFirstInFirstOutAtDelayZero) {
    std::vector<int> expected;
    for (int number = 0; number < 1000; ++number) {
        zThread::ExecuteOnMainThread([this, number] { ran.push_back(number); });
        expected.push_back(number);
    }
    RunDue();
    EXPECT_EQ(ran, expected);
}

TEST_P(MainThreadJobs, RunInTheOrderOfTheirDueTimes) {
    zThread::ExecuteOnMainThread([this] { ran.push_back(3); }, 3'000);
    zThread::ExecuteOnMainThread([this] { ran.push_back(1); }, 1'000);
    zThread::ExecuteOnMainThread([this] { ran.push_back(2); }, 2'000);
    zThread::ExecuteOnMainThread([this] { ran.push_back(0); });
    RunFor(5'000);
    EXPECT_EQ(ran, (std::vector<int>{0, 1, 2, 3}));
}

TEST_P(MainThreadJobs, WaitTheirDelayInMicroseconds) {
    const std::int64_t postedUs = Queue().NowUs();
    std::int64_t ranUs = 0;
    zThread::ExecuteOnMainThread([&ranUs] { ranUs = Queue().NowUs(); }, 2'500);
    RunDue();
    EXPECT_EQ(ranUs, 0);
    RunFor(5'000);
    EXPECT_GE(ranUs, postedUs + 2'500);
    if (GetParam() == ClockKind::Virtual) {
        EXPECT_EQ(ranUs, postedUs + 2'500);
    }
}

TEST_P(MainThreadJobs, NegativeDelayIsNone) {
    zThread::ExecuteOnMainThread([this] { ran.push_back(1); }, std::numeric_limits<std::int64_t>::min());
    RunDue();
    EXPECT_EQ(ran, std::vector<int>{1});
}

TEST_P(MainThreadJobs, FarFutureNeverComes) {
    zThread::ExecuteOnMainThread([this] { ran.push_back(1); }, std::numeric_limits<std::int64_t>::max());
    RunFor(1'000);
    EXPECT_TRUE(ran.empty());
    EXPECT_EQ(Queue().PendingCount(), 1U);
}

TEST_P(MainThreadJobs, ComeFromAnyThreadEachThreadsInOrder) {
    constexpr int kThreads = 4;
    constexpr int kJobs = 250;
    std::vector<std::vector<int>> perThread(kThreads);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&perThread, number] {
            for (int job = 0; job < kJobs; ++job) {
                auto& mine = perThread[static_cast<std::size_t>(number)];
                zThread::ExecuteOnMainThread([&mine, job] { mine.push_back(job); });
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    RunDue();
    for (const std::vector<int>& mine : perThread) {
        ASSERT_EQ(mine.size(), static_cast<std::size_t>(kJobs));
        EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
    }
}

TEST_P(MainThreadJobs, RunOnTheThreadThatRunsTheQueue) {
    std::thread::id ranOn;
    std::thread([&ranOn] {
        zThread::ExecuteOnMainThread([&ranOn] { ranOn = std::this_thread::get_id(); });
    }).join();
    RunDue();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_P(MainThreadJobs, AreDroppedWhenTheirCancelObjectIsGone) {
    auto kept = std::make_shared<zObject>();
    auto dropped = std::make_shared<zObject>();
    zThread::ExecuteOnMainThread(kept, 0, {}, [this] { ran.push_back(1); });
    zThread::ExecuteOnMainThread(dropped, 0, {}, [this] { ran.push_back(2); });
    zThread::ExecuteOnMainThread(nullptr, 0, {}, [this] { ran.push_back(3); });
    dropped.reset();
    RunDue();
    EXPECT_EQ(ran, std::vector<int>{1});
}

TEST_P(MainThreadJobs, HoldTheirCancelObjectWeakly) {
    auto token = std::make_shared<zObject>();
    const std::weak_ptr<zObject> watched = token;
    bool goneInside = false;
    zThread::ExecuteOnMainThread(token, 0, {}, [&token, &goneInside, watched] {
        token.reset();
        goneInside = watched.expired();
    });
    EXPECT_EQ(token.use_count(), 1);
    RunDue();
    EXPECT_TRUE(goneInside);
}

TEST_P(MainThreadJobs, AskTheirConditionOnlyWhenDue) {
    const auto token = std::make_shared<zObject>();
    bool wanted = false;
    int asked = 0;
    const auto condition = [&wanted, &asked] {
        ++asked;
        return wanted;
    };
    zThread::ExecuteOnMainThread(token, 2'000, condition, [this] { ran.push_back(1); });
    RunDue();
    EXPECT_EQ(asked, 0);
    wanted = true;
    RunFor(5'000);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(ran, std::vector<int>{1});
    wanted = false;
    zThread::ExecuteOnMainThread(token, 0, condition, [this] { ran.push_back(2); });
    RunDue();
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(ran, std::vector<int>{1});
}

TEST_P(MainThreadJobs, ConditionOfADroppedJobIsNotAsked) {
    zThread::ExecuteOnMainThread(
        nullptr, 0,
        [this] {
            ran.push_back(1);
            return true;
        },
        [this] { ran.push_back(2); });
    RunDue();
    EXPECT_TRUE(ran.empty());
}

TEST_P(MainThreadJobs, ExceptionEndsOnlyItsJobAndIsTraced) {
    std::vector<std::string> traced;
    host_runtime::SetTraceSink([&traced](zFourCC kind, const std::string& text) {
        EXPECT_EQ(kind, FourCC("note"));
        traced.push_back(text);
    });
    const auto token = std::make_shared<zObject>();
    zThread::ExecuteOnMainThread([] { throw std::runtime_error("100% {wrong}"); });
    zThread::ExecuteOnMainThread([] { throw 1; });
    zThread::ExecuteOnMainThread(
        token, 0, []() -> bool { throw std::runtime_error("condition"); }, [this] { ran.push_back(1); });
    zThread::ExecuteOnMainThread([this] { ran.push_back(2); });
    RunDue();
    host_runtime::SetTraceSink({});
    EXPECT_EQ(ran, std::vector<int>{2});
    ASSERT_EQ(traced.size(), 3U);
    EXPECT_NE(traced[0].find("100% {wrong}"), std::string::npos);
    EXPECT_NE(traced[2].find("condition"), std::string::npos);
}

TEST_P(MainThreadJobs, EmptyActionIsNoJob) {
    zThread::ExecuteOnMainThread(nullptr);
    EXPECT_EQ(Queue().PendingCount(), 0U);
    RunDue();
}

TEST_P(MainThreadJobs, ReleaseWhatTheyHoldOnTheMainThread) {
    std::thread::id destroyedOn;
    std::thread([&destroyedOn] {
        auto witness = std::make_shared<Witness>(&destroyedOn);
        zThread::ExecuteOnMainThread([witness] {});
    }).join();
    EXPECT_EQ(destroyedOn, std::thread::id());
    RunDue();
    EXPECT_EQ(destroyedOn, std::this_thread::get_id());
}

TEST_P(MainThreadJobs, ShutDownDropsAndDestroysWhatIsQueued) {
    std::thread::id destroyedOn;
    {
        auto witness = std::make_shared<Witness>(&destroyedOn);
        zThread::ExecuteOnMainThread([this, witness] { ran.push_back(1); });
    }
    Queue().ShutDown();
    EXPECT_EQ(destroyedOn, std::this_thread::get_id());
    EXPECT_EQ(Queue().PendingCount(), 0U);
    zThread::ExecuteOnMainThread([this] { ran.push_back(2); });
    EXPECT_EQ(Queue().PendingCount(), 0U);
    EXPECT_TRUE(ran.empty());
}

TEST_P(MainThreadJobs, DestructorOfADroppedJobMayPost) {
    struct Poster {
        ~Poster() {
            zThread::ExecuteOnMainThread([] { FAIL() << "posted during shut-down"; });
        }
    };
    zThread::ExecuteOnMainThread([poster = std::make_shared<Poster>()] {});
    Queue().ShutDown();
    EXPECT_EQ(Queue().PendingCount(), 0U);
}

TEST_P(MainThreadJobs, JobMayShutTheQueueDown) {
    zThread::ExecuteOnMainThread([this] {
        Queue().ShutDown();
        if (GetParam() == ClockKind::Steady) Queue().Quit();  // what would have quit is dropped, too
        ran.push_back(1);
    });
    zThread::ExecuteOnMainThread([this] { ran.push_back(2); });
    RunDue();
    EXPECT_EQ(ran, std::vector<int>{1});
}

INSTANTIATE_TEST_SUITE_P(OnBothClocks, MainThreadJobs, testing::Values(ClockKind::Steady, ClockKind::Virtual),
                         [](const auto& test) {
                             return std::string(test.param == ClockKind::Steady ? "Steady" : "Virtual");
                         });

}  // namespace
