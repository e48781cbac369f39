#pragma once

#include "webrtc/voAudioData.h"
#include "webrtc/voCallback.h"
#include "webrtc/voPointer.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voAudioTrackInterface : public voObject {
public:
    class Sink : public voCallback {
    public:
        using voCallback::voCallback;
        // [library-thread] 10 ms of sound, paced by the steady clock: 480 frames, 48 kHz, 16 bit, 1 or 2
        // channels; zeros while the track is disabled. Must not block.
        virtual void OnData(const voAudioData& data) = 0;
    };

    using voObject::voObject;

    // [any-thread] As the sinks of a video track.
    void AddSink(voPointer<Sink> sink);
    void RemoveSink(voPointer<Sink> sink);

    void SetEnabled(bool enabled);  // [any-thread]
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
