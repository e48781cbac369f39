#include "tests/e2e/host/HostHarness.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
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

HostHarness::HostHarness(host_runtime::FrameRate pullRate, const std::string& stateDirectory) {
    std::string error;
    host = host_runtime::Host::Make({KESTREL_PLUGIN, stateDirectory, pullRate}, error);
    if (!host) {
        std::cerr << error << "\n";  // no test can go on without the plug-in
        std::abort();
    }
    host->Puller().Start();
}

HostHarness::Pulled HostHarness::Add(const std::string& address) {
    Pulled pulled{host->Sources().Add(address), std::make_shared<PulledPattern>()};
    EXPECT_TRUE(pulled.source) << address;
    if (pulled.source) host->Puller().Add(pulled.source, pulled.pattern);
    return pulled;
}

void HostHarness::Remove(const Pulled& pulled) {
    host->Puller().Remove(*pulled.source);
    host->Sources().Remove(pulled.source->Identifier());
}

bool HostHarness::RunUntil(const std::function<bool()>& predicate, std::chrono::milliseconds limit) {
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

void HostHarness::RunFor(std::chrono::milliseconds time) {
    RunUntil([] { return false; }, time);
}

}  // namespace e2e
