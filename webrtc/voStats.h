#pragma once

#include <cstdint>

namespace vo_webrtc {

// One sample of a peer connection's counters. Counted in 8-byte words (the two codes are word 1),
// the time is word 2 and the bytes are word 4.
struct voStats {
    std::uint32_t stateCode1 = 0;    // 0 to 4
    std::uint32_t stateCode2 = 0;    // 0 to 4
    std::int64_t timestampUs = 0;    // steady clock, never relative to the peer connection
    std::int64_t counter1 = 0;       // packets received
    std::int64_t bytesReceived = 0;  // video and audio together
    std::int64_t counter3 = 0;       // packets lost
    std::int64_t counter4 = 0;       // video frames decoded
};

}  // namespace vo_webrtc
