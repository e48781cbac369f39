#include "host_runtime/core/MainThreadQueue.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <utility>

#include "host/core/zTraceManager.h"

namespace host_runtime {
namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
// Waiting in pieces keeps far due times inside the range of the system's clock.
constexpr std::int64_t kLongestWaitUs = 3'600'000'000;

std::int64_t SteadyUs() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count();
}

std::int64_t DueAfter(std::int64_t nowUs, std::int64_t delayUs) {
    if (delayUs <= 0) return nowUs;
    return delayUs > kNever - nowUs ? kNever : nowUs + delayUs;
}

}  // namespace

struct MainThreadQueue::Entry {
    Job job;
    std::int64_t dueUs = 0;
    std::uint64_t sequence = 0;
};

// Puts the entry that is due first at the top of the heap; equal ones in the order of their posting.
struct MainThreadQueue::Later {
    bool operator()(const std::unique_ptr<Entry>& left, const std::unique_ptr<Entry>& right) const {
        return left->dueUs != right->dueUs ? left->dueUs > right->dueUs : left->sequence > right->sequence;
    }
};

MainThreadQueue& MainThreadQueue::Default() {
    // Never destroyed: other threads may still post while statics go.
    static auto& queue = *new MainThreadQueue;
    return queue;
}

MainThreadQueue::MainThreadQueue() = default;

MainThreadQueue::~MainThreadQueue() {
    ShutDown();
}

void MainThreadQueue::Post(Job job) {
    if (!job.action) return;
    auto entry = std::make_unique<Entry>();
    entry->job = std::move(job);
    const support::MutexLock lock(mutex);
    if (closed) return;  // the lock goes first, so the job's own destructors run without it
    entry->dueUs = DueAfter(Now(), entry->job.delayUs);
    entry->sequence = nextSequence++;
    heap.push_back(std::move(entry));
    std::push_heap(heap.begin(), heap.end(), Later());
    changed.NotifyAll();
}

void MainThreadQueue::Run() {
    {
        const support::MutexLock lock(mutex);
        closed = false;
    }
    while (true) {
        std::unique_ptr<Entry> entry;
        {
            const support::MutexLock lock(mutex);
            while (!quitRequested && (heap.empty() || heap.front()->dueUs > Now())) {
                if (heap.empty()) {
                    changed.Wait(mutex);
                    continue;
                }
                const std::int64_t waitUs = std::min(heap.front()->dueUs - Now(), kLongestWaitUs);
                changed.WaitUntil(mutex,
                                  std::chrono::steady_clock::now() + std::chrono::microseconds(waitUs));
            }
            if (quitRequested) {
                quitRequested = false;
                return;
            }
            entry = TakeFirst();
        }
        Execute(entry->job);
    }
}

void MainThreadQueue::Quit() {
    const support::MutexLock lock(mutex);
    quitRequested = true;
    changed.NotifyAll();
}

std::size_t MainThreadQueue::RunDue() {
    std::int64_t nowUs = 0;
    std::uint64_t firstNewSequence = 0;
    {
        const support::MutexLock lock(mutex);
        nowUs = Now();
        firstNewSequence = nextSequence;
    }
    std::size_t count = 0;
    while (true) {
        std::unique_ptr<Entry> entry;
        {
            const support::MutexLock lock(mutex);
            if (heap.empty() || heap.front()->dueUs > nowUs || heap.front()->sequence >= firstNewSequence) {
                return count;
            }
            entry = TakeFirst();
        }
        Execute(entry->job);
        ++count;
    }
}

std::optional<std::int64_t> MainThreadQueue::NextDueUs() const {
    const support::MutexLock lock(mutex);
    if (heap.empty()) return std::nullopt;
    return heap.front()->dueUs;
}

std::size_t MainThreadQueue::PendingCount() const {
    const support::MutexLock lock(mutex);
    return heap.size();
}

void MainThreadQueue::ShutDown() {
    std::vector<std::unique_ptr<Entry>> dropped;
    {
        const support::MutexLock lock(mutex);
        closed = true;
        dropped.swap(heap);
    }
    // Destroyed here, unlocked: what a job holds may post again, which `closed` turns away.
}

void MainThreadQueue::Reopen() {
    const support::MutexLock lock(mutex);
    closed = false;
}

void MainThreadQueue::UseClock(Clock newClock) {
    const support::MutexLock lock(mutex);
    const std::int64_t before = Now();
    clock = std::move(newClock);
    const std::int64_t after = Now();
    for (const auto& entry : heap) {
        entry->dueUs = DueAfter(after, entry->dueUs == kNever ? kNever : entry->dueUs - before);
    }
    std::make_heap(heap.begin(), heap.end(), Later());
    closed = false;
    changed.NotifyAll();
}

std::int64_t MainThreadQueue::NowUs() const {
    const support::MutexLock lock(mutex);
    return Now();
}

std::int64_t MainThreadQueue::Now() const {
    return clock ? clock() : SteadyUs();
}

std::unique_ptr<MainThreadQueue::Entry> MainThreadQueue::TakeFirst() {
    std::pop_heap(heap.begin(), heap.end(), Later());
    std::unique_ptr<Entry> entry = std::move(heap.back());
    heap.pop_back();
    return entry;
}

void MainThreadQueue::Execute(Job& job) {
    // The cancel object is only looked at: held during the job, it would tell the job's own checks that an
    // owner lives which the job itself has just destroyed.
    if (job.hasCancel && job.cancel.expired()) return;
    try {
        if (job.condition && !job.condition()) return;
        job.action();
    } catch (const std::exception& error) {
        zTraceManager::Default()->TraceMessage(
            FourCC("note"), "A main-thread job ended with an exception: %s\n", error.what());
    } catch (...) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "A main-thread job ended with an exception\n");
    }
}

}  // namespace host_runtime
