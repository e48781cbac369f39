#pragma once

#include <chrono>
#include <cstdint>

namespace webrtc_gstreamer {

inline std::int64_t SteadyTimeUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace webrtc_gstreamer
