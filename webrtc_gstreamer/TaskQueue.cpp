#include "webrtc_gstreamer/TaskQueue.h"

#include <utility>

#include "webrtc_gstreamer/CallOut.h"

namespace webrtc_gstreamer {

void TaskQueue::Post(Task task) {
    const support::MutexLock lock(mutex);
    if (closed) return;
    tasks.push_back(std::move(task));
    changed.NotifyOne();
}

void TaskQueue::Close() {
    const support::MutexLock lock(mutex);
    closed = true;
    changed.NotifyOne();
}

TaskQueue::Next TaskQueue::Wait(Clock::time_point tickDue, Task& task) {
    const support::MutexLock lock(mutex);
    while (tasks.empty() && !closed && Clock::now() < tickDue)
        changed.WaitUntil(mutex, tickDue);
    // Many tasks do not hold up the tick.
    if (!closed && Clock::now() >= tickDue) return Next::Tick;
    if (tasks.empty()) return Next::End;
    task = std::move(tasks.front());
    tasks.pop_front();
    return Next::Task;
}

void TaskQueue::Run(std::chrono::milliseconds period, const Task& tick) {
    auto tickDue = Clock::now() + period;
    while (true) {
        Task task;
        switch (Wait(tickDue, task)) {
            case Next::Task:
                CallOut("a task", task);
                break;
            case Next::Tick:
                CallOut("a look at the media", tick);
                tickDue = Clock::now() + period;
                break;
            case Next::End:
                return;
        }
    }
}

}  // namespace webrtc_gstreamer
