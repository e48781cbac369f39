// The bodies of track and stream objects: they only keep the track behind alive.
#pragma once

#include <memory>

#include "webrtc/voMediaStreamInterface.h"
#include "webrtc_gstreamer/AudioTrack.h"
#include "webrtc_gstreamer/ObjectBody.h"
#include "webrtc_gstreamer/VideoTrack.h"

namespace webrtc_gstreamer {

class VideoTrackBody : public ObjectBody {
public:
    explicit VideoTrackBody(std::shared_ptr<VideoTrack> behind) : track(std::move(behind)) {}
    const std::shared_ptr<VideoTrack> track;
};

class AudioTrackBody : public ObjectBody {
public:
    explicit AudioTrackBody(std::shared_ptr<AudioTrack> behind) : track(std::move(behind)) {}
    const std::shared_ptr<AudioTrack> track;
};

class MediaStreamBody : public ObjectBody {
public:
    MediaStreamBody(vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> videoTrack,
                    vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audioTrack)
        : video(std::move(videoTrack)), audio(std::move(audioTrack)) {}
    const vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> video;
    const vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audio;
};

}  // namespace webrtc_gstreamer
