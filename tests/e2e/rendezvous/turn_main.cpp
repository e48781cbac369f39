#include "tests/e2e/rendezvous/LivingCounts.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace rendezvous {

std::string ownNetworkProblem;

}  // namespace rendezvous

// The process moves into a network of its own while no other thread exists.
int main(int argc, char** argv) {
    webrtc_gstreamer::WaitUntilIdle(10'000);  // what the wrapper does when loaded
    rendezvous::ownNetworkProblem = rendezvous::EnterOwnNetwork();
    return tests::RunAllTests(argc, argv, rendezvous::LivingCounts());
}
