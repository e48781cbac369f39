#include "host/core/zThread.h"

#include <utility>

#include "host_runtime/core/MainThreadQueue.h"

void zThread::ExecuteOnMainThread(std::function<void()> action, std::int64_t delayUs) {
    host_runtime::MainThreadQueue::Job job;
    job.delayUs = delayUs;
    job.action = std::move(action);
    host_runtime::MainThreadQueue::Default().Post(std::move(job));
}

void zThread::ExecuteOnMainThread(const std::shared_ptr<zObject>& cancel, std::int64_t delayUs,
                                  std::function<bool()> condition, std::function<void()> action) {
    host_runtime::MainThreadQueue::Job job;
    job.delayUs = delayUs;
    job.hasCancel = true;
    job.cancel = cancel;
    job.condition = std::move(condition);
    job.action = std::move(action);
    host_runtime::MainThreadQueue::Default().Post(std::move(job));
}
