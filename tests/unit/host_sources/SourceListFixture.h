// A source list over the fake plug-in, with a clock that moves only when told to.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/media/nxBufferGroup2.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/SourceList.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/fakes/plugin/FakeFactory.h"
#include "tests/fakes/plugin/PatternRenderers.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace tests {

using Calls = std::vector<std::string>;

class SourceListFixture : public testing::Test {
protected:
    SourceListFixture() {
        std::string error;
        EXPECT_TRUE(store.Open(directory.Path(), error)) << error;
        registry =
            host_runtime::HostPointer<host_runtime::SourceRegistry>::Adopt(new host_runtime::SourceRegistry);
        factory = new fakes::FakeFactory(registry.Get(), fakes::MakePatternRenderer);
        plugin = std::make_unique<host_runtime::SourcePlugin>(factory);
        bufferGroup = host_runtime::HostPointer<nxBufferGroup2>::Adopt(host_runtime::BufferGroup::Make());
        MakeList();
    }
    ~SourceListFixture() override { EndList(); }

    void MakeList() {
        list = std::make_shared<host_runtime::SourceList>(*plugin, &store, bufferGroup.Get());
        registry->SetListener(list);
        list->Start();
    }
    void EndList() {
        list->ShutDown();
        list.reset();
    }

    // Forgets the calls so far.
    void Settle() {
        time.RunDue();
        factory->TakeCalls();
    }

    const TemporaryDirectory directory;
    fakes::VirtualTime time;
    host_runtime::SourceStore store;
    host_runtime::HostPointer<host_runtime::SourceRegistry> registry;
    std::unique_ptr<host_runtime::SourcePlugin> plugin;
    fakes::FakeFactory* factory = nullptr;  // the plug-in holds it
    host_runtime::HostPointer<nxBufferGroup2> bufferGroup;
    std::shared_ptr<host_runtime::SourceList> list;
};

}  // namespace tests
