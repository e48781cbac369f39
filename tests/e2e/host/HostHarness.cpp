#include "tests/e2e/host/HostHarness.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "tests/e2e/host/MainThread.h"

namespace e2e {
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
    return RunMainThreadUntil(predicate, limit);
}

void HostHarness::RunFor(std::chrono::milliseconds time) {
    RunUntil([] { return false; }, time);
}

}  // namespace e2e
