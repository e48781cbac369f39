#pragma once

#include <chrono>
#include <deque>
#include <functional>

#include "support/annotated_mutex.h"

namespace webrtc_gstreamer {

// Jobs for one worker thread, first in, first out.
class TaskQueue {
public:
    using Task = std::function<void()>;

    void Post(Task task);  // [any-thread] Dropped after Close().
    void Close();          // [any-thread] Run() returns when the tasks posted so far are done.
    // The worker's loop; between the tasks, and also without any, it calls `tick` once in each period.
    void Run(std::chrono::milliseconds period, const Task& tick);

private:
    using Clock = std::chrono::steady_clock;
    enum class Next { Task, Tick, End };
    Next Wait(Clock::time_point tickDue, Task& task);

    support::Mutex mutex;
    support::Condition changed;
    std::deque<Task> tasks GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace webrtc_gstreamer
