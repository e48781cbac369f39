#pragma once

#include <cstdint>

// Counters of one peer connection at one moment. All zero: no data is available.
struct nxWebRtcStats {
    std::uint32_t stateCode1 = 0;  // 0 to 4
    std::uint32_t stateCode2 = 0;  // 0 to 4
    std::int64_t timestampUs = 0;  // steady clock
    std::int64_t counter1 = 0;     // carried only
    std::int64_t bytesReceived = 0;
    std::int64_t counter3 = 0;  // carried only
    std::int64_t counter4 = 0;  // carried only
};
