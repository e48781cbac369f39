// One WebRTC peer connection with one phone: negotiation, its signalling messages, its renderers, its
// statistics. Always held by std::shared_ptr.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "connection/nxWebRtcStats.h"
#include "host/core/zSharedObject.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"

class cWebSocket;
class nxBufferGroup2;
class nxWebRtcAudioRenderer;
class nxWebRtcRendererData;
class nxWebRtcVideoRenderer;

class nxWebRtcConnection : public zSharedObject, private support::Counted<nxWebRtcConnection> {
public:
    class Observer;
    class StatsObserver;
    using support::Counted<nxWebRtcConnection>::Alive;

    static constexpr std::uint32_t kLocalAudio = 1;  // media flags of Start
    static constexpr std::uint32_t kLocalVideo = 2;

    nxWebRtcConnection(
        vo_webrtc::voPointer<vo_webrtc::voPeerConnectionFactoryInterface> peerConnectionFactory,
        std::shared_ptr<cWebSocket> sessionSocket, std::string connectionName, std::string guid,
        std::string peer, std::string user, std::string iceServers);
    ~nxWebRtcConnection() override;

    // [library-thread] Send the local description. Nothing is sent without a socket.
    virtual void SendOffer(const char* sdp, const char* type);
    virtual void SendAnswer(const char* sdp, const char* type);
    void SendIceCandidate(vo_webrtc::voPointer<vo_webrtc::voIceCandidateInterface> candidate);

    // [main-thread] Makes a new peer connection and asks it for an offer; an older one is released.
    void Start(vo_webrtc::voPointer<vo_webrtc::voVideoTrackSourceInterface> videoSource,
               std::uint32_t mediaFlags);

    // [main-thread] One signalling message; JSON errors leave the call, the connection is then unchanged.
    void OnMessage(const char* text);

    // [any-thread] Copies.
    std::string GetName() const;
    std::string GetPeersIdentifier() const;
    std::string GetSessionGuid() const;
    std::shared_ptr<cWebSocket> GetSocket() const;

    // [main-thread]
    void SetPeersIdentifier(std::string identifier);
    void SetSessionGuid(std::string guid);
    // The renderer data gets the same socket as its sender; null leaves the tally without one.
    void SetSocket(std::shared_ptr<cWebSocket> newSocket);
    // Takes the renderer data's sender away, as long as there is no socket to send through.
    void ClearTallySender();
    // Between the two nobody hears what is sent, so a tally of that time does not count as told.
    void SocketEnded();
    void SocketOpened();
    bool HasPeerConnection() const;

    // [main-thread] Made on first use.
    std::shared_ptr<nxWebRtcRendererData> GetRendererData();
    std::shared_ptr<nxWebRtcVideoRenderer> GetVideoRenderer(nxBufferGroup2* bufferGroup);
    std::shared_ptr<nxWebRtcAudioRenderer> GetAudioRenderer(nxBufferGroup2* bufferGroup);

    // [main-thread] Nothing happens before the renderer data exists.
    void SetOnAir(bool onAir);
    void SendTallyIfChanged();

    // [main-thread] The callback runs on a library thread, exactly once; without a peer connection at once
    // with zeros.
    void GetStats(std::function<void(const nxWebRtcStats&)> callback);

private:
    void OnAddStream(vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> stream);  // [library-thread]
    void AttachVideoSink(nxWebRtcRendererData& data);
    void AttachAudioSink(nxWebRtcRendererData& data);
    void SendText(const std::string& text);
    vo_webrtc::voPointer<vo_webrtc::voPeerConnectionInterface> CurrentPeerConnection() const;
    vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> RemoteStream() const;
    std::shared_ptr<nxWebRtcRendererData> ExistingRendererData() const;

    // Guards the handles and texts that library threads read. Never held while calling out.
    mutable support::Mutex mutex;
    vo_webrtc::voPointer<vo_webrtc::voPeerConnectionInterface::Observer> observer GUARDED_BY(mutex);
    const vo_webrtc::voPointer<vo_webrtc::voPeerConnectionFactoryInterface> factory;
    vo_webrtc::voPointer<vo_webrtc::voPeerConnectionInterface> peerConnection GUARDED_BY(mutex);
    vo_webrtc::voPointer<vo_webrtc::voMediaStreamInterface> remoteStream GUARDED_BY(mutex);
    std::shared_ptr<cWebSocket> socket GUARDED_BY(mutex);
    bool hasTallySender GUARDED_BY(mutex) = true;  // renderer data made now gets the socket as its sender
    bool tallyHeard = false;                       // [main-thread] as last sent before the socket ended
    const std::string name;
    std::string sessionGuid GUARDED_BY(mutex);
    std::string peersIdentifier GUARDED_BY(mutex);
    const std::string userName;
    const std::string iceServersText;
    std::shared_ptr<nxWebRtcRendererData> rendererData GUARDED_BY(mutex);
    std::shared_ptr<nxWebRtcVideoRenderer> videoRenderer GUARDED_BY(mutex);
    std::shared_ptr<nxWebRtcAudioRenderer> audioRenderer GUARDED_BY(mutex);
};
