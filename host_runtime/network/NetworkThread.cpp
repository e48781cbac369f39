#include "host_runtime/network/NetworkThread.h"

#include <openssl/ssl.h>
#include <pthread.h>

#include <boost/asio/executor_work_guard.hpp>
#include <chrono>
#include <thread>

#include "support/annotated_mutex.h"

namespace host_runtime {
namespace {

// Deliberately leaked: sockets released during the exit of the process still post to it.
struct Network {
    boost::asio::io_context context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{context.get_executor()};
    support::Mutex mutex;
    support::Condition changed;
    bool ended GUARDED_BY(mutex) = false;

    void Run() {
        pthread_setname_np(pthread_self(), "network");
        context.run();
        OPENSSL_thread_stop();  // at exit its own clean-up would come before the end of this thread
        const support::MutexLock lock(mutex);
        ended = true;
        changed.NotifyAll();
    }
};

// Stops the thread at exit, before OpenSSL's own clean-up; a handler that hangs is left behind.
class StopAtExit {
public:
    explicit StopAtExit(Network& toStop) : network(toStop) {}
    ~StopAtExit() {
        network.context.stop();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        const support::MutexLock lock(network.mutex);
        while (!network.ended) {
            if (!network.changed.WaitUntil(network.mutex, deadline)) return;
        }
    }
    StopAtExit(const StopAtExit&) = delete;
    StopAtExit& operator=(const StopAtExit&) = delete;

private:
    Network& network;
};

Network& TheNetwork() {
    static Network* const network = [] {
        OPENSSL_init_ssl(0, nullptr);  // registers its clean-up first, so that it runs after ours
        auto* made = new Network;
        std::thread([made] { made->Run(); }).detach();
        return made;
    }();
    static const StopAtExit stopAtExit(*network);
    return *network;
}

}  // namespace

boost::asio::io_context& NetworkContext() {
    return TheNetwork().context;
}

}  // namespace host_runtime
