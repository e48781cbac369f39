#include "tests/unit/plugin/FactoryTest.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"
#include "plugin/initialize_sources_plugin.h"
#include "renderers/nxWebRtcRendererData.h"
#include "session/nxWebRtcSession.h"

namespace tests {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;

std::vector<LivingCount> FactoryLivingCounts() {
    return {{"nxKestrelRenderersFactory", &nxKestrelRenderersFactory::Alive},
            {"nxWebRtcSession", &nxWebRtcSession::Alive},
            {"nxWebRtcConnection", &nxWebRtcConnection::Alive},
            {"nxWebRtcRendererData", &nxWebRtcRendererData::Alive},
            {"BufferGroup", &host_runtime::BufferGroup::Alive},
            {"FakeWebSocket", &FakeWebSocket::Alive},
            {"wrapper objects", &FakeWebRtc::LivingObjects}};
}

FactoryTest::FactoryTest() : buffers(host_runtime::BufferGroup::Make()) {
    FakeWebSocket::Forget();
    FakeWebRtc::Forget();
    host_runtime::ClearUserLog();
    host_runtime::SetTraceSink([this](zFourCC, const std::string& text) { trace.push_back(text); });
    factory = static_cast<nxKestrelRenderersFactory*>(initialize_sources_plugin(&registry));
}

FactoryTest::~FactoryTest() {
    EndFactory();
    buffers->Release();
    host_runtime::SetTraceSink({});
    FakeWebRtc::Forget();
    FakeWebSocket::Forget();
}

void FactoryTest::EndFactory() {
    if (factory != nullptr) factory->Release();
    factory = nullptr;
}

zRecord FactoryTest::DirectSettings(const std::string& address) {
    zRecord settings;
    settings.SetBool("autoDiscovered", false);
    settings.SetCString("kestrel_ip_address", address.c_str());
    return settings;
}

zRecord FactoryTest::DiscoveredSettings(const std::string& peer, const std::string& address) {
    zRecord settings;
    settings.SetBool("autoDiscovered", true);
    settings.SetCString("kestrel_peer_identifier", peer.c_str());
    settings.SetCString("kestrel_ip_address", address.c_str());
    return settings;
}

zRecord FactoryTest::Discovery(const std::string& peer, const std::string& host, const std::string& port,
                               const std::string& name) {
    zRecord record;
    record.SetCString("host", host.c_str());
    record.SetCString("port", port.c_str());
    record.SetCString("name", name.c_str());
    record.AddChild().SetCString("PeerIdentifier", peer.c_str());
    return record;
}

void FactoryTest::Activate(const std::string& identifier, const std::string& address) {
    zRecord settings = DirectSettings(address);
    ASSERT_EQ(factory->ActivateSource(identifier.c_str(), settings), kStatusOk);
}

std::shared_ptr<FakeWebSocket> FactoryTest::ActivateAndOpen(const std::string& identifier,
                                                            const std::string& address) {
    Activate(identifier, address);
    auto socket = Socket();
    Open(socket);
    return socket;
}

void FactoryTest::Open(const std::shared_ptr<FakeWebSocket>& socket) {
    socket->BecomeOpen();
    time.RunDue();
}

void FactoryTest::Deliver(const std::shared_ptr<FakeWebSocket>& socket, const std::string& text) {
    socket->Deliver(text);
    time.RunDue();
}

void FactoryTest::Join(const std::shared_ptr<FakeWebSocket>& socket, const std::string& peer,
                       const std::string& guid) {
    Deliver(
        socket,
        nlohmann::json{
            {"action", "peerJoined"}, {"peersIdentifier", peer}, {"sessionGuid", guid}, {"username", "Phone"}}
            .dump());
}

void FactoryTest::Close(const std::shared_ptr<FakeWebSocket>& socket) {
    socket->EndCleanly();
    time.RunDue();
}

std::shared_ptr<nxRenderer2> FactoryTest::Renderer(const std::string& identifier,
                                                   const char (&mediaType)[5]) {
    std::shared_ptr<nxRenderer2> renderer;
    factory->CreateRenderer(renderer, identifier.c_str(), FourCC(mediaType), buffers);
    return renderer;
}

std::string FactoryTest::UrlOf(const std::string& identifier) {
    zString url;
    factory->GetSessionUrl(identifier.c_str(), url);
    return url.ToStdString();
}

int FactoryTest::CountOfTrace(const std::string& beginning) const {
    return static_cast<int>(std::count_if(
        trace.begin(), trace.end(), [&](const std::string& line) { return line.starts_with(beginning); }));
}

}  // namespace tests
