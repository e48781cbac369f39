#include "connection/nxWebRtcConnection.h"
#include "renderers/nxWebRtcRendererData.h"
#include "session/nxWebRtcSession.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"nxWebRtcSession", &nxWebRtcSession::Alive},
                               {"nxWebRtcSession::DebugLog", &nxWebRtcSession::DebugLog::Alive},
                               {"nxWebRtcConnection", &nxWebRtcConnection::Alive},
                               {"nxWebRtcRendererData", &nxWebRtcRendererData::Alive},
                               {"FakeWebSocket", &fakes::FakeWebSocket::Alive},
                               {"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
}
