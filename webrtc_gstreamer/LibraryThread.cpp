#include "webrtc_gstreamer/LibraryThread.h"

#include <pthread.h>
#include <sched.h>

#include <chrono>
#include <cstdlib>
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
    std::int64_t ending GUARDED_BY(mutex) = 0;
};

constexpr auto kLongestExit = std::chrono::seconds(5);

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

void AwaitEnding() {
    const auto deadline = std::chrono::steady_clock::now() + kLongestExit;
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    while (count.ending > 0) {
        if (!count.changed.WaitUntil(count.mutex, deadline)) return;
    }
}

}  // namespace

void BeginEnding() {
    static const bool registered = std::atexit(AwaitEnding) == 0;
    static_cast<void>(registered);
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    ++count.ending;
}

void FinishEnding() {
    ThreadCount& count = TheCount();
    const support::MutexLock lock(count.mutex);
    --count.ending;
    count.changed.NotifyAll();
}

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
        // On this thread, whoever's it is: there is no other.
        LogError(std::string("no thread: ") + error.what());
        return false;
    }
    return true;
}

bool RunWhenDue() {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_RR);
    return pthread_setschedparam(pthread_self(), SCHED_RR, &parameters) == 0;
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
