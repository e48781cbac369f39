// The source factory between a fake host list, fake sockets and a fake WebRTC wrapper, on the virtual clock.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/renderer/nxRenderer2.h"
#include "host_runtime/media/BufferGroup.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/unit/plugin/FakeSourceRegistry.h"

namespace tests {

// What must be gone after each test of the factory.
std::vector<LivingCount> FactoryLivingCounts();

class FactoryTest : public testing::Test {
protected:
    static constexpr const char* kAddress = "127.0.0.2";
    static constexpr const char* kTypeIdentifier = "8194E1DE-8A84-4714-9866-9605C4807817";
    static constexpr const char* kUrl = "ws://127.0.0.2:9001/";
    static constexpr std::int64_t kSecondUs = 1'000'000;

    FactoryTest();
    ~FactoryTest() override;

    void EndFactory();

    static zRecord DirectSettings(const std::string& address);
    static zRecord DiscoveredSettings(const std::string& peer, const std::string& address);
    static zRecord Discovery(const std::string& peer, const std::string& host = "192.168.1.20",
                             const std::string& port = "9001", const std::string& name = "Phone");

    // A direct source, its socket started at `address`.
    void Activate(const std::string& identifier, const std::string& address = kAddress);
    // The same with its socket open.
    std::shared_ptr<fakes::FakeWebSocket> ActivateAndOpen(const std::string& identifier,
                                                          const std::string& address = kAddress);
    void Open(const std::shared_ptr<fakes::FakeWebSocket>& socket);
    void Deliver(const std::shared_ptr<fakes::FakeWebSocket>& socket, const std::string& text);
    void Join(const std::shared_ptr<fakes::FakeWebSocket>& socket, const std::string& peer,
              const std::string& guid);
    void Close(const std::shared_ptr<fakes::FakeWebSocket>& socket);

    std::shared_ptr<nxRenderer2> Renderer(const std::string& identifier, const char (&mediaType)[5]);
    std::string UrlOf(const std::string& identifier);
    int CountOfTrace(const std::string& beginning) const;

    static std::shared_ptr<fakes::FakeWebSocket> Socket() { return fakes::FakeWebSocket::Latest(); }

    fakes::VirtualTime time;
    std::vector<std::string> trace;
    FakeSourceRegistry registry;
    host_runtime::BufferGroup* const buffers;
    nxKestrelRenderersFactory* factory;
};

}  // namespace tests
