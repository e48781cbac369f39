// faults_link NAMESPACE_A ADDRESS_A NAMESPACE_B ADDRESS_B SEED: joins two network namespaces by a link that
// can be made bad. Says "ready" when it stands.
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/faults/link/Link.h"

namespace {

// On a busy machine the link would else be late itself. What is not permitted is not needed on an idle one.
void GoFirst() {
    sched_param first{};
    first.sched_priority = 10;
    if (sched_setscheduler(0, SCHED_FIFO, &first) != 0) setpriority(PRIO_PROCESS, 0, -20);
    mlockall(MCL_CURRENT | MCL_FUTURE);
    prctl(PR_SET_TIMERSLACK, 1UL, 0, 0, 0);
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    if (argc != 6) {
        std::fprintf(stderr, "usage: faults_link NAMESPACE_A ADDRESS_A NAMESPACE_B ADDRESS_B SEED\n");
        return 2;
    }
    std::string error;
    auto a = faults::TunDevice::Make(argv[1], argv[2], error);
    auto b = a ? faults::TunDevice::Make(argv[3], argv[4], error) : nullptr;
    if (!b) {
        std::fprintf(stderr, "faults_link: %s\n", error.c_str());
        return 1;
    }
    GoFirst();
    faults::Link link(std::move(a), std::move(b), std::strtoull(argv[5], nullptr, 10));
    std::puts("ready");
    link.Run();
    return 0;
}
