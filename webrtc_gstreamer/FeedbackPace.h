#pragma once

#include <gst/gst.h>

namespace webrtc_gstreamer {

// How often reports about what was received leave (RFC 3550, section 6; RFC 4585). They cost both sides about
// as much as the packets of a picture. In between, one request may leave at once.
inline constexpr GstClockTime kCalmFeedback = 100 * GST_MSECOND;
// While packets are lost, so that every picture can have a request of its own.
inline constexpr GstClockTime kLossyFeedback = 30 * GST_MSECOND;
// After the last request for a packet.
inline constexpr GstClockTime kLossySpell = 2 * GST_SECOND;

// For as long as the element, an rtpsession, lives.
void PaceFeedback(GstElement* session);

}  // namespace webrtc_gstreamer
