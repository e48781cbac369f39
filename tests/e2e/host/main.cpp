#include <malloc.h>

#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Host.h"
#include "tests/fakes/TestMain.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace {

// What was released ends on threads of the wrapper.
std::int64_t LivingWrapperObjects() {
    webrtc_gstreamer::WaitUntilIdle(10'000);
    return webrtc_gstreamer::LivingObjects();
}

}  // namespace

int main(int argc, char** argv) {
    // Memory that threads leave behind in arenas of their own would hide what is really kept.
    mallopt(M_ARENA_MAX, 1);
    return tests::RunAllTests(argc, argv,
                              {{"Host", host_runtime::Host::Alive},
                               {"SourceRegistry", host_runtime::SourceRegistry::Alive},
                               {"SourcePanel", host_runtime::SourcePanel::Alive},
                               {"SourceList", host_runtime::SourceList::Alive},
                               {"Source", host_runtime::Source::Alive},
                               {"SourcePuller", host_runtime::SourcePuller::Alive},
                               {"wrapper objects", LivingWrapperObjects},
                               {"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
