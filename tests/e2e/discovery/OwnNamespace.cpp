#include "tests/e2e/discovery/OwnNamespace.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace e2e {
namespace {

std::string problem = "The test did not enter a namespace of its own.";

bool WriteTo(const char* file, const std::string& text) {
    std::ofstream out(file);
    out << text << std::flush;
    return out.good();
}

// Without privileges a user namespace, in which this user is root, gives what is needed.
bool BecomeRoot(uid_t user, gid_t group) {
    return WriteTo("/proc/self/setgroups", "deny") &&
           WriteTo("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
           WriteTo("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

}  // namespace

void EnterOwnNamespace() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 ||
        (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0 && BecomeRoot(user, group))) {
        problem.clear();
        return;
    }
    problem = "A network namespace is needed and cannot be made (" + std::generic_category().message(errno) +
              "); run as root, or allow user namespaces.";
}

const std::string& NamespaceProblem() {
    return problem;
}

}  // namespace e2e
