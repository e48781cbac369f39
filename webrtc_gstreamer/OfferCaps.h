// What the library offers to receive.
#pragma once

#include <string_view>

#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/SessionDescription.h"

namespace webrtc_gstreamer {

// RTP header extension of the sender's bandwidth estimation.
inline constexpr const char* kTransportWideCcUri =
    "http://www.ietf.org/id/draft-holmer-rmcat-transport-wide-cc-extensions-01";

// H264, VP8 and VP9, in this order of preference. Every format carries the feedback and the header extension
// without which senders fall back to a crawl.
CapsPointer OfferedVideoCaps();
CapsPointer OfferedAudioCaps();

// Whether streams of this codec can be decoded. `kind` is audio or video.
bool CanReceive(std::string_view kind, std::string_view encoding);

// Caps for receiving what a foreign offer's section describes, with its payload types and extension ids.
CapsPointer CapsFor(const MediaSection& section);

// In an answer webrtcbin drops the NACK line, in whatever it writes; puts it back.
void CompleteFeedback(GstSDPMessage& description);

}  // namespace webrtc_gstreamer
