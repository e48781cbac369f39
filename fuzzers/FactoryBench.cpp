#include "fuzzers/FactoryBench.h"

#include <algorithm>

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/UserLog.h"
#include "host_runtime/media/BufferGroup.h"
#include "panel/nxKestrelGlass.h"
#include "plugin/initialize_sources_plugin.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "session/nxWebRtcSession.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

namespace fuzzing {

FactoryBench::FactoryBench()
    : factory(static_cast<nxKestrelRenderersFactory*>(initialize_sources_plugin(&registry))) {
    host_runtime::ClearUserLog();
}

FactoryBench::~FactoryBench() {
    EndFactory();
    Require(registry.references == 1, "the factory gives its registry back");
    fakes::FakeWebRtc::Forget();
    fakes::FakeWebSocket::Forget();
}

void FactoryBench::EndFactory() {
    if (factory != nullptr) factory->Release();
    factory = nullptr;
}

std::string FactoryBench::UrlOf(const std::string& identifier) {
    zString url;
    factory->GetSessionUrl(identifier.c_str(), url);
    return url.ToStdString();
}

std::shared_ptr<fakes::FakeWebSocket> FactoryBench::Socket(std::size_t index) {
    const auto sockets = fakes::FakeWebSocket::Made();
    return sockets.empty() ? nullptr : sockets[std::min(index, sockets.size() - 1)];
}

void RequireFactoryGone() {
    RequireNoneAlive({{"factories", &nxKestrelRenderersFactory::Alive},
                      {"panels", &nxKestrelGlass::Alive},
                      {"sessions", &nxWebRtcSession::Alive},
                      {"connections", &nxWebRtcConnection::Alive},
                      {"renderer data", &nxWebRtcRendererData::Alive},
                      {"video renderers", &nxWebRtcVideoRenderer::Alive},
                      {"audio renderers", &nxWebRtcAudioRenderer::Alive},
                      {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                      {"sockets", &fakes::FakeWebSocket::Alive},
                      {"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
}

}  // namespace fuzzing
