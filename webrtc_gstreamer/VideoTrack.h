#pragma once

#include <atomic>
#include <cstdint>

#include "webrtc/voVideoTrackInterface.h"
#include "webrtc_gstreamer/SinkList.h"
#include "webrtc_gstreamer/StreamMeter.h"

namespace webrtc_gstreamer {

// Where decoded pictures of one peer connection go. Outlives the engine as long as a track object does.
class VideoTrack {
public:
    using Sink = vo_webrtc::voVideoTrackInterface::Sink;

    SinkList<Sink>& Sinks() { return sinks; }

    // A receiver that wants to deliver; only the newest does, so that a stream that was replaced falls
    // silent.
    std::uint64_t NewReceiver() { return newestReceiver.fetch_add(1) + 1; }
    // [library-thread]
    void Deliver(std::uint64_t receiver, const vo_webrtc::voI420Frame& frame);
    StreamMeter& Meter() { return meter; }

private:
    SinkList<Sink> sinks;
    std::atomic<std::uint64_t> newestReceiver{0};
    StreamMeter meter;
};

}  // namespace webrtc_gstreamer
