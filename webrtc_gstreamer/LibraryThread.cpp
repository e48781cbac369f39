#include "webrtc_gstreamer/LibraryThread.h"

#include <pthread.h>

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "support/annotated_mutex.h"
#include "webrtc_gstreamer/CallOut.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace webrtc_gstreamer {
namespace {

// Outlives every static object, since threads may end after those.
struct ThreadCount {
    support::Mutex mutex;
    support::Condition changed;
    std::int64_t running GUARDED_BY(mutex) = 0;
};

ThreadCount& TheCount() {
    static ThreadCount& count = *new ThreadCount;
    return count;
}

void ChangeCount(std::int64_t by) {
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    count.running += by;
    count.changed.NotifyAll();
}

}  // namespace

bool StartLibraryThread(const char* name, std::function<void()> run) {
    ChangeCount(1);
    try {
        std::thread([name, run = std::move(run)]() mutable {
            pthread_setname_np(pthread_self(), name);
            CallOut(name, run);
            run = nullptr;  // what it owns ends before the thread counts as gone
            ChangeCount(-1);
        }).detach();
    } catch (const std::system_error& error) {
        ChangeCount(-1);
        LogError(std::string("no thread: ") + error.what());
        return false;
    }
    return true;
}

std::int64_t LivingThreads() {
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    return count.running;
}

bool WaitUntilIdle(std::int64_t timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    while (count.running > 0) {
        if (!count.changed.WaitUntil(count.mutex, deadline) && count.running > 0) return false;
    }
    return true;
}

}  // namespace webrtc_gstreamer
