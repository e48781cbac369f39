// The queue behind zThread::ExecuteOnMainThread. Whoever embeds the host runtime runs it on the thread
// that is to be the main thread; tests drive it with a virtual clock.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "host/core/zObject.h"
#include "support/annotated_mutex.h"

namespace host_runtime {

class MainThreadQueue {
public:
    using Clock = std::function<std::int64_t()>;  // microseconds, never going back

    struct Job {
        std::int64_t delayUs = 0;
        bool hasCancel = false;
        std::weak_ptr<zObject> cancel;
        std::function<bool()> condition;
        std::function<void()> action;
    };

    // The one that zThread uses.
    static MainThreadQueue& Default();

    MainThreadQueue();
    ~MainThreadQueue();
    MainThreadQueue(const MainThreadQueue&) = delete;
    MainThreadQueue& operator=(const MainThreadQueue&) = delete;

    void Post(Job job);  // [any-thread]

    // [main-thread] Runs jobs as they fall due until Quit().
    void Run();
    // [any-thread] Run() returns after the current job; a Quit() before Run() makes it return at once.
    void Quit();

    // [main-thread] Runs the jobs that are due now, not those that they post; returns how many.
    std::size_t RunDue();
    // [any-thread] When the next job falls due, on this queue's clock.
    std::optional<std::int64_t> NextDueUs() const;
    std::size_t PendingCount() const;  // [any-thread]

    // [main-thread] Destroys what is queued; jobs posted afterwards are dropped until Reopen() or Run().
    void ShutDown();
    // [main-thread] Takes jobs again, for a host that begins after another one has ended.
    void Reopen();

    // [main-thread] Replaces the steady clock; an empty one brings it back. What is queued keeps the delay
    // that it has left. Reopens a queue that was shut down.
    void UseClock(Clock newClock);
    std::int64_t NowUs() const;

private:
    struct Entry;
    struct Later;

    std::int64_t Now() const REQUIRES(mutex);
    std::unique_ptr<Entry> TakeFirst() REQUIRES(mutex);
    static void Execute(Job& job);

    mutable support::Mutex mutex;
    support::Condition changed;
    Clock clock GUARDED_BY(mutex);
    std::vector<std::unique_ptr<Entry>> heap GUARDED_BY(mutex);
    std::uint64_t nextSequence GUARDED_BY(mutex) = 0;
    bool quitRequested GUARDED_BY(mutex) = false;
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace host_runtime
