// Jobs on the host's main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "host/core/zObject.h"

class zThread {
public:
    // [any-thread] Queues `action` for the main thread, `delayUs` microseconds (steady clock) from now.
    // Always queued, never run inline; first in, first out at delay 0. An exception that leaves the
    // action ends only that job. Jobs still queued at shut-down are dropped.
    static void ExecuteOnMainThread(std::function<void()> action, std::int64_t delayUs = 0);

    // As above; `cancel` is held weakly, and the job is dropped when it is gone by then. `condition` is
    // asked on the main thread when the job is due; false drops the job. An empty condition is true.
    // A null `cancel` counts as gone.
    static void ExecuteOnMainThread(const std::shared_ptr<zObject>& cancel, std::int64_t delayUs,
                                    std::function<bool()> condition, std::function<void()> action);
};
