// How long the machine keeps a thread waiting that has nothing to do but to wake: at least so long may it
// hold up whoever delivers pictures and sound.
#pragma once

#include <chrono>
#include <thread>

#include "support/annotated_mutex.h"

namespace e2e {

class HeldUp {
public:
    // What is more than that is not the machine's alone.
    static constexpr std::chrono::milliseconds kMost{60};

    HeldUp();
    ~HeldUp();
    HeldUp(const HeldUp&) = delete;
    HeldUp& operator=(const HeldUp&) = delete;

    // Since the beginning; kMost at most. In milliseconds.
    double LongestMs() const;

private:
    void Run();

    mutable support::Mutex mutex;
    support::Condition changed;
    bool stopping GUARDED_BY(mutex) = false;
    std::chrono::steady_clock::duration longest GUARDED_BY(mutex){0};
    std::thread thread;
};

}  // namespace e2e
