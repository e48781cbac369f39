#include "tests/e2e/rendezvous/NetworkNamespace.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/e2e/host/ChildProcess.h"

namespace rendezvous {
namespace {

std::string Because(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// Who is not root becomes root of a user namespace, so that the programs it starts may set up the network.
bool BecomeRoot() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (user == 0) return true;
    if (unshare(CLONE_NEWUSER) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return geteuid() == 0;
}

}  // namespace

std::string EnterOwnNetwork() {
    if (!BecomeRoot()) return Because("no user namespace can be made, which a network namespace needs");
    if (unshare(CLONE_NEWNET) != 0) return Because("no network namespace can be made");
    return {};
}

NetworkNamespace::NetworkNamespace() {
    std::promise<void> ready;
    thread = std::thread([this, &ready] { Live(ready); });
    ready.get_future().wait();
}

NetworkNamespace::~NetworkNamespace() {
    {
        const support::MutexLock lock(mutex);
        ending = true;
        changed.NotifyAll();
    }
    thread.join();
}

void NetworkNamespace::Live(std::promise<void>& ready) {
    if (unshare(CLONE_NEWNET) != 0) problem = Because("no network namespace can be made");
    threadId = gettid();
    ready.set_value();
    const support::MutexLock lock(mutex);
    while (true) {
        while (waiting == nullptr && !ending)
            changed.Wait(mutex);
        if (waiting == nullptr) return;
        (*waiting)();
        waiting = nullptr;
        changed.NotifyAll();
    }
}

void NetworkNamespace::Run(const std::function<void()>& job) {
    const support::MutexLock lock(mutex);
    waiting = &job;
    changed.NotifyAll();
    while (waiting != nullptr)
        changed.Wait(mutex);
}

std::string Ip(const std::string& words) {
    const std::string program = FindProgram("ip");
    if (program.empty()) return "there is no program \"ip\" (Debian's iproute2)\n";
    std::istringstream in(words);
    std::vector<std::string> arguments;
    for (std::string word; in >> word;)
        arguments.push_back(word);
    e2e::ChildProcess process(program, arguments);
    if (process.WaitForEnd(std::chrono::seconds(10)) == 0) return {};
    return "ip " + words + ": " + process.Errors();
}

std::string FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream directories(std::string(path != nullptr ? path : "") +
                                   ":/usr/sbin:/sbin:/usr/bin:/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string program = directory + "/" + name;
        if (!directory.empty() && access(program.c_str(), X_OK) == 0) return program;
    }
    return {};
}

}  // namespace rendezvous
