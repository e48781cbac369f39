// A thread that rests between its turns until it has to end. It shares its lock with no other thread but the
// one that ends it, or the rests would hide races between the threads.
#pragma once

#include <chrono>
#include <functional>
#include <thread>
#include <utility>

#include "support/annotated_mutex.h"

namespace stress {

class PacedThread {
public:
    explicit PacedThread(std::function<void(PacedThread&)> run)
        : thread([this, turns = std::move(run)] { turns(*this); }) {}
    ~PacedThread() {
        End();
        thread.join();
    }
    PacedThread(const PacedThread&) = delete;
    PacedThread& operator=(const PacedThread&) = delete;

    // Does not wait for it.
    void End() EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        ending = true;
        changed.NotifyAll();
    }

    // [the thread itself] False, and at once, when it has to end.
    bool RestFor(std::chrono::microseconds time) {
        return RestUntil(std::chrono::steady_clock::now() + time);
    }
    bool RestUntil(std::chrono::steady_clock::time_point due) EXCLUDES(mutex) {
        const support::MutexLock lock(mutex);
        while (!ending && changed.WaitUntil(mutex, due)) {
        }
        return !ending;
    }

private:
    support::Mutex mutex;
    support::Condition changed;
    bool ending GUARDED_BY(mutex) = false;
    std::thread thread;
};

}  // namespace stress
