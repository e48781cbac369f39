// What one peer connection shares with its two renderers and their sinks: the flags, the tally's sender,
// and the handles that tie remote tracks to sinks.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "support/annotated_mutex.h"
#include "support/object_count.h"
#include "webrtc/voAudioTrackInterface.h"
#include "webrtc/voMediaStreamInterface.h"
#include "webrtc/voPointer.h"
#include "webrtc/voVideoTrackInterface.h"

class cWebSocket;
class nxWebRtcAudioRenderer;
class nxWebRtcVideoRenderer;

class nxWebRtcRendererData : private support::Counted<nxWebRtcRendererData> {
public:
    using support::Counted<nxWebRtcRendererData>::Alive;

    nxWebRtcRendererData(std::shared_ptr<cWebSocket> tallySender, std::string peer);
    // Removes the sinks from their tracks. May run on any thread, also inside a sink's callback.
    ~nxWebRtcRendererData();
    nxWebRtcRendererData(const nxWebRtcRendererData&) = delete;
    nxWebRtcRendererData& operator=(const nxWebRtcRendererData&) = delete;

    // [main-thread] Null: no socket, tally changes are neither sent nor remembered.
    void SetSender(std::shared_ptr<cWebSocket> newSender);
    void SetPeerIdentifier(std::string identifier);

    // [any-thread] Sends "tallyStateChanged" when the tally differs from the one last sent.
    void SendTallyIfChanged();
    void StoreOnAir(bool onAir);

    // [main-thread]
    void SetVideoRenderer(const std::shared_ptr<nxWebRtcVideoRenderer>& renderer);
    void SetAudioRenderer(const std::shared_ptr<nxWebRtcAudioRenderer>& renderer);

    // [main-thread] or [library-thread] Moves the sink to the stream's first track.
    void AttachVideoSink(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream);
    void AttachAudioSink(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream);
    void UpdateAudioTrackEnabled();

    std::atomic<bool> videoReceived{false};  // a video frame has been converted
    std::atomic<bool> audioMuted{false};
    std::atomic<bool> videoMuted{false};
    std::atomic<bool> onAir{false};
    std::atomic<bool> lastTally{false};  // as last sent
    std::atomic<bool> audioEnabled{false};

private:
    // Never held while calling out of this class.
    mutable support::Mutex mutex;
    std::shared_ptr<cWebSocket> sender GUARDED_BY(mutex);
    std::string peerIdentifier GUARDED_BY(mutex);

    // Held while calling the tracks, whose operations never wait, so that a stream that arrives and a
    // renderer that is made at the same time cannot both move the sink. Sink callbacks never take it.
    support::Mutex attaching;
    std::weak_ptr<nxWebRtcVideoRenderer> videoRenderer GUARDED_BY(attaching);
    std::weak_ptr<nxWebRtcAudioRenderer> audioRenderer GUARDED_BY(attaching);
    vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface::Sink> videoSink GUARDED_BY(attaching);
    vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface::Sink> audioSink GUARDED_BY(attaching);
    vo_webrtc::voPointer<vo_webrtc::voVideoTrackInterface> videoTrack GUARDED_BY(attaching);
    vo_webrtc::voPointer<vo_webrtc::voAudioTrackInterface> audioTrack GUARDED_BY(attaching);

    void EnableAudioTrackByFlags() REQUIRES(attaching);
};
