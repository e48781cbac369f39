// What the session does when its socket fails or closes.
#include <string>
#include <utility>

#include "connection/nxWebRtcConnection.h"
#include "connection/trace_note.h"
#include "host/core/zThread.h"
#include "host/core/zUserLogHistory.h"
#include "session/guarded_job.h"
#include "session/nxWebRtcSession.h"
#include "session/nxWebRtcSession_DebugLog.h"
#include "session/reconnect_delay.h"
#include "support/weak_callback.h"

void nxWebRtcSession::OnSocketError(cWebSocket::Error error) {
    TraceNote("[rendezvous] Websocket Error:{}\n", static_cast<std::int32_t>(error));
    if (error == cWebSocket::Error::Permanent || reconnectSuppressed) {
        Stop();
        return;
    }
    if (const std::shared_ptr<cWebSocket> failed = Socket()) failed->close();
    NoteSocketEnded();

    if (rejoinPending) {
        rejoinPending = false;
        if (const auto notify = onSessionLost) notify(true);
        TraceNote("[rendezvous] - Websocket unable to connect to previous session\n");
        return;
    }
    if (!reconnectAttempt) {
        reconnecting = true;
        if (const auto notify = onReconnecting) notify(true);
        reconnectAttempt = 0;
        TraceNote("[rendezvous] - Websocket error - beginning reconnection\n");
        UserLog(zUserLogHistory::kLevelTrouble, "Rendezvous: Connection error - beginning reconnection.");
        ScheduleReconnect(0);
        return;
    }
    if (*reconnectAttempt < kLastReconnectAttempt) {
        ++*reconnectAttempt;
        ScheduleReconnect(*reconnectAttempt);
        return;
    }
    GiveUp();
}

void nxWebRtcSession::NoteSocketEnded() {
    if (!std::exchange(socketOpen, false)) return;
    for (const auto& connection : Connections())
        connection->SocketEnded();
}

// The session is not stopped and the attempt stays the last one, so the next error ends here again.
void nxWebRtcSession::GiveUp() {
    reconnecting = false;
    if (const auto notify = onReconnecting) notify(false);
    if (const auto notify = onSessionLost) notify(false);
    TraceNote("[rendezvous] - Websocket unable to reconnect - giving up\n");
    UserLog(zUserLogHistory::kLevelTrouble,
            "Rendezvous: Session connection failed. Attempt to reconnect failed.");
}

// Reopens the socket that failed, unless the series has ended or the session has another one by then.
void nxWebRtcSession::ScheduleReconnect(std::int32_t attempt) {
    const std::weak_ptr<cWebSocket> failed = Socket();
    auto reopen = [failed](nxWebRtcSession& session) {
        if (!session.reconnectAttempt || !session.IsCurrent(failed)) return;
        RunGuarded("nxWebRtcSession reconnection",
                   [&] { session.Socket()->open(session.url.c_str(), session.connectTimeout); });
    };
    zThread::ExecuteOnMainThread(support::WeakCallback(Self(), std::move(reopen)), ReconnectDelayUs(attempt));
}

void nxWebRtcSession::ClosedHandler(std::optional<cWebSocket::Error> error, bool wasClean) {
    const std::string code = error ? std::to_string(static_cast<std::int32_t>(*error)) : "none";
    TraceNote("nxWebRtcSession::ClosedHandler() - error:{} wasClean:{}\n", code, wasClean);
    Stop();
}

bool nxWebRtcSession::HasGivenUp() const {
    return IsStarted() && reconnectAttempt == kLastReconnectAttempt && !reconnecting;
}
