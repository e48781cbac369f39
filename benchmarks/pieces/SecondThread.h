// Locks and counts are cheaper in a process of one thread, which no host is: a second one waits meanwhile.
#pragma once

#include <thread>

#include "support/annotated_mutex.h"

namespace benchmarks {

class SecondThread {
public:
    SecondThread() { done.Lock(); }
    ~SecondThread() {
        done.Unlock();
        other.join();
    }
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

private:
    support::Mutex done;  // guards no field: held until the measuring ends
    std::thread other{[this] { const support::MutexLock lock(done); }};
};

}  // namespace benchmarks
