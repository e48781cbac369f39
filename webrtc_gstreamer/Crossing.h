#pragma once

#include "support/annotated_mutex.h"

namespace webrtc_gstreamer {

// GStreamer carries pointers of ours from one of its threads to another. Its own locks order that, but a
// thread checker does not see them; so whoever hands such an object over, and every callback that uses one,
// passes through this mutex at its beginning and its end. Nothing is done while it is held.
class Crossing {
public:
    Crossing() { Pass(); }
    ~Crossing() { Pass(); }
    Crossing(const Crossing&) = delete;
    Crossing& operator=(const Crossing&) = delete;

private:
    static inline support::Mutex mutex;  // guards no field
    static void Pass() { const support::MutexLock lock(mutex); }
};

}  // namespace webrtc_gstreamer
