// In which order a session tells its owner, the trace and the user log.
#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/UserLog.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using testing::ElementsAre;

class SessionOrder : public tests::SessionTest {
protected:
    SessionOrder() {
        host_runtime::SetUserLogListener([this](const host_runtime::UserLogEntry& entry) {
            trace.push_back("log " + std::to_string(entry.level));
        });
    }
    ~SessionOrder() override { host_runtime::SetUserLogListener({}); }
};

TEST_F(SessionOrder, ReconnectionIsToldThenTracedThenLogged) {
    StartAndOpen();
    session->onReconnecting = [this](bool began) { trace.push_back(began ? "began" : "ended"); };
    trace.clear();
    Fail();
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:1\n", "began",
                                   "[rendezvous] - Websocket error - beginning reconnection\n", "log 1"));
}

TEST_F(SessionOrder, LaterAttemptsWriteNoMessage) {
    StartAndOpen();
    Fail();
    trace.clear();
    Fail();
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:1\n"));
}

TEST_F(SessionOrder, GivingUpIsToldThenTracedThenLogged) {
    StartAndOpen();
    for (int error = 0; error < 9; ++error)
        Fail();
    session->onReconnecting = [this](bool began) { trace.push_back(began ? "began" : "ended"); };
    session->onSessionLost = [this](bool) { trace.push_back("lost"); };
    trace.clear();
    Fail();
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:1\n", "ended", "lost",
                                   "[rendezvous] - Websocket unable to reconnect - giving up\n", "log 1"));
}

TEST_F(SessionOrder, JoinIsTracedThenTold) {
    StartAndOpen();
    Join("old");
    session->onConnectionCreated = [this](const std::string& peer) {
        trace.push_back("created " + peer);
        EXPECT_NE(session->FindConnectionByPeer(peer), nullptr);
    };
    trace.clear();
    Join("new", "foreign");
    Join("back");  // the one that is there already
    EXPECT_THAT(
        trace,
        ElementsAre("[rendezvous] 'peerJoined' - createConnection name:Phone peerId:new\n", "created new",
                    "[rendezvous] 'peerJoined' - createConnection name:Phone peerId:back\n", "created back"));
    session->onConnectionCreated = nullptr;
}

TEST_F(SessionOrder, LeaveIsTracedThenToldThenDone) {
    for (const auto mode : {nxWebRtcSession::Mode::Direct, nxWebRtcSession::Mode::Rendezvous}) {
        MakeSession(mode);
        StartAndOpen();
        Join("phone");
        session->onConnectionRemoved = [this](const std::string& peer) {
            trace.push_back("removed " + peer);
            EXPECT_NE(session->FindConnectionByPeer(peer), nullptr);
        };
        trace.clear();
        Deliver(R"({"action":"peerDisconnected","peersIdentifier":"phone"})");
        EXPECT_THAT(trace, ElementsAre("[rendezvous] 'peerDisconnected' peerId:phone\n", "removed phone"));
        session->onConnectionRemoved = nullptr;
    }
}

TEST_F(SessionOrder, CloseIsTracedBeforeTheSessionStops) {
    StartAndOpen();
    Join("phone");
    session->onConnectionRemoved = [this](const std::string& peer) { trace.push_back("removed " + peer); };
    trace.clear();
    Close();
    EXPECT_THAT(
        trace, ElementsAre("nxWebRtcSession::ClosedHandler() - error:none wasClean:true\n", "removed phone"));
    session->onConnectionRemoved = nullptr;
}

TEST_F(SessionOrder, RendezvousTellsOfAConnectionBeforeItStartsIt) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    bool wasStarted = true;
    session->onConnectionCreated = [&](const std::string& peer) {
        wasStarted = session->FindConnectionByPeer(peer)->HasPeerConnection();
    };
    EXPECT_TRUE(Joined("phone")->HasPeerConnection());
    EXPECT_FALSE(wasStarted);
}

TEST_F(SessionOrder, RestartLeavesTheGuidsOfItsConnections) {
    StartAndOpen();
    const auto connection = Joined("phone");
    session->Stop();
    session->Start(R"({"sessionGuid":"other"})", kUrl, 2.0);
    EXPECT_EQ(session->SessionGuid(), "other");
    EXPECT_EQ(connection->GetSessionGuid(), "guid");
}

}  // namespace
