#include "webrtc_gstreamer/TrackBodies.h"

namespace vo_webrtc {

using webrtc_gstreamer::AudioTrackBody;
using webrtc_gstreamer::MediaStreamBody;
using webrtc_gstreamer::VideoTrackBody;

void voVideoTrackInterface::AddOrUpdateSink(voPointer<Sink> sink) {
    static_cast<VideoTrackBody*>(Body())->track->Sinks().Add(sink);
}

void voVideoTrackInterface::RemoveSink(voPointer<Sink> sink) {
    static_cast<VideoTrackBody*>(Body())->track->Sinks().Remove(sink.Get());
}

void voAudioTrackInterface::AddSink(voPointer<Sink> sink) {
    static_cast<AudioTrackBody*>(Body())->track->Sinks().Add(sink);
}

void voAudioTrackInterface::RemoveSink(voPointer<Sink> sink) {
    static_cast<AudioTrackBody*>(Body())->track->Sinks().Remove(sink.Get());
}

void voAudioTrackInterface::SetEnabled(bool enabled) {
    static_cast<AudioTrackBody*>(Body())->track->SetEnabled(enabled);
}

voPointer<voVideoTrackInterface> voMediaStreamInterface::VideoTrack(std::uint64_t index) const {
    if (index != 0) return nullptr;
    return static_cast<const MediaStreamBody*>(Body())->video;
}

voPointer<voAudioTrackInterface> voMediaStreamInterface::AudioTrack(std::uint64_t index) const {
    if (index != 0) return nullptr;
    return static_cast<const MediaStreamBody*>(Body())->audio;
}

}  // namespace vo_webrtc
