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

void TaskQueue::Run() {
    while (true) {
        Task task;
        {
            const support::MutexLock lock(mutex);
            while (tasks.empty() && !closed)
                changed.Wait(mutex);
            if (tasks.empty()) return;
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        CallOut("a task", task);
    }
}

}  // namespace webrtc_gstreamer
