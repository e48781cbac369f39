// One received stream: from webrtcbin's source pad through depayloader and decoder to a track.
#pragma once

#include <gst/gst.h>

#include <memory>

#include "webrtc_gstreamer/AudioTrack.h"
#include "webrtc_gstreamer/VideoTrack.h"

namespace webrtc_gstreamer {

// The tracks of one peer connection.
struct ReceivingTracks {
    std::shared_ptr<VideoTrack> video;
    std::shared_ptr<AudioTrack> audio;
};

// [library-thread] Builds the elements that fit the pad's codec, adds them to `pipeline` as one bin and links
// them. Null, with a log line, when the codec is unknown; the pad is then drained, so that nothing stalls.
// The bin belongs to the pipeline.
GstElement* AddReceiver(GstBin* pipeline, GstPad* pad, const ReceivingTracks& tracks);

// Asks the sender for a key frame; nothing when the receiver is one of sound.
void RequestKeyFrame(GstElement* receiver);

}  // namespace webrtc_gstreamer
