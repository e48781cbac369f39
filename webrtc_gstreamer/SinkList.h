#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "support/annotated_mutex.h"
#include "webrtc/voPointer.h"
#include "webrtc_gstreamer/CallOut.h"

namespace webrtc_gstreamer {

// The sinks of one track. Sinks are called with no lock held, from a list that is replaced and never
// changed, so that adding and removing may happen inside a call and never waits for one.
template <class Sink>
class SinkList {
public:
    using Pointer = vo_webrtc::voPointer<Sink>;

    // [any-thread] Null and a sink that is already there are ignored.
    void Add(const Pointer& sink) {
        if (!sink) return;
        std::shared_ptr<const Sinks> old;  // released after the lock
        const support::MutexLock lock(mutex);
        if (Find(sink.Get())) return;
        auto changed = sinks ? std::make_shared<Sinks>(*sinks) : std::make_shared<Sinks>();
        changed->push_back(sink);
        old = std::exchange(sinks, std::move(changed));
    }

    // [any-thread]
    void Remove(const Sink* sink) {
        std::shared_ptr<const Sinks> old;  // released after the lock
        const support::MutexLock lock(mutex);
        if (!Find(sink)) return;
        auto changed = std::make_shared<Sinks>(*sinks);
        std::erase_if(*changed, [sink](const Pointer& other) { return other.Get() == sink; });
        old = std::exchange(sinks, std::move(changed));
    }

    // Calls each sink; one removed meanwhile is not called any more. Allocates nothing.
    template <class Call>
    void ForEach(const char* what, Call call) {
        std::shared_ptr<const Sinks> snapshot;
        {
            const support::MutexLock lock(mutex);
            snapshot = sinks;
        }
        if (!snapshot) return;
        for (const Pointer& sink : *snapshot) {
            {
                const support::MutexLock lock(mutex);
                if (!Find(sink.Get())) continue;
            }
            CallOut(what, [&call, &sink] { call(*sink); });
        }
    }

private:
    using Sinks = std::vector<Pointer>;

    bool Find(const Sink* sink) const REQUIRES(mutex) {
        return sinks && std::any_of(sinks->begin(), sinks->end(),
                                    [sink](const Pointer& other) { return other.Get() == sink; });
    }

    support::Mutex mutex;
    std::shared_ptr<const Sinks> sinks GUARDED_BY(mutex);
};

}  // namespace webrtc_gstreamer
