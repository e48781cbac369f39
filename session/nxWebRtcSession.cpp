#include "session/nxWebRtcSession.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "connection/trace_note.h"
#include "host/core/zThread.h"
#include "session/guarded_job.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "session/session_url.h"
#include "support/weak_callback.h"
#include "webrtc/voDebug.h"

namespace {

constexpr std::int64_t kKeepAlivePeriodUs = 60'000'000;

}  // namespace

nxWebRtcSession::nxWebRtcSession(Mode sessionMode) : mode(sessionMode) {}

nxWebRtcSession::~nxWebRtcSession() {
    if (const std::shared_ptr<cWebSocket> open = Socket()) open->close();
}

void nxWebRtcSession::Start(const char* description, const char* newAddress, double connectTimeoutSeconds) {
    rejoinPending = false;
    std::shared_ptr<cWebSocket> previous;  // goes after the lock
    const support::MutexLock lock(mutex);
    if (started) return;
    connectTimeout = connectTimeoutSeconds;
    std::string givenAddress = newAddress != nullptr ? newAddress : "";  // may be the session's own URL

    const nlohmann::json parsed = nlohmann::json::parse(description != nullptr ? description : "");
    TraceNote("nxWebRtcSession::Start---\n{}\n---\n", parsed.dump(4));
    std::string guid = parsed.value("sessionGuid", std::string());
    std::string owner = parsed.value("ownerKey", std::string());
    sessionGuid = std::move(guid);
    ownerKey = std::move(owner);

    previous = std::exchange(socket, cWebSocket::Factory());
    SetHandlers(*socket, socket);
    url = SessionUrl(givenAddress);
    socket->open(url.c_str(), connectTimeout);

    CreatePeerConnectionFactory();
    address = std::move(givenAddress);
    HandConnectionsTheSocket();
    ScheduleKeepAlive(socket);
}

void nxWebRtcSession::Stop() {
    std::shared_ptr<cWebSocket> taken;
    {
        const support::MutexLock lock(mutex);
        taken = std::exchange(socket, nullptr);
    }
    NoteSocketEnded();  // first: a tally that goes out meanwhile is told again rather than lost
    // The connections of a direct session keep the socket, so releasing it would not close it.
    if (taken) taken->close();
    taken.reset();

    std::vector<std::string> identifiers;
    for (const auto& connection : Connections()) {
        connection->ClearTallySender();
        identifiers.push_back(connection->GetPeersIdentifier());
    }
    for (std::string& identifier : identifiers)
        RemoveConnection(std::move(identifier));

    std::vector<std::shared_ptr<nxWebRtcConnection>> ended;  // go after the lock
    const support::MutexLock lock(mutex);
    if (mode == Mode::Rendezvous) {
        ended.swap(connections);
        peerConnectionFactory = nullptr;
        vo_webrtc::voDebug::SetLogging(nullptr, vo_webrtc::voDebug::LogLevel::None);
    }
    started = false;
}

void nxWebRtcSession::CreatePeerConnectionFactory() {
    using Factory = vo_webrtc::voPeerConnectionFactoryInterface;
    if (!peerConnectionFactory) {
        audioDevice = vo_webrtc::voCustomAudioDevice::Create();
        peerConnectionFactory = Factory::Create(audioDevice);
    }
    if (peerConnectionFactory && !videoTrackSource) {
        videoTrackSource = peerConnectionFactory->CreateVideoTrackSource();
    }
}

bool nxWebRtcSession::IsStarted() const {
    const support::MutexLock lock(mutex);
    return started;
}

std::weak_ptr<nxWebRtcSession> nxWebRtcSession::Self() {
    return std::static_pointer_cast<nxWebRtcSession>(weak_from_this().lock());
}

void nxWebRtcSession::SetHandlers(cWebSocket& newSocket, const std::weak_ptr<cWebSocket>& weakSocket) {
    // Carries an event to the main thread, where it counts only while its socket is still the session's.
    const auto carry = [self = Self(), weakSocket](const char* name, auto handle) {
        zThread::ExecuteOnMainThread(support::WeakCallback(
            self, [weakSocket, name, handle = std::move(handle)](nxWebRtcSession& session) {
                if (session.IsCurrent(weakSocket)) RunGuarded(name, [&] { handle(session); });
            }));
    };
    newSocket.onMessage = [carry](const char* text) {
        carry("nxWebRtcSession::OnSocketMessage", [message = std::string(text)](nxWebRtcSession& session) {
            session.OnSocketMessage(message.c_str());
        });
    };
    newSocket.onOpen = [carry](const std::shared_ptr<cWebSocket>&) {
        carry("nxWebRtcSession::OnSocketOpened", [](nxWebRtcSession& session) { session.OnSocketOpened(); });
    };
    newSocket.onClose = [carry](std::optional<cWebSocket::Error> error, bool wasClean) {
        carry("nxWebRtcSession::ClosedHandler",
              [error, wasClean](nxWebRtcSession& session) { session.ClosedHandler(error, wasClean); });
    };
    newSocket.onError = [carry](cWebSocket::Error error) {
        carry("nxWebRtcSession::OnSocketError",
              [error](nxWebRtcSession& session) { session.OnSocketError(error); });
    };
}

bool nxWebRtcSession::IsCurrent(const std::weak_ptr<cWebSocket>& weakSocket) const {
    const std::shared_ptr<cWebSocket> candidate = weakSocket.lock();
    return candidate != nullptr && candidate == Socket();
}

std::shared_ptr<cWebSocket> nxWebRtcSession::Socket() const {
    const support::MutexLock lock(mutex);
    return socket;
}

// A connection that was made before the first start knows no session GUID yet.
void nxWebRtcSession::HandConnectionsTheSocket() {
    for (const auto& connection : connections) {
        if (connection->GetSocket() != socket) connection->SetSocket(socket);
        if (connection->GetSessionGuid().empty()) connection->SetSessionGuid(sessionGuid);
    }
}

// The chain belongs to one socket and ends with it, so that restarts do not pile up chains.
void nxWebRtcSession::ScheduleKeepAlive(std::weak_ptr<cWebSocket> weakSocket) {
    auto keepAlive = [weakSocket](nxWebRtcSession& session) {
        if (!session.IsCurrent(weakSocket)) return;
        RunGuarded("nxWebRtcSession keep-alive", [&] { session.Socket()->keepAlive(0, 0, 0); });
        session.ScheduleKeepAlive(weakSocket);
    };
    zThread::ExecuteOnMainThread(support::WeakCallback(Self(), std::move(keepAlive)), kKeepAlivePeriodUs);
}
