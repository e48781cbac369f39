#include "connection/nxWebRtcConnection.h"
#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/SourceList.h"
#include "plugin/nxKestrelRenderersFactory.h"
#include "renderers/nxWebRtcRendererData.h"
#include "session/nxWebRtcSession.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"
#include "tests/unit/stories/PhoneNetwork.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"nxKestrelRenderersFactory", &nxKestrelRenderersFactory::Alive},
                               {"nxWebRtcSession", &nxWebRtcSession::Alive},
                               {"nxWebRtcConnection", &nxWebRtcConnection::Alive},
                               {"nxWebRtcRendererData", &nxWebRtcRendererData::Alive},
                               {"SourceList", &host_runtime::SourceList::Alive},
                               {"BufferGroup", &host_runtime::BufferGroup::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive},
                               {"NetworkSocket", &stories::NetworkSocket::Alive},
                               {"wrapper objects", &fakes::FakeWebRtc::LivingObjects}});
}
