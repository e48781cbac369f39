// The host, in the process of the test, with the plug-in as it is shipped. The thread of the test is the
// main thread, and its jobs run while the test waits.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "host_runtime/sources/Host.h"
#include "tests/e2e/host/PulledPattern.h"

namespace e2e {

class HostHarness {
public:
    struct Pulled {
        std::shared_ptr<host_runtime::Source> source;
        std::shared_ptr<PulledPattern> pattern;
    };

    explicit HostHarness(host_runtime::FrameRate pullRate = {}, const std::string& stateDirectory = {});

    host_runtime::Host& Host() { return *host; }

    // A new source at an address, pulled from now on.
    Pulled Add(const std::string& address);
    void Remove(const Pulled& pulled);

    // Runs main-thread jobs until the predicate holds, which is asked on this thread; false when the time
    // is over first.
    bool RunUntil(const std::function<bool()>& predicate, std::chrono::milliseconds limit);
    // Runs main-thread jobs for a while.
    void RunFor(std::chrono::milliseconds time);

private:
    std::unique_ptr<host_runtime::Host> host;
};

}  // namespace e2e
