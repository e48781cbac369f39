#pragma once

#include <chrono>
#include <cstdint>

namespace host_runtime {

// The clock of pulls, activations and pictures.
inline std::int64_t SteadyNowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace host_runtime
