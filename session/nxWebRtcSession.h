// The signalling session of one source: its WebSocket, the messages on it, the peer connections behind it.
// Always held by std::shared_ptr. Everything runs on the main thread; what the socket reports on the network
// thread is carried there first.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/core/zSharedObject.h"
#include "host/network/cWebSocket.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"
#include "webrtc/voPeerConnectionFactoryInterface.h"

class nxWebRtcConnection;

class nxWebRtcSession : public zSharedObject, private support::Counted<nxWebRtcSession> {
public:
    class DebugLog;
    using support::Counted<nxWebRtcSession>::Alive;

    enum class Mode : std::int32_t {
        Direct = 'd',      // the far end is the phone; its owner starts the connections
        Rendezvous = 'r',  // the far end is a service that brings several peers together
    };

    explicit nxWebRtcSession(Mode sessionMode);
    ~nxWebRtcSession() override;  // closes the socket; calls nobody back
    nxWebRtcSession(const nxWebRtcSession&) = delete;
    nxWebRtcSession& operator=(const nxWebRtcSession&) = delete;

    // Set by the owner, called on the main thread when set, never under the session's lock.
    std::function<void(const std::string& peerIdentifier)> onConnectionCreated;
    std::function<void(const std::string& peerIdentifier)> onConnectionRemoved;
    std::function<void(const std::string& sessionGuid, const std::string& result, const std::string& chatUrl)>
        onJoinResponse;
    std::function<void(bool began)> onReconnecting;
    // True: a previous session could not be rejoined. False: reconnection gave up.
    std::function<void(bool previousSession)> onSessionLost;
    std::function<void(const nlohmann::json& messages)> onChatMessages;

    // [main-thread] Opens the socket. `description` is a JSON object with "sessionGuid" and "ownerKey"; an
    // error of the JSON library leaves the call. Does nothing while the session is started.
    void Start(const char* description, const char* address, double connectTimeoutSeconds);
    // [main-thread] Closes the socket. The connections of a direct session survive and are used again.
    void Stop();

    // [main-thread] What the socket reports. Errors of the JSON library leave OnSocketMessage.
    void OnSocketOpened();
    void OnSocketMessage(const char* text);
    void OnSocketError(cWebSocket::Error error);
    void ClosedHandler(std::optional<cWebSocket::Error> error, bool wasClean);

    // [main-thread] Makes, once, what all connections of the session share.
    void CreatePeerConnectionFactory();

    // [main-thread] Null when there is none.
    std::shared_ptr<nxWebRtcConnection> FindConnectionByPeer(const std::string& peerIdentifier) const;
    std::shared_ptr<nxWebRtcConnection> FindConnectionByGuid(const std::string& guid) const;
    // The one of this name, else, in direct mode, the one of this session GUID: a phone that joined before
    // anybody asked for renderers is known by the GUID only.
    std::shared_ptr<nxWebRtcConnection> FindConnectionForSource(const std::string& sourceIdentifier) const;

    // [main-thread] For a source whose phone has not joined yet.
    std::shared_ptr<nxWebRtcConnection> CreateConnectionForSource(const std::string& sourceIdentifier);
    // [main-thread] Negotiates anew with this peer; an empty or unknown identifier starts nothing.
    void StartConnection(const std::string& peerIdentifier);
    // [main-thread] As above, but leaves a connection alone that has been started before.
    void StartConnectionIfIdle(const std::string& peerIdentifier);
    // [main-thread] Tells the owner; a direct session keeps the connection for the phone's return.
    void RemoveConnection(std::string peerIdentifier);

    // [main-thread] Remembers a tally state of the host and applies it to the phones that joined.
    void SetTallyValue(std::uint32_t value);
    // [main-thread] Applies the remembered state to a phone that joined or whose renderers were just made.
    void ApplyTally(const std::shared_ptr<nxWebRtcConnection>& connection);
    // [main-thread] The first connection of this peer goes on or off air, or neither.
    void SetPeerTallyState(const std::string& peerIdentifier, std::int32_t state);

    // [main-thread] Forwards the WebRTC library's log to the host trace; 0 stops.
    void SetDebugLogging(std::int32_t level);

    // [main-thread]
    bool IsStarted() const;                         // the socket has opened since the last stop
    bool HasGivenUp() const;                        // started, but its reconnection failed for good
    const std::string& Url() const { return url; }  // last opened, empty before the first Start
    const std::string& SessionGuid() const { return sessionGuid; }

private:
    std::weak_ptr<nxWebRtcSession> Self();
    void SetHandlers(cWebSocket& newSocket, const std::weak_ptr<cWebSocket>& weakSocket);
    bool IsCurrent(const std::weak_ptr<cWebSocket>& weakSocket) const;
    std::shared_ptr<cWebSocket> Socket() const;
    void HandConnectionsTheSocket() REQUIRES(mutex);
    void ScheduleKeepAlive(std::weak_ptr<cWebSocket> weakSocket);
    void ScheduleReconnect(std::int32_t attempt);
    void NoteSocketEnded();
    void GiveUp();

    void OnPeerJoined(const std::string& peerIdentifier, const std::string& guid,
                      const std::string& userName);
    void OnJoinResponse(const nlohmann::json& message);
    void OnPeerDisconnected(const std::string& peerIdentifier);
    void OnChatMessages(const nlohmann::json& message);
    void RouteToConnection(const std::string& peerIdentifier, const char* text);

    std::vector<std::shared_ptr<nxWebRtcConnection>> Connections() const;
    std::shared_ptr<nxWebRtcConnection> AddConnection(std::string name, std::string peerIdentifier,
                                                      std::string userName);
    std::uint32_t MediaFlags() const;

    vo_webrtc::voPointer<DebugLog> debugLog;
    std::string address;  // as passed to Start
    std::string sessionGuid;
    std::string ownerKey;

    // Held over calls to the socket and to connections, which never wait for it.
    mutable support::Mutex mutex;
    std::shared_ptr<cWebSocket> socket GUARDED_BY(mutex);
    std::vector<std::shared_ptr<nxWebRtcConnection>> connections GUARDED_BY(mutex);
    bool started GUARDED_BY(mutex) = false;

    std::int32_t loggingLevel = 0;
    std::string iceServersText;  // compact JSON of the last join answer
    const Mode mode;
    double connectTimeout = 0;
    std::string url;
    std::uint32_t tallyValue = 0;

    std::optional<std::int32_t> reconnectAttempt;  // the last one scheduled since the last open
    bool rejoinPending = false;                    // kept for rejoining a previous session; nothing sets it
    bool reconnecting = false;
    bool socketOpen = false;           // `started` outlasts an error of the socket
    bool reconnectSuppressed = false;  // the far end refused the join

    // Made at most once per session, also when the factory is made again.
    vo_webrtc::voPointer<vo_webrtc::voVideoTrackSourceInterface> videoTrackSource;
    vo_webrtc::voPointer<vo_webrtc::voPeerConnectionFactoryInterface> peerConnectionFactory;
    vo_webrtc::voPointer<vo_webrtc::voCustomAudioDevice> audioDevice;
};
