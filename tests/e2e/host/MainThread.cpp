#include "tests/e2e/host/MainThread.h"

#include <cstdint>
#include <utility>

#include "host_runtime/core/MainThreadQueue.h"

namespace e2e {
namespace {

constexpr std::int64_t kLookIntervalUs = 5'000;

void Post(std::int64_t delayUs, std::function<void()> action) {
    host_runtime::MainThreadQueue::Job job;
    job.delayUs = delayUs;
    job.action = std::move(action);
    host_runtime::MainThreadQueue::Default().Post(std::move(job));
}

}  // namespace

bool RunMainThreadUntil(const std::function<bool()>& predicate, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    bool holds = false;
    const std::function<void()> look = [&] {
        holds = predicate();
        if (holds || std::chrono::steady_clock::now() >= deadline) {
            host_runtime::MainThreadQueue::Default().Quit();
        } else {
            Post(kLookIntervalUs, look);
        }
    };
    Post(0, look);
    host_runtime::MainThreadQueue::Default().Run();
    return holds;
}

}  // namespace e2e
