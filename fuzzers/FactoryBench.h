// The source factory between a host list that remembers, fake sockets and a fake library, on the virtual
// clock.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "fuzzers/Harness.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/unit/plugin/FakeSourceRegistry.h"

namespace fakes {
class FakeWebSocket;
}

namespace fuzzing {

class FactoryBench {
public:
    FactoryBench();
    ~FactoryBench();
    FactoryBench(const FactoryBench&) = delete;
    FactoryBench& operator=(const FactoryBench&) = delete;

    void EndFactory();
    std::string UrlOf(const std::string& identifier);
    // Socket `index` of those made so far, the last one when there are fewer; null when it is gone.
    static std::shared_ptr<fakes::FakeWebSocket> Socket(std::size_t index);

    fakes::VirtualTime time;
    const QuietTrace trace;
    tests::FakeSourceRegistry registry;
    nxKestrelRenderersFactory* factory;
};

// Once the bench is gone, nothing of ours may be left.
void RequireFactoryGone();

}  // namespace fuzzing
