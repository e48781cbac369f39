#pragma once

#include "webrtc/voCallback.h"
#include "webrtc/voI420Frame.h"
#include "webrtc/voPointer.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voVideoTrackInterface : public voObject {
public:
    class Sink : public voCallback {
    public:
        using voCallback::voCallback;
        // [library-thread] One decoded frame. Must not block.
        virtual void OnFrame(const voI420Frame& frame) = 0;
    };

    using voObject::voObject;

    // [any-thread] Both are idempotent, neither waits for a running callback, and both may be called from
    // inside one. No call to the sink begins after RemoveSink returned on the delivering thread.
    void AddOrUpdateSink(voPointer<Sink> sink);
    void RemoveSink(voPointer<Sink> sink);
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
