#include "tests/e2e/phones/WithPhonesTest.h"
#include "tests/e2e/rendezvous/NetworkNamespace.h"
#include "tests/fakes/TestMain.h"

// The process moves into a network of its own while no other thread exists.
int main(int argc, char** argv) {
    e2e::ownNetworkProblem = rendezvous::EnterOwnNetwork();
    if (e2e::ownNetworkProblem.empty()) e2e::ownNetworkProblem = rendezvous::Ip("link set lo up");
    return tests::RunAllTests(argc, argv, {});
}
