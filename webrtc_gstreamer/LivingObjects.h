// What is still alive inside the library, for leak checks.
#pragma once

#include <cstdint>

namespace webrtc_gstreamer {

// [any-thread] Bodies of wrapper objects, those of callbacks included. A peer connection that was released
// counts until its engine is gone.
std::int64_t LivingObjects();

// [any-thread] Threads that the library itself runs.
std::int64_t LivingThreads();

// [any-thread] Waits until no peer connection is closing and no library thread runs any more; false when
// the time passed first. Never call it on a library thread.
bool WaitUntilIdle(std::int64_t timeoutMs);

}  // namespace webrtc_gstreamer
