#pragma once

#include <chrono>
#include <cstdint>

namespace stress {

// Minutes of the host pass in seconds: the sweep, reconnections, keep-alives and polls take part.
inline constexpr std::int64_t kHostSpeed = 120;
// Sound is delivered and pulled a little faster than in life.
inline constexpr std::int64_t kMediaSpeed = 4;

inline std::int64_t RealUs() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count();
}

inline std::int64_t HostUs() {
    return RealUs() * kHostSpeed;
}

inline std::int64_t MediaUs() {
    return RealUs() * kMediaSpeed;
}

}  // namespace stress
