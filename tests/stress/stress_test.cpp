#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <iostream>

#include "host/core/zThread.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
#include "support/annotated_mutex.h"
#include "tests/stress/Callers.h"
#include "tests/stress/FastClock.h"
#include "tests/stress/LibraryThreads.h"
#include "tests/stress/PacedThread.h"
#include "tests/stress/PhoneNetwork.h"
#include "tests/stress/RenderThreads.h"
#include "tests/stress/Settings.h"
#include "tests/stress/StressHost.h"

namespace stress {
namespace {

constexpr int kFactoriesReplaced = 4;

// Replaces the factory a few times, evenly spread, and then ends the main thread's loop.
void Conduct(PacedThread& self, StressHost& host, int seconds) {
    const auto piece = std::chrono::milliseconds(seconds * 1000 / (kFactoriesReplaced + 1));
    for (int index = 0; index < kFactoriesReplaced; ++index) {
        self.RestFor(piece);
        zThread::ExecuteOnMainThread([&host] { host.ReplaceFactory(); });
    }
    self.RestFor(piece);
    host_runtime::MainThreadQueue::Default().Quit();
}

// The thread of the test is the main thread.
TEST(Stress, EveryThreadAtOnceLeavesNothingBehind) {
    const Settings& settings = Settings::Current();
    std::cout << "seed " << settings.seed << ", " << settings.seconds << " s (again: --seed " << settings.seed
              << ")" << std::endl;
    host_runtime::MainThreadQueue& queue = host_runtime::MainThreadQueue::Default();
    std::atomic<std::uint64_t> traceLines{0};
    ActionCounts counts;
    host_runtime::SetTraceSink([&traceLines](zFourCC, const std::string&) { ++traceLines; });
    queue.UseClock(&HostUs);
    {
        std::uint64_t seed = settings.seed * 1000;
        PhoneNetwork network(seed += 100, counts);
        LibraryThreads library(seed += 100, counts);
        RendererShelves shelves;
        auto host = std::make_unique<StressHost>(seed += 100, shelves, counts);
        {
            const RenderThreads renderThreads(shelves, counts);
            const Callers callers(seed += 100, shelves, counts, [&host] { host->Act(); });
            const PacedThread conductor([&](PacedThread& self) { Conduct(self, *host, settings.seconds); });
            queue.Run();
        }
        host.reset();
        queue.ShutDown();
    }
    queue.UseClock({});
    fakes::FakeWebRtc::Forget();
    host_runtime::ClearUserLog();
    host_runtime::SetTraceSink({});

    std::cout << counts.Table() << traceLines << " trace lines" << std::endl;
    EXPECT_THAT(counts.Missing(), testing::IsEmpty());
}

}  // namespace
}  // namespace stress
