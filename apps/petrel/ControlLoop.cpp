#include "apps/petrel/ControlLoop.h"

#include <utility>

namespace petrel {

ControlLoop::ControlLoop() {
    thread = std::thread([this] { Run(); });
}

ControlLoop::~ControlLoop() {
    Stop();
}

void ControlLoop::Post(std::function<void()> job) {
    {
        support::MutexLock lock(mutex);
        if (stopping) return;
        jobs.push_back(std::move(job));
    }
    changed.NotifyOne();
}

void ControlLoop::Stop() {
    {
        support::MutexLock lock(mutex);
        stopping = true;
    }
    changed.NotifyOne();
    if (thread.joinable()) thread.join();
}

void ControlLoop::Run() {
    while (true) {
        std::function<void()> job;
        {
            support::MutexLock lock(mutex);
            while (jobs.empty() && !stopping)
                changed.Wait(mutex);
            if (jobs.empty()) return;
            job = std::move(jobs.front());
            jobs.pop_front();
        }
        job();
    }
}

}  // namespace petrel
