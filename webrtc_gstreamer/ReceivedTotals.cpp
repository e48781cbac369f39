#include "webrtc_gstreamer/ReceivedTotals.h"

namespace webrtc_gstreamer {

Received ReceivedTotals::Sum() const {
    Received sum;
    for (const auto& [ssrc, received] : bySsrc) {
        sum.bytes += received.bytes;
        sum.packets += received.packets;
        sum.packetsLost += received.packetsLost;
    }
    return sum;
}

}  // namespace webrtc_gstreamer
