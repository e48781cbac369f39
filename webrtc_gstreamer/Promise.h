#pragma once

#include <memory>

#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {

// An answer that GStreamer gives on a thread of its own, waited for on ours, with a limit.
class Promise {
public:
    Promise();
    ~Promise();
    Promise(const Promise&) = delete;
    Promise& operator=(const Promise&) = delete;

    // To be passed to an action that takes its own reference.
    GstPromise* Get() const { return promise.get(); }

    enum class Outcome { Answered, Refused, TimedOut };
    // The answer, null when it is empty, is in `reply`.
    Outcome Wait(StructurePointer& reply);

private:
    struct State;
    std::shared_ptr<State> state;
    PromisePointer promise;
};

}  // namespace webrtc_gstreamer
