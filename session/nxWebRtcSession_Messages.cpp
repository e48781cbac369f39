// The session's own messages: the join that it sends, and what it answers itself.
#include <nlohmann/json.hpp>

#include "connection/nxWebRtcConnection.h"
#include "connection/trace_note.h"
#include "host/core/zUserLogHistory.h"
#include "session/message_depth.h"
#include "session/nxWebRtcSession.h"

namespace {

constexpr const char* kOwnUserName = "Halyard";

std::string TextOf(const nlohmann::json& message, const char* key) {
    return message.value(key, std::string());
}

// A missing value is an error of the JSON library, as reading through the end of a null value would be.
const nlohmann::json& Required(const nlohmann::json& message, const char* key) {
    const auto found = message.find(key);
    if (found == message.end()) {
        throw nlohmann::json::invalid_iterator::create(214, "cannot get value", &message);
    }
    return *found;
}

}  // namespace

void nxWebRtcSession::OnSocketOpened() {
    {
        const support::MutexLock lock(mutex);
        reconnectAttempt.reset();
        reconnectSuppressed = false;
        if (!socket) return;
        started = true;
        socketOpen = true;
        for (const auto& connection : connections)
            connection->SocketOpened();
        TraceNote("[rendezvous] socket opened successfully\n");
        const nlohmann::json join = {{"action", "joinMaster"},
                                     {"ownerKey", ownerKey},
                                     {"sessionGuid", sessionGuid},
                                     {"username", kOwnUserName}};
        socket->send(join.dump().c_str());
        if (reconnecting) {
            UserLog(zUserLogHistory::kLevelSuccess, "Rendezvous: Reconnection to session succeeded.");
            reconnecting = false;
        }
    }
    if (const auto notify = onReconnecting) notify(false);
}

void nxWebRtcSession::OnSocketMessage(const char* text) {
    if (NestsDeeperThan(text, kDeepestMessage)) {
        TraceNote("nxWebRtcSession::OnSocketMessage - nested too deeply, dropped\n");
        return;
    }
    const nlohmann::json message = nlohmann::json::parse(text);
    const std::string action = TextOf(message, "action");
    const std::string peerIdentifier = TextOf(message, "peersIdentifier");
    const std::string guid = TextOf(message, "sessionGuid");
    if (action == "peerJoined") {
        OnPeerJoined(peerIdentifier, guid, TextOf(message, "username"));
    } else if (action == "joinMasterResponse") {
        OnJoinResponse(message);
    } else if (action == "peerDisconnected") {
        OnPeerDisconnected(peerIdentifier);
    } else if (action == "gotChatMessages") {
        OnChatMessages(message);
    } else {
        RouteToConnection(peerIdentifier, text);
    }
}

void nxWebRtcSession::OnPeerJoined(const std::string& peerIdentifier, const std::string& guid,
                                   const std::string& userName) {
    if (userName.empty() || userName == kOwnUserName) return;

    std::shared_ptr<nxWebRtcConnection> connection;
    if (mode == Mode::Direct) {
        connection = FindConnectionByGuid(guid);
        if (connection) connection->SetPeersIdentifier(peerIdentifier);  // the phone came back
    }
    TraceNote("[rendezvous] 'peerJoined' - createConnection name:{} peerId:{}\n", userName, peerIdentifier);
    if (!connection) connection = AddConnection(peerIdentifier, peerIdentifier, userName);

    if (const auto notify = onConnectionCreated) notify(peerIdentifier);
    if (mode == Mode::Rendezvous) StartConnection(peerIdentifier);

    ApplyTally(connection);
    connection->SendTallyIfChanged();  // a change while there was no socket
}

void nxWebRtcSession::OnJoinResponse(const nlohmann::json& message) {
    const auto notify = onJoinResponse;
    if (!notify) return;
    const nlohmann::json& iceServers = Required(message, "iceServers");
    iceServersText = iceServers.dump();
    TraceNote("ICE: {}\n", iceServers.dump(4));
    const std::string result = TextOf(message, "result");
    if (result != "OK") reconnectSuppressed = true;
    const std::string chatUrl = TextOf(message, "chatUrl");
    notify(sessionGuid, result, chatUrl);
    rejoinPending = false;
}

void nxWebRtcSession::OnPeerDisconnected(const std::string& peerIdentifier) {
    if (!FindConnectionByPeer(peerIdentifier)) return;
    TraceNote("[rendezvous] 'peerDisconnected' peerId:{}\n", peerIdentifier);
    RemoveConnection(peerIdentifier);
}

void nxWebRtcSession::OnChatMessages(const nlohmann::json& message) {
    if (const auto notify = onChatMessages) notify(Required(message, "messages"));
}

void nxWebRtcSession::RouteToConnection(const std::string& peerIdentifier, const char* text) {
    if (peerIdentifier.empty()) return;
    if (const auto connection = FindConnectionByPeer(peerIdentifier)) connection->OnMessage(text);
}
