#include "apps/petrel/serve/TickingLoop.h"

#include <pthread.h>

#include <utility>

namespace petrel {

TickingLoop::TickingLoop(std::chrono::milliseconds tickPeriod, std::function<void()> tick)
    : period(tickPeriod), onTick(std::move(tick)) {}

TickingLoop::~TickingLoop() {
    Stop();
}

void TickingLoop::Post(std::function<void()> job) {
    {
        const support::MutexLock lock(mutex);
        if (stopping) return;
        jobs.push_back(std::move(job));
    }
    changed.NotifyOne();
}

void TickingLoop::Start() {
    thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "hub");
        Run();
    });
}

void TickingLoop::Stop() {
    {
        const support::MutexLock lock(mutex);
        stopping = true;
    }
    changed.NotifyOne();
    if (thread.joinable()) thread.join();
}

void TickingLoop::Run() {
    auto next = std::chrono::steady_clock::now() + period;
    while (true) {
        std::function<void()> job;
        {
            const support::MutexLock lock(mutex);
            while (jobs.empty() && !stopping && std::chrono::steady_clock::now() < next)
                changed.WaitUntil(mutex, next);
            if (jobs.empty() && stopping) return;
            if (!jobs.empty()) {
                job = std::move(jobs.front());
                jobs.pop_front();
            }
        }
        if (job) job();
        const auto now = std::chrono::steady_clock::now();
        if (now < next) continue;
        onTick();
        next = now + period;
    }
}

}  // namespace petrel
