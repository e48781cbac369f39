#include "tests/e2e/rendezvous/LivingCounts.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"

namespace rendezvous {

std::string ownNetworkProblem;

}  // namespace rendezvous

// The process moves into a network of its own while no other thread exists.
int main(int argc, char** argv) {
    rendezvous::ownNetworkProblem = rendezvous::EnterOwnNetwork();
    return tests::RunAllTests(argc, argv, rendezvous::LivingCounts());
}
