// One peer connection (W3C WebRTC, JSEP RFC 8829). The wrapper sets the local description itself, keeps
// remote candidates until the remote description stands, and always offers to receive one video and one
// audio track.
#pragma once

#include <cstdint>

#include "webrtc/voAudioTrackInterface.h"
#include "webrtc/voCallback.h"
#include "webrtc/voIceCandidateInterface.h"
#include "webrtc/voMediaStreamInterface.h"
#include "webrtc/voPointer.h"
#include "webrtc/voStats.h"
#include "webrtc/voVideoTrackInterface.h"
#include "webrtc/voVideoTrackSourceInterface.h"

#pragma GCC visibility push(default)
namespace vo_webrtc {

class voPeerConnectionInterface : public voObject {
public:
    // All operations [library-thread], one at a time per peer connection. Texts are valid during the call.
    class Observer : public voCallback {
    public:
        using voCallback::voCallback;
        // Once per remote stream, when both its tracks are known.
        virtual void OnAddStream(voPointer<voMediaStreamInterface> stream) = 0;
        virtual void OnRemoveStream(voPointer<voMediaStreamInterface> stream) { stream = nullptr; }
        virtual void OnRenegotiationNeeded() {}
        virtual void OnFailure(const char* error) { static_cast<void>(error); }  // may be null
        virtual void OnIceCandidate(voPointer<voIceCandidateInterface> candidate) = 0;
        // Before the first local candidate. Also without being asked, after OnRenegotiationNeeded, when media
        // has stopped and no key frame brought it back: the other side is to answer it like the first one.
        virtual void OnOfferCreated(const char* sdp, const char* type) = 0;
        virtual void OnAnswerCreated(const char* sdp, const char* type) = 0;
        virtual void OnIceConnectionChange(std::uint32_t state) { static_cast<void>(state); }  // 0 to 7
        virtual void OnIceGatheringChange(std::uint32_t state) { static_cast<void>(state); }   // 0 to 2
        virtual void OnSignalingChange(std::uint32_t state) { static_cast<void>(state); }      // 0 to 5
    };

    class StatsObserver : public voCallback {
    public:
        using voCallback::voCallback;
        virtual void OnStatsDelivered(const voStats& stats) { static_cast<void>(stats); }  // [library-thread]
    };

    using voObject::voObject;

    // All operations [any-thread]; none waits for the network or for a callback.

    // Null detaches: no call to the old observer begins afterwards.
    void SetObserver(voPointer<Observer> observer);

    voPointer<voAudioTrackInterface> CreateAudioTrackWithDefaultMic(const char* label);
    voPointer<voVideoTrackInterface> CreateVideoTrack(const char* label,
                                                      voPointer<voVideoTrackSourceInterface> source);
    // Adds the tracks, either of which may be null; the library keeps the stream.
    voPointer<voMediaStreamInterface> CreateLocalMediaStream(voPointer<voVideoTrackInterface> video,
                                                             voPointer<voAudioTrackInterface> audio);
    void CreateOffer();   // answered by OnOfferCreated or OnFailure
    void CreateAnswer();  // answered by OnAnswerCreated or OnFailure

    // A description or candidate that does not fit is reported by OnFailure and changes nothing.
    void SetRemoteDescription(const char* sdp, const char* type);
    void AddIceCandidate(const char* sdp, const char* sdpMid, std::int32_t sdpMLineIndex);

    // Answered exactly once, with zeros when the connection is closing.
    void GetStats(voPointer<StatsObserver> observer);
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
