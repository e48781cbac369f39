#pragma once

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
    void Run();            // The worker's loop.

private:
    support::Mutex mutex;
    support::Condition changed;
    std::deque<Task> tasks GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace webrtc_gstreamer
