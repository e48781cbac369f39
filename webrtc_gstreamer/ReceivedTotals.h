// What all streams of a peer connection have brought together.
#pragma once

#include <cstdint>
#include <map>

namespace webrtc_gstreamer {

struct Received {
    std::int64_t bytes = 0;
    std::int64_t packets = 0;
    std::int64_t packetsLost = 0;
    friend bool operator==(const Received&, const Received&) = default;
};

class ReceivedTotals {
public:
    // The latest count of one stream.
    void Take(std::uint32_t ssrc, const Received& received) { bySsrc[ssrc] = received; }
    // A stream that is gone keeps counting, so that the sum never falls.
    Received Sum() const;

private:
    std::map<std::uint32_t, Received> bySsrc;
};

}  // namespace webrtc_gstreamer
