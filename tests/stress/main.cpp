#include "connection/nxWebRtcConnection.h"
#include "host_runtime/media/BufferGroup.h"
#include "panel/nxKestrelGlass.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "session/nxWebRtcSession.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/stress/Settings.h"
#include "tests/stress/StressSocket.h"

int main(int argc, char** argv) {
    stress::Settings::Of(argc, argv);
    return tests::RunAllTests(argc, argv,
                              {{"nxKestrelRenderersFactory", &nxKestrelRenderersFactory::Alive},
                               {"nxKestrelGlass", &nxKestrelGlass::Alive},
                               {"nxWebRtcSession", &nxWebRtcSession::Alive},
                               {"nxWebRtcSession::DebugLog", &nxWebRtcSession::DebugLog::Alive},
                               {"nxWebRtcConnection", &nxWebRtcConnection::Alive},
                               {"nxWebRtcRendererData", &nxWebRtcRendererData::Alive},
                               {"nxWebRtcVideoRenderer", &nxWebRtcVideoRenderer::Alive},
                               {"nxWebRtcAudioRenderer", &nxWebRtcAudioRenderer::Alive},
                               {"BufferGroup", &host_runtime::BufferGroup::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"sockets", &stress::StressSocket::Alive},
                               {"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
}
