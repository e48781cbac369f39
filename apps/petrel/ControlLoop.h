// One thread for everything but media: messages, negotiation, and taking media apart, which GStreamer's own
// threads must never do.
#pragma once

#include <deque>
#include <functional>
#include <thread>

#include "support/annotated_mutex.h"

namespace petrel {

class ControlLoop {
public:
    ControlLoop();
    ~ControlLoop();  // stops
    ControlLoop(const ControlLoop&) = delete;
    ControlLoop& operator=(const ControlLoop&) = delete;

    // [any-thread] First in, first out; never inline. Dropped once stopped.
    void Post(std::function<void()> job);

    // Runs what was posted before, then ends the thread. Not from a job.
    void Stop();

private:
    void Run();

    support::Mutex mutex;
    support::Condition changed;
    std::deque<std::function<void()>> jobs GUARDED_BY(mutex);
    bool stopping GUARDED_BY(mutex) = false;
    std::thread thread;
};

}  // namespace petrel
