#include "host_runtime/media/BufferGroup.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "tests/fakes/FakeWebSocket.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/webrtc/FakeWebRtc.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"renderer data", &nxWebRtcRendererData::Alive},
                               {"audio renderers", &nxWebRtcAudioRenderer::Alive},
                               {"wrapper objects", &fakes::FakeWebRtc::LivingObjects},
                               {"sockets", &fakes::FakeWebSocket::Alive},
                               {"buffer groups", &host_runtime::BufferGroup::Alive},
                               {"buffers", &host_runtime::BufferGroup::BuffersAlive}});
}
