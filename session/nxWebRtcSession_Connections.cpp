// The connections of a session: finding, making, starting and removing them, and their tally.
#include <algorithm>

#include "connection/nxWebRtcConnection.h"
#include "session/nxWebRtcSession.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "session/tally_state.h"

namespace {

using ConnectionList = std::vector<std::shared_ptr<nxWebRtcConnection>>;

template <class Predicate>
std::shared_ptr<nxWebRtcConnection> FindFirst(const ConnectionList& connections, const Predicate& matches) {
    const auto found = std::find_if(connections.begin(), connections.end(),
                                    [&](const auto& connection) { return matches(*connection); });
    return found != connections.end() ? *found : nullptr;
}

}  // namespace

std::shared_ptr<nxWebRtcConnection> nxWebRtcSession::FindConnectionByPeer(
    const std::string& peerIdentifier) const {
    const support::MutexLock lock(mutex);
    return FindFirst(connections, [&](const nxWebRtcConnection& connection) {
        return connection.GetPeersIdentifier() == peerIdentifier;
    });
}

std::shared_ptr<nxWebRtcConnection> nxWebRtcSession::FindConnectionByGuid(const std::string& guid) const {
    const support::MutexLock lock(mutex);
    return FindFirst(connections, [&](const nxWebRtcConnection& connection) {
        return connection.GetSessionGuid() == guid;
    });
}

std::shared_ptr<nxWebRtcConnection> nxWebRtcSession::FindConnectionForSource(
    const std::string& sourceIdentifier) const {
    {
        const support::MutexLock lock(mutex);
        const auto named = FindFirst(connections, [&](const nxWebRtcConnection& connection) {
            return connection.GetName() == sourceIdentifier;
        });
        if (named) return named;
    }
    return mode == Mode::Direct ? FindConnectionByGuid(sourceIdentifier) : nullptr;
}

std::shared_ptr<nxWebRtcConnection> nxWebRtcSession::CreateConnectionForSource(
    const std::string& sourceIdentifier) {
    CreatePeerConnectionFactory();  // the session may not have been started yet
    return AddConnection(sourceIdentifier, "", "Petrel");
}

std::shared_ptr<nxWebRtcConnection> nxWebRtcSession::AddConnection(std::string name,
                                                                   std::string peerIdentifier,
                                                                   std::string userName) {
    auto connection =
        std::make_shared<nxWebRtcConnection>(peerConnectionFactory, Socket(), std::move(name), sessionGuid,
                                             std::move(peerIdentifier), std::move(userName), iceServersText);
    const support::MutexLock lock(mutex);
    connections.push_back(connection);
    return connection;
}

void nxWebRtcSession::StartConnection(const std::string& peerIdentifier) {
    if (peerIdentifier.empty()) return;
    if (const auto connection = FindConnectionByPeer(peerIdentifier)) {
        connection->Start(videoTrackSource, MediaFlags());
    }
}

void nxWebRtcSession::StartConnectionIfIdle(const std::string& peerIdentifier) {
    const auto connection = FindConnectionByPeer(peerIdentifier);
    if (connection && !connection->HasPeerConnection()) StartConnection(peerIdentifier);
}

void nxWebRtcSession::RemoveConnection(std::string peerIdentifier) {
    if (const auto notify = onConnectionRemoved) notify(peerIdentifier);
    if (mode == Mode::Direct) return;

    ConnectionList ended;  // go after the lock
    const support::MutexLock lock(mutex);
    const auto firstEnded = std::stable_partition(
        connections.begin(), connections.end(),
        [&](const auto& connection) { return connection->GetPeersIdentifier() != peerIdentifier; });
    std::move(firstEnded, connections.end(), std::back_inserter(ended));
    connections.erase(firstEnded, connections.end());
}

std::vector<std::shared_ptr<nxWebRtcConnection>> nxWebRtcSession::Connections() const {
    const support::MutexLock lock(mutex);
    return connections;
}

// Only a peer of a rendezvous is sent media.
std::uint32_t nxWebRtcSession::MediaFlags() const {
    return mode == Mode::Rendezvous ? nxWebRtcConnection::kLocalAudio | nxWebRtcConnection::kLocalVideo : 0;
}

void nxWebRtcSession::SetTallyValue(std::uint32_t value) {
    tallyValue = value;
    for (const auto& connection : Connections())
        ApplyTally(connection);
}

void nxWebRtcSession::ApplyTally(const std::shared_ptr<nxWebRtcConnection>& connection) {
    // Without a phone nobody would get the message, and it would count as sent.
    const std::string peerIdentifier = connection->GetPeersIdentifier();
    if (!peerIdentifier.empty()) SetPeerTallyState(peerIdentifier, static_cast<std::int32_t>(tallyValue));
}

void nxWebRtcSession::SetPeerTallyState(const std::string& peerIdentifier, std::int32_t state) {
    const support::MutexLock lock(mutex);
    const auto connection = FindFirst(connections, [&](const nxWebRtcConnection& candidate) {
        return candidate.GetPeersIdentifier() == peerIdentifier;
    });
    const std::optional<bool> onAir = OnAirOfTallyState(state);
    if (connection && onAir) connection->SetOnAir(*onAir);
}
