#include <nlohmann/json.hpp>
#include <thread>

#include "connection/nxWebRtcConnection.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using testing::ElementsAre;
using testing::IsEmpty;

class SessionStart : public tests::SessionTest {};

TEST_F(SessionStart, OpensTheAddressWithTheGivenTimeout) {
    Start();
    ASSERT_EQ(FakeWebSocket::MadeCount(), 1U);
    const auto openings = Socket()->Openings();
    ASSERT_EQ(openings.size(), 1U);
    EXPECT_EQ(openings[0].url, kUrl);
    EXPECT_EQ(openings[0].connectTimeoutSeconds, 2.0);
    EXPECT_EQ(session->Url(), kUrl);
    EXPECT_EQ(session->SessionGuid(), "guid");
    EXPECT_FALSE(session->IsStarted());
}

TEST_F(SessionStart, AddsASchemeToABareAddress) {
    Start("10.0.0.5/join");
    EXPECT_EQ(Socket()->Openings().at(0).url, "wss://10.0.0.5/join");
    EXPECT_EQ(session->Url(), "wss://10.0.0.5/join");
}

TEST_F(SessionStart, OpensANullAddressAsAnEmptyOne) {
    Start(nullptr);
    EXPECT_EQ(Socket()->Openings().at(0).url, "");
}

TEST_F(SessionStart, TakesItsOwnUrlAsTheAddress) {
    const std::string longUrl = "ws://" + std::string(200, 'a') + ":9001/";
    Start(longUrl.c_str());
    Start(session->Url().c_str());
    EXPECT_EQ(session->Url(), longUrl);
}

TEST_F(SessionStart, TracesItsDescription) {
    Start();
    EXPECT_EQ(CountOfTrace(
                  "nxWebRtcSession::Start---\n{\n    \"ownerKey\": \"key\",\n    \"sessionGuid\": \"guid\"\n"
                  "}\n---\n"),
              1);
}

TEST_F(SessionStart, DoesNothingWhileStarted) {
    StartAndOpen();
    session->Start(R"({"sessionGuid":"other"})", "ws://127.0.0.3:9001/", 9.0);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    EXPECT_EQ(Socket()->Openings().size(), 1U);
    EXPECT_EQ(session->SessionGuid(), "guid");
    EXPECT_EQ(session->Url(), kUrl);
}

TEST_F(SessionStart, TellsNothingAndKeepsItsTimeoutWhileStarted) {
    StartAndOpen();
    trace.clear();
    session->Start(R"({"sessionGuid":"other"})", "ws://127.0.0.3:9001/", 9.0);
    EXPECT_THAT(trace, IsEmpty());
    Fail();
    ASSERT_EQ(Socket()->Openings().size(), 2U);
    EXPECT_EQ(Socket()->Openings()[1].url, kUrl);
    EXPECT_EQ(Socket()->Openings()[1].connectTimeoutSeconds, 2.0);
}

TEST_F(SessionStart, SetsEveryHandlerBeforeItOpens) {
    Start();
    EXPECT_TRUE(Socket()->Openings().at(0).hadAllHandlers);
}

TEST_F(SessionStart, ReplacesASocketThatIsStillConnecting) {
    Start();
    Start("ws://127.0.0.3:9001/");
    const auto sockets = FakeWebSocket::Made();
    ASSERT_EQ(sockets.size(), 2U);
    EXPECT_EQ(sockets[0], nullptr);
    EXPECT_EQ(sockets[1]->Openings().at(0).url, "ws://127.0.0.3:9001/");
}

TEST_F(SessionStart, LetsABadDescriptionOutAndStaysAsItWas) {
    EXPECT_THROW(session->Start("{", kUrl, 2.0), nlohmann::json::parse_error);
    EXPECT_THROW(session->Start(nullptr, kUrl, 2.0), nlohmann::json::parse_error);
    EXPECT_THROW(session->Start("[]", kUrl, 2.0), nlohmann::json::type_error);
    EXPECT_THROW(session->Start(R"({"sessionGuid":"a","ownerKey":5})", kUrl, 2.0),
                 nlohmann::json::type_error);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    EXPECT_EQ(session->Url(), "");
    EXPECT_EQ(session->SessionGuid(), "");
    StartAndOpen();  // the lock was released
    EXPECT_TRUE(session->IsStarted());
}

// The timeout is taken before the description is read.
TEST_F(SessionStart, TakesTheTimeoutOfABadDescription) {
    Start();
    EXPECT_THROW(session->Start("{", "ws://127.0.0.3:9001/", 9.0), nlohmann::json::parse_error);
    Fail();
    ASSERT_EQ(Socket()->Openings().size(), 2U);
    EXPECT_EQ(Socket()->Openings()[1].url, kUrl);
    EXPECT_EQ(Socket()->Openings()[1].connectTimeoutSeconds, 9.0);
}

TEST_F(SessionStart, ReadsMissingTextsAsEmpty) {
    session->Start("{}", kUrl, 2.0);
    BecomeOpen();
    EXPECT_THAT(
        Socket()->Sent(),
        ElementsAre(R"({"action":"joinMaster","ownerKey":"","sessionGuid":"","username":"Halyard"})"));
}

TEST_F(SessionStart, ForgetsTheTextsOfTheStartBefore) {
    StartAndOpen();
    session->Stop();
    session->Start("{}", kUrl, 2.0);
    BecomeOpen();
    EXPECT_THAT(
        Socket()->Sent(),
        ElementsAre(R"({"action":"joinMaster","ownerKey":"","sessionGuid":"","username":"Halyard"})"));
}

TEST_F(SessionStart, MakesTheWebRtcObjectsOnce) {
    Start();
    Start();
    session->CreatePeerConnectionFactory();
    EXPECT_EQ(FakeWebRtc::AudioDevicesMade(), 1);
    EXPECT_EQ(FakeWebRtc::FactoriesMade(), 1);
    EXPECT_EQ(FakeWebRtc::FactoriesMadeWithADevice(), 1);
    EXPECT_EQ(FakeWebRtc::VideoTrackSourcesMade(), 1);
}

TEST_F(SessionStart, WorksWithoutAnEngine) {
    FakeWebRtc::RefuseFactories();
    StartAndOpen();
    EXPECT_EQ(FakeWebRtc::VideoTrackSourcesMade(), 0);
    ASSERT_NE(Joined("phone"), nullptr);
    session->StartConnection("phone");
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionStart, GivesItsSocketAndGuidToAConnectionMadeBefore) {
    const auto early = session->CreateConnectionForSource("source");
    EXPECT_EQ(FakeWebRtc::FactoriesMade(), 1);
    EXPECT_EQ(early->GetSocket(), nullptr);
    EXPECT_EQ(early->GetSessionGuid(), "");
    Start();
    EXPECT_EQ(early->GetSocket(), Socket());
    EXPECT_EQ(early->GetSessionGuid(), "guid");
    EXPECT_EQ(FakeWebRtc::FactoriesMade(), 1);

    BecomeOpen();
    EXPECT_EQ(Joined("phone"), early);
    session->StartConnection("phone");
    EXPECT_NE(FakeWebRtc::LatestPeerConnection(), nullptr);
}

TEST_F(SessionStart, ReleasesTheOldSocketAfterAStop) {
    StartAndOpen();
    Joined("phone")->GetRendererData();  // keeps the socket as its sender
    session->Stop();
    Start();
    const auto sockets = FakeWebSocket::Made();
    ASSERT_EQ(sockets.size(), 2U);
    EXPECT_EQ(sockets[0], nullptr);
    EXPECT_EQ(session->FindConnectionByPeer("phone")->GetSocket(), sockets[1]);
}

class SessionKeepAlive : public tests::SessionTest {};

TEST_F(SessionKeepAlive, PingsOnceAMinute) {
    StartAndOpen();
    time.AdvanceBy(59'999'999);
    EXPECT_EQ(Socket()->KeepAliveCount(), 0);
    time.AdvanceBy(1);
    EXPECT_EQ(Socket()->KeepAliveCount(), 1);
    time.AdvanceBy(5 * 60 * kSecondUs);
    EXPECT_EQ(Socket()->KeepAliveCount(), 6);
}

TEST_F(SessionKeepAlive, CountsFromTheStartOfTheSession) {
    Start();
    time.AdvanceBy(45 * kSecondUs);
    BecomeOpen();
    time.AdvanceBy(15 * kSecondUs - 1);
    EXPECT_EQ(Socket()->KeepAliveCount(), 0);
    time.AdvanceBy(1);
    EXPECT_EQ(Socket()->KeepAliveCount(), 1);
}

TEST_F(SessionKeepAlive, GoesOnOverAReconnection) {
    StartAndOpen();
    Fail();
    BecomeOpen();
    time.AdvanceBy(3 * 60 * kSecondUs);
    EXPECT_EQ(Socket()->KeepAliveCount(), 3);
}

TEST_F(SessionKeepAlive, LeavesNoJobBehindOnceStopped) {
    StartAndOpen();
    time.AdvanceBy(60 * kSecondUs);
    session->Stop();
    EXPECT_TRUE(host_runtime::MainThreadQueue::Default().NextDueUs()) << "the last one is still due";
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_FALSE(host_runtime::MainThreadQueue::Default().NextDueUs());
}

TEST_F(SessionKeepAlive, EndsWithStop) {
    StartAndOpen();
    const auto connection = Joined("phone");  // keeps the socket alive
    const auto socket = Socket();
    session->Stop();
    time.AdvanceBy(10 * 60 * kSecondUs);
    EXPECT_EQ(socket->KeepAliveCount(), 0);
}

TEST_F(SessionKeepAlive, DoesNotMultiplyWithRestarts) {
    for (int restart = 0; restart < 100; ++restart) {
        Start();
        time.AdvanceBy(6 * kSecondUs);
    }
    BecomeOpen();
    time.AdvanceBy(60 * kSecondUs);
    const int before = Socket()->KeepAliveCount();
    time.AdvanceBy(10 * 60 * kSecondUs);
    EXPECT_EQ(Socket()->KeepAliveCount(), before + 10);
}

TEST_F(SessionKeepAlive, EndsWithTheSession) {
    StartAndOpen();
    const auto socket = Socket();
    session.reset();
    time.AdvanceBy(10 * 60 * kSecondUs);
    EXPECT_EQ(socket->KeepAliveCount(), 0);
}

class SessionHops : public tests::SessionTest {};

TEST_F(SessionHops, HandleNothingOnTheReportingThread) {
    Start();
    Socket()->BecomeOpen();
    EXPECT_FALSE(session->IsStarted());
    EXPECT_THAT(Socket()->Sent(), IsEmpty());
    time.RunDue();
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionHops, HandleNoFailureOnTheReportingThread) {
    StartAndOpen();
    trace.clear();
    Socket()->Fail(cWebSocket::Error::ConnectFailed);
    EXPECT_THAT(trace, IsEmpty());
    EXPECT_EQ(Socket()->CloseCount(), 0);
    time.RunDue();
    EXPECT_EQ(Socket()->CloseCount(), 1);

    trace.clear();
    Socket()->EndCleanly();
    EXPECT_THAT(trace, IsEmpty());
    EXPECT_TRUE(session->IsStarted());
    time.RunDue();
    EXPECT_FALSE(session->IsStarted());
}

TEST_F(SessionHops, HandleNoMessageOnTheReportingThread) {
    StartAndOpen();
    Socket()->Deliver(R"({"action":"peerJoined","username":"A","peersIdentifier":"p","sessionGuid":"x"})");
    EXPECT_EQ(session->FindConnectionByPeer("p"), nullptr);
    time.RunDue();
    EXPECT_NE(session->FindConnectionByPeer("p"), nullptr);
}

TEST_F(SessionHops, CarryACopyOfTheMessage) {
    StartAndOpen();
    std::string text = R"({"action":"peerJoined","username":"A","peersIdentifier":"p","sessionGuid":"x"})";
    Socket()->Deliver(text);
    text.assign(text.size(), ' ');  // in place: the socket reuses its memory
    time.RunDue();
    EXPECT_NE(session->FindConnectionByPeer("p"), nullptr);
}

TEST_F(SessionHops, TakeReportsFromTheNetworkThread) {
    StartAndOpen();
    const auto socket = Socket();
    std::thread network([socket] {
        for (int message = 0; message < 200; ++message) {
            socket->Deliver(R"({"action":"peerJoined","username":"A","peersIdentifier":"p)" +
                            std::to_string(message) + R"(","sessionGuid":"guid"})");
        }
        socket->Fail(cWebSocket::Error::ConnectFailed);
        socket->BecomeOpen();
    });
    for (int round = 0; round < 50; ++round)
        time.RunDue();
    network.join();
    time.RunDue();
    EXPECT_NE(session->FindConnectionByPeer("p199"), nullptr);
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionHops, EndOnTheMainThreadWhateverTheNetworkThreadDoes) {
    StartAndOpen();
    const auto socket = Socket();
    std::thread network([socket] {
        for (int message = 0; message < 200; ++message)
            socket->Deliver("{}");
    });
    session->Stop();
    session.reset();
    network.join();
    time.RunDue();
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(SessionHops, IgnoreASocketThatWasReplaced) {
    StartAndOpen();
    const auto connection = Joined("phone");
    const auto old = Socket();
    session->Stop();
    old->BecomeOpen();
    old->Fail(cWebSocket::Error::Permanent);
    old->EndCleanly();
    old->Deliver(R"({"action":"peerJoined","username":"A","peersIdentifier":"late","sessionGuid":"x"})");
    Start();
    time.RunDue();
    EXPECT_FALSE(session->IsStarted());
    EXPECT_EQ(session->FindConnectionByPeer("late"), nullptr);
    EXPECT_EQ(CountOfTrace("[rendezvous] Websocket Error:3\n"), 0);
    BecomeOpen();
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionHops, IgnoreMessagesAfterStop) {
    StartAndOpen();
    const auto socket = Socket();
    socket->Deliver(R"({"action":"peerJoined","username":"A","peersIdentifier":"p","sessionGuid":"x"})");
    session->Stop();
    time.RunDue();
    EXPECT_EQ(session->FindConnectionByPeer("p"), nullptr);
}

TEST_F(SessionHops, DoNothingOnceTheSessionIsGone) {
    Start();
    const auto socket = Socket();
    socket->BecomeOpen();
    socket->Deliver("{}");
    socket->Fail(cWebSocket::Error::ConnectFailed);
    socket->EndCleanly();
    session.reset();
    trace.clear();
    time.RunDue();
    EXPECT_THAT(trace, IsEmpty());
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(SessionHops, StopTheErrorsOfOneMessage) {
    StartAndOpen();
    for (const char* text : {"", "{", "null", "[]", "5", "\"text\"", "{\"action\":5}", "{\"action\":null}",
                             "{\"action\":\"peerJoined\",\"username\":[]}", "\xFF\xFE"}) {
        trace.clear();
        Deliver(text);
        ASSERT_EQ(trace.size(), 1U) << text;
        EXPECT_THAT(trace[0], testing::StartsWith("nxWebRtcSession::OnSocketMessage failed: ")) << text;
        EXPECT_LT(trace[0].size(), 300U);
    }
    EXPECT_NE(Joined("phone"), nullptr);
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionHops, StopTheErrorsOfForeignKinds) {
    StartAndOpen();
    session->onConnectionCreated = [](const std::string&) { throw 5; };
    trace.clear();
    Join("phone");
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::OnSocketMessage failed\n"), 1);
    session->onConnectionCreated = nullptr;
    EXPECT_NE(Joined("other"), nullptr);
}

}  // namespace
