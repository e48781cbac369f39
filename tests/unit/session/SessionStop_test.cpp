#include "connection/nxWebRtcConnection.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using testing::ElementsAre;
using testing::IsEmpty;
using vo_webrtc::voDebug;

class SessionStop : public tests::SessionTest {
protected:
    void RecordRemovals() {
        session->onConnectionRemoved = [this](const std::string& peer) { removed.push_back(peer); };
    }
    std::vector<std::string> removed;
};

TEST_F(SessionStop, ClosesTheSocketThatConnectionsStillHold) {
    StartAndOpen();
    const auto connection = Joined("phone");
    const auto socket = Socket();
    session->Stop();
    EXPECT_EQ(socket->CloseCount(), 1);
    EXPECT_EQ(connection->GetSocket(), socket);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_EQ(session->Url(), kUrl);
    EXPECT_EQ(session->SessionGuid(), "guid");
}

TEST_F(SessionStop, TellsOfEveryConnectionAndKeepsThemInDirectMode) {
    StartAndOpen();
    RecordRemovals();
    session->CreateConnectionForSource("unjoined");
    Join("first", "other guid");
    Join("second", "other guid");
    session->Stop();
    EXPECT_THAT(removed, ElementsAre("", "first", "second"));
    EXPECT_NE(session->FindConnectionByPeer("first"), nullptr);
    EXPECT_NE(session->FindConnectionByPeer("second"), nullptr);
    EXPECT_THAT(FakeWebRtc::LogSettings(), IsEmpty());

    Start();
    EXPECT_EQ(FakeWebRtc::FactoriesMade(), 1);
    EXPECT_EQ(FakeWebRtc::AudioDevicesMade(), 1);
}

TEST_F(SessionStop, EndsTheConnectionsOfARendezvous) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    RecordRemovals();
    StartAndOpen();
    Join("first");
    Join("second");
    session->Stop();
    EXPECT_THAT(removed, ElementsAre("first", "second"));
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
    ASSERT_EQ(FakeWebRtc::LogSettings().size(), 1U);
    EXPECT_FALSE(FakeWebRtc::LogSettings()[0].hasSink);
    EXPECT_EQ(FakeWebRtc::LogSettings()[0].level, voDebug::LogLevel::None);
}

TEST_F(SessionStop, LetsARendezvousMakeItsFactoryAgainButNotItsVideoSource) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    session->Stop();
    Start();
    EXPECT_EQ(FakeWebRtc::AudioDevicesMade(), 2);
    EXPECT_EQ(FakeWebRtc::FactoriesMade(), 2);
    EXPECT_EQ(FakeWebRtc::VideoTrackSourcesMade(), 1);
}

TEST_F(SessionStop, ClosesTheSocketBeforeItTellsAnybody) {
    for (const auto mode : {nxWebRtcSession::Mode::Direct, nxWebRtcSession::Mode::Rendezvous}) {
        MakeSession(mode);
        StartAndOpen();
        Join("phone");
        const auto socket = Socket();
        int closedBefore = 0;
        session->onConnectionRemoved = [&](const std::string&) { closedBefore += socket->CloseCount(); };
        session->Stop();
        EXPECT_EQ(closedBefore, 1);
        session->onConnectionRemoved = nullptr;
    }
}

TEST_F(SessionStop, TellsOfAPeerOncePerConnection) {
    for (const auto mode : {nxWebRtcSession::Mode::Direct, nxWebRtcSession::Mode::Rendezvous}) {
        MakeSession(mode);
        StartAndOpen();
        RecordRemovals();
        Join("twice", "other guid");
        Join("once", "other guid");
        Join("twice", "other guid");
        session->Stop();
        EXPECT_THAT(std::exchange(removed, {}), ElementsAre("twice", "once", "twice"));
    }
}

TEST_F(SessionStop, LetsItsOwnerAskTheSession) {
    StartAndOpen();
    bool stillStarted = false;
    session->onConnectionRemoved = [&](const std::string& peer) {
        stillStarted = session->IsStarted();
        EXPECT_NE(session->FindConnectionByPeer(peer), nullptr);
        session->Start("{}", "ws://127.0.0.9:9001/", 1.0);  // still started: nothing
    };
    Join("phone");
    session->Stop();
    EXPECT_TRUE(stillStarted);
    EXPECT_FALSE(session->IsStarted());
    EXPECT_EQ(session->Url(), kUrl);
    session->onConnectionRemoved = nullptr;
}

TEST_F(SessionStop, IsHarmlessBeforeAnyStart) {
    session->Stop();
    session->Stop();
    EXPECT_FALSE(session->IsStarted());
}

TEST_F(SessionStop, IsHarmlessTwice) {
    StartAndOpen();
    const auto socket = Socket();
    session->Stop();
    session->Stop();
    EXPECT_EQ(socket->CloseCount(), 1);
}

class SessionEnd : public SessionStop {};

TEST_F(SessionEnd, ClosesTheSocketAndTellsNobody) {
    StartAndOpen();
    RecordRemovals();
    Join("phone");
    const auto socket = Socket();
    session.reset();
    EXPECT_EQ(socket->CloseCount(), 1);
    EXPECT_THAT(removed, IsEmpty());
}

}  // namespace
