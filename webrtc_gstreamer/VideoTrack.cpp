#include "webrtc_gstreamer/VideoTrack.h"

namespace webrtc_gstreamer {

void VideoTrack::Deliver(std::uint64_t receiver, const vo_webrtc::voI420Frame& frame) {
    if (receiver != newestReceiver.load(std::memory_order_relaxed)) return;
    meter.CountDecoded();
    sinks.ForEach("a video sink", [&frame](Sink& sink) { sink.OnFrame(frame); });
}

}  // namespace webrtc_gstreamer
