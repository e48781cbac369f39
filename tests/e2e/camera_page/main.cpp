#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Host.h"
#include "tests/e2e/camera_page/CameraPageTest.h"
#include "tests/fakes/TestMain.h"

// The process moves into a network of its own while no other thread exists.
int main(int argc, char** argv) {
    camera_page::ownNetworkProblem = rendezvous::EnterOwnNetwork();
    return tests::RunAllTests(argc, argv,
                              {{"Host", host_runtime::Host::Alive},
                               {"SourceList", host_runtime::SourceList::Alive},
                               {"Source", host_runtime::Source::Alive},
                               {"SourcePuller", host_runtime::SourcePuller::Alive},
                               {"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
