// Network namespaces of a test's own. A thread lives in each of them: what it does happens there, and the
// namespace ends with it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <future>
#include <string>
#include <thread>

#include "support/annotated_mutex.h"

namespace rendezvous {

// Moves the process into a namespace of its own, before it has any thread. A sentence when it cannot.
std::string EnterOwnNetwork();

class NetworkNamespace {
public:
    NetworkNamespace();
    ~NetworkNamespace();
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;

    // Empty when it could be made.
    const std::string& Problem() const { return problem; }
    pid_t ThreadId() const { return threadId; }  // by which other programs name the namespace

    // Runs a job in the namespace and waits for it. Programs started there end with this object.
    void Run(const std::function<void()>& job);

private:
    void Live(std::promise<void>& ready);

    std::string problem;
    pid_t threadId = 0;
    support::Mutex mutex;
    support::Condition changed;
    const std::function<void()>* waiting GUARDED_BY(mutex) = nullptr;
    bool ending GUARDED_BY(mutex) = false;
    std::thread thread;
};

// Runs iproute2's `ip` with these words in the namespace of the calling thread. What it complained about.
std::string Ip(const std::string& words);

// A program on the path or in the directories of the system's own programs; empty when there is none.
std::string FindProgram(const std::string& name);

}  // namespace rendezvous
