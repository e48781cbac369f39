// One thread that does what it is handed, and something of its own every so often.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <thread>

#include "support/annotated_mutex.h"

namespace petrel {

class TickingLoop {
public:
    TickingLoop(std::chrono::milliseconds tickPeriod, std::function<void()> tick);
    ~TickingLoop();  // stops
    TickingLoop(const TickingLoop&) = delete;
    TickingLoop& operator=(const TickingLoop&) = delete;

    // [any-thread] First in, first out; never inline. Waits for Start(); dropped once stopped.
    void Post(std::function<void()> job);

    void Start();
    // Runs what was posted before, then ends the thread. Not from a job.
    void Stop();

private:
    void Run();

    const std::chrono::milliseconds period;
    const std::function<void()> onTick;
    support::Mutex mutex;
    support::Condition changed;
    std::deque<std::function<void()>> jobs GUARDED_BY(mutex);
    bool stopping GUARDED_BY(mutex) = false;
    std::thread thread;
};

}  // namespace petrel
