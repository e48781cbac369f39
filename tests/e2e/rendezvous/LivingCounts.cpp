#include "tests/e2e/rendezvous/LivingCounts.h"

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Source.h"
#include "host_runtime/sources/SourcePuller.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "session/nxWebRtcSession.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace rendezvous {
namespace {

// What was released ends on threads of the wrapper.
std::int64_t LivingWrapperObjects() {
    webrtc_gstreamer::WaitUntilIdle(10'000);
    return webrtc_gstreamer::LivingObjects();
}

}  // namespace

std::vector<tests::LivingCount> LivingCounts() {
    return {{"wrapper objects", LivingWrapperObjects},
            {"nxWebRtcSession", nxWebRtcSession::Alive},
            {"nxWebRtcConnection", nxWebRtcConnection::Alive},
            {"nxWebRtcVideoRenderer", nxWebRtcVideoRenderer::Alive},
            {"nxWebRtcAudioRenderer", nxWebRtcAudioRenderer::Alive},
            {"Source", host_runtime::Source::Alive},
            {"SourcePuller", host_runtime::SourcePuller::Alive},
            {"BufferGroup", host_runtime::BufferGroup::Alive},
            {"buffers", host_runtime::BufferGroup::BuffersAlive}};
}

}  // namespace rendezvous
