#pragma once

#include <gst/gst.h>

#include <atomic>
#include <cstdint>

namespace webrtc_gstreamer {

// How often reports about what was received leave (RFC 3550, section 6; RFC 4585). They cost both sides about
// as much as the packets of a picture. In between, one request may leave at once.
inline constexpr GstClockTime kCalmFeedback = 200 * GST_MSECOND;
// Between two accounts of when each packet arrived (transport-wide congestion control), for senders that want
// them: they tell by it how fast they may send.
inline constexpr GstClockTime kArrivalFeedback = 100 * GST_MSECOND;
// While packets are lost, so that every picture can have a request of its own.
inline constexpr GstClockTime kLossyFeedback = 30 * GST_MSECOND;

// Whether packets are being lost. A rule on times; it has no clock and no thread of its own.
class LossySpell {
public:
    // After the last request for a packet.
    static constexpr std::int64_t kLengthUs = 2'000'000;

    // A packet is asked for; whether a spell begins.
    bool Asked(std::int64_t nowUs) {
        askedAtUs = nowUs;
        return !isLossy.exchange(true);
    }
    // A report leaves; whether the spell has ended.
    bool Reported(std::int64_t nowUs) {
        return isLossy && nowUs - askedAtUs > kLengthUs && isLossy.exchange(false);
    }

private:
    std::atomic<std::int64_t> askedAtUs{0};
    std::atomic<bool> isLossy{false};
};

// For as long as the element, an rtpsession, lives.
void PaceFeedback(GstElement* session);

}  // namespace webrtc_gstreamer
