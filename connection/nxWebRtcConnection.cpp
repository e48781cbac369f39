#include "connection/nxWebRtcConnection.h"

#include <utility>

#include "connection/ice_servers.h"
#include "connection/nxWebRtcConnectionObserver.h"
#include "connection/nxWebRtcConnectionStatsObserver.h"
#include "host/network/cWebSocket.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"

using vo_webrtc::voAudioTrackInterface;
using vo_webrtc::voPeerConnectionFactoryInterface;
using vo_webrtc::voPeerConnectionInterface;
using vo_webrtc::voPointer;
using vo_webrtc::voStunServer;
using vo_webrtc::voVideoTrackInterface;
using vo_webrtc::voVideoTrackSourceInterface;

namespace {

voPointer<voPeerConnectionInterface> MakePeerConnection(
    const voPointer<voPeerConnectionFactoryInterface>& factory, const std::string& iceServersText) {
    if (!factory) return nullptr;
    const std::vector<IceServerEntry> entries = ParseIceServers(iceServersText);
    std::vector<voStunServer> servers;
    servers.reserve(entries.size());
    for (const IceServerEntry& entry : entries)
        servers.push_back({entry.url.c_str(), entry.turnUsername.c_str(), entry.turnPassword.c_str()});
    return factory->CreatePeerConnection(servers.data(), static_cast<std::int32_t>(servers.size()), true);
}

// The library keeps the stream; dropping the reference here does not remove the tracks.
void AddLocalTracks(voPeerConnectionInterface& peerConnection,
                    const voPointer<voVideoTrackSourceInterface>& videoSource, std::uint32_t mediaFlags) {
    voPointer<voAudioTrackInterface> audio;
    voPointer<voVideoTrackInterface> video;
    if ((mediaFlags & nxWebRtcConnection::kLocalAudio) != 0) {
        audio = peerConnection.CreateAudioTrackWithDefaultMic("AudioTrack");
    }
    if ((mediaFlags & nxWebRtcConnection::kLocalVideo) != 0) {
        video = peerConnection.CreateVideoTrack("VideoTrack", videoSource);
    }
    if (audio || video) peerConnection.CreateLocalMediaStream(video, audio);
}

}  // namespace

nxWebRtcConnection::nxWebRtcConnection(voPointer<voPeerConnectionFactoryInterface> peerConnectionFactory,
                                       std::shared_ptr<cWebSocket> sessionSocket, std::string connectionName,
                                       std::string guid, std::string peer, std::string user,
                                       std::string iceServers)
    : factory(std::move(peerConnectionFactory)),
      socket(std::move(sessionSocket)),
      name(std::move(connectionName)),
      sessionGuid(std::move(guid)),
      peersIdentifier(std::move(peer)),
      userName(std::move(user)),
      iceServersText(std::move(iceServers)) {}

nxWebRtcConnection::~nxWebRtcConnection() {
    if (peerConnection) peerConnection->SetObserver(nullptr);
}

void nxWebRtcConnection::Start(voPointer<voVideoTrackSourceInterface> videoSource, std::uint32_t mediaFlags) {
    const auto self = std::static_pointer_cast<nxWebRtcConnection>(shared_from_this());
    const voPointer<voPeerConnectionInterface::Observer> newObserver(new Observer(self));
    const voPointer<voPeerConnectionInterface> newPeerConnection =
        MakePeerConnection(factory, iceServersText);
    {
        // The old ones end with their last reference, after the lock.
        voPointer<voPeerConnectionInterface::Observer> oldObserver = newObserver;
        voPointer<voPeerConnectionInterface> oldPeerConnection = newPeerConnection;
        const support::MutexLock lock(mutex);
        std::swap(observer, oldObserver);
        std::swap(peerConnection, oldPeerConnection);
    }
    if (!newPeerConnection) return;  // messages are ignored until a later start succeeds

    newPeerConnection->SetObserver(newObserver);
    AddLocalTracks(*newPeerConnection, videoSource, mediaFlags);
    newPeerConnection->CreateOffer();
}

bool nxWebRtcConnection::HasPeerConnection() const {
    return static_cast<bool>(CurrentPeerConnection());
}

voPointer<voPeerConnectionInterface> nxWebRtcConnection::CurrentPeerConnection() const {
    const support::MutexLock lock(mutex);
    return peerConnection;
}

std::string nxWebRtcConnection::GetName() const {
    return name;
}

std::string nxWebRtcConnection::GetPeersIdentifier() const {
    const support::MutexLock lock(mutex);
    return peersIdentifier;
}

std::string nxWebRtcConnection::GetSessionGuid() const {
    const support::MutexLock lock(mutex);
    return sessionGuid;
}

std::shared_ptr<cWebSocket> nxWebRtcConnection::GetSocket() const {
    const support::MutexLock lock(mutex);
    return socket;
}

void nxWebRtcConnection::SetPeersIdentifier(std::string identifier) {
    const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData();
    if (data) {
        const std::string previous = GetPeersIdentifier();
        data->SetPeerIdentifier(identifier);
        // Another phone than the one before has been told nothing yet.
        if (!previous.empty() && previous != identifier) data->lastTally = false;
    }
    const support::MutexLock lock(mutex);
    peersIdentifier = std::move(identifier);
}

void nxWebRtcConnection::SetSessionGuid(std::string guid) {
    const support::MutexLock lock(mutex);
    sessionGuid = std::move(guid);
}

void nxWebRtcConnection::SetSocket(std::shared_ptr<cWebSocket> newSocket) {
    if (const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData()) data->SetSender(newSocket);
    const support::MutexLock lock(mutex);
    hasTallySender = true;
    std::swap(socket, newSocket);  // the old one is released by the caller, after the lock
}

void nxWebRtcConnection::ClearTallySender() {
    {
        const support::MutexLock lock(mutex);
        hasTallySender = false;
    }
    if (const std::shared_ptr<nxWebRtcRendererData> data = ExistingRendererData()) data->SetSender(nullptr);
}

void nxWebRtcConnection::GetStats(std::function<void(const nxWebRtcStats&)> callback) {
    const voPointer<voPeerConnectionInterface> current = CurrentPeerConnection();
    if (!current) {
        callback(nxWebRtcStats());
        return;
    }
    current->GetStats(
        voPointer<voPeerConnectionInterface::StatsObserver>(new StatsObserver(std::move(callback))));
}
