#pragma once

#include <algorithm>
#include <vector>

#include "support/annotated_mutex.h"

namespace stress {

// Handles that some threads put down and others work with. What is handed out stays alive with its copy.
template <class Handle>
class Shelf {
public:
    void Put(Handle handle) {
        const support::MutexLock lock(mutex);
        handles.push_back(std::move(handle));
    }
    void Take(const Handle& handle) {
        std::vector<Handle> taken;  // goes after the lock
        const support::MutexLock lock(mutex);
        const auto kept = std::stable_partition(handles.begin(), handles.end(),
                                                [&](const Handle& candidate) { return candidate != handle; });
        taken.assign(kept, handles.end());
        handles.erase(kept, handles.end());
    }
    std::vector<Handle> All() const {
        const support::MutexLock lock(mutex);
        return handles;
    }

private:
    mutable support::Mutex mutex;
    std::vector<Handle> handles GUARDED_BY(mutex);
};

}  // namespace stress
