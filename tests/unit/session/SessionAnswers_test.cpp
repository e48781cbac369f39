// What the session makes of answers: whose ICE servers a connection gets, how long a refusal lasts, peers
// without a name or with one that is known, actions in other letters.
#include <nlohmann/json.hpp>

#include "connection/nxWebRtcConnection.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using fakes::FakeIceServer;
using fakes::FakeWebRtc;
using testing::ElementsAre;
using testing::IsEmpty;

class SessionIceServers : public tests::SessionTest {
protected:
    SessionIceServers() {
        session->onJoinResponse = [](const auto&, const auto&, const auto&) {};
    }
    void AnswerJoin(const std::string& url) {
        Deliver(R"({"action":"joinMasterResponse","result":"OK","iceServers":[{"url":")" + url +
                R"(","turnUsername":"","turnPassword":""}]})");
    }
    static FakeIceServer Server(const std::string& url) { return {url, "", ""}; }
    std::vector<FakeIceServer> ServersOf(const std::string& peer) {
        session->StartConnection(peer);
        return FakeWebRtc::LatestPeerConnection()->iceServers;
    }
};

TEST_F(SessionIceServers, AreThoseOfTheLastAnswerBeforeTheConnectionWasMade) {
    StartAndOpen();
    Join("before", "a");
    AnswerJoin("stun:192.0.2.1");
    Join("between", "b");
    AnswerJoin("stun:192.0.2.2");
    Join("after", "c");
    EXPECT_THAT(ServersOf("between"), ElementsAre(Server("stun:192.0.2.1")));
    EXPECT_THAT(ServersOf("after"), ElementsAre(Server("stun:192.0.2.2")));
    for (const FakeIceServer& server : ServersOf("before"))
        EXPECT_EQ(server.url.find("192.0.2."), std::string::npos);
}

TEST_F(SessionIceServers, OutlastAStop) {
    StartAndOpen();
    AnswerJoin("stun:192.0.2.1");
    session->Stop();
    StartAndOpen();
    Join("phone");
    EXPECT_THAT(ServersOf("phone"), ElementsAre(Server("stun:192.0.2.1")));
}

class SessionJoinAnswer : public tests::SessionTest {
protected:
    void Refuse() { Deliver(R"({"action":"joinMasterResponse","iceServers":[],"result":"NO"})"); }
};

TEST_F(SessionJoinAnswer, WithoutAResultIsARefusal) {
    std::vector<std::string> results;
    session->onJoinResponse = [&](const auto&, const std::string& result, const auto&) {
        results.push_back(result);
    };
    StartAndOpen();
    Deliver(R"({"action":"joinMasterResponse","iceServers":[]})");
    EXPECT_THAT(results, ElementsAre(""));
    trace.clear();
    Fail();
    EXPECT_THAT(trace, ElementsAre("[rendezvous] Websocket Error:1\n"));
    EXPECT_FALSE(session->IsStarted());
    session->onJoinResponse = nullptr;
}

// Only an open forgives.
TEST_F(SessionJoinAnswer, OfOkAfterARefusalLeavesItARefusal) {
    session->onJoinResponse = [](const auto&, const auto&, const auto&) {};
    StartAndOpen();
    Refuse();
    Deliver(R"({"action":"joinMasterResponse","iceServers":[],"result":"OK"})");
    Fail();
    EXPECT_FALSE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), IsEmpty());
}

TEST_F(SessionJoinAnswer, OfRefusalOutlastsAStopUntilTheNextOpen) {
    session->onJoinResponse = [](const auto&, const auto&, const auto&) {};
    StartAndOpen();
    Refuse();
    session->Stop();
    Start();
    Fail();  // before any open
    EXPECT_EQ(Socket(), nullptr) << "stopped again";
    EXPECT_THAT(UserLogLines(), IsEmpty());

    session->OnSocketOpened();  // forgives even a session without a socket
    Start();
    Fail();
    EXPECT_THAT(UserLogLines(), ElementsAre("1 Rendezvous: Connection error - beginning reconnection."));
}

// It was on its way when the socket failed.
TEST_F(SessionJoinAnswer, OfRefusalEndsASeriesToo) {
    session->onJoinResponse = [](const auto&, const auto&, const auto&) {};
    StartAndOpen();
    Fail();
    Refuse();
    Fail();
    EXPECT_EQ(Socket(), nullptr);
}

// The list keeps both; the start goes by the identifier and finds the first.
TEST_F(SessionJoinAnswer, OfARendezvousNamesAPeerTwiceAndItsFirstConnectionStartsAnew) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    Join("phone");
    const auto first = FakeWebRtc::LatestPeerConnection();
    Join("phone");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 2);
    ASSERT_EQ(FakeWebRtc::PeerConnections().size(), 2U);
    EXPECT_FALSE(first->IsReferenced()) << "replaced by the second start";
}

class SessionNamelessPeer : public tests::SessionTest {};

TEST_F(SessionNamelessPeer, IsToldOfButNeverStarted) {
    for (const auto mode : {nxWebRtcSession::Mode::Direct, nxWebRtcSession::Mode::Rendezvous}) {
        MakeSession(mode);
        std::vector<std::string> created;
        session->onConnectionCreated = [&](const std::string& peer) {
            created.push_back(peer);
            session->StartConnection(peer);
        };
        StartAndOpen();
        Deliver(R"({"action":"peerJoined","username":"Phone","sessionGuid":"foreign"})");
        EXPECT_THAT(created, ElementsAre(""));
        EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
        EXPECT_THAT(FakeWebRtc::PeerConnections(), IsEmpty());
        session->onConnectionCreated = nullptr;
    }
}

class SessionChatMessages : public tests::SessionTest {};

TEST_F(SessionChatMessages, AreHandedOnWhateverTheyAre) {
    std::vector<std::string> received;
    session->onChatMessages = [&](const nlohmann::json& messages) { received.push_back(messages.dump()); };
    StartAndOpen();
    for (const char* messages : {"null", "5", "{}", "[]", "\"text\""})
        Deliver(std::string(R"({"action":"gotChatMessages","messages":)") + messages + "}");
    EXPECT_THAT(received, ElementsAre("null", "5", "{}", "[]", "\"text\""));
    session->onChatMessages = nullptr;
}

class SessionActions : public tests::SessionTest {};

TEST_F(SessionActions, CountOnlyInTheirExactLetters) {
    session->onJoinResponse = [](const auto&, const auto&, const auto&) { ADD_FAILURE(); };
    session->onConnectionRemoved = [](const auto&) { ADD_FAILURE(); };
    session->onChatMessages = [](const auto&) { ADD_FAILURE(); };
    StartAndOpen();
    Join("phone");
    trace.clear();
    for (const char* action :
         {"joinmasterresponse", "JoinMasterResponse", "peerdisconnected", "PeerDisconnected",
          "gotchatmessages", "GotChatMessages", "peerDisconnected "}) {
        Deliver(std::string(R"({"peersIdentifier":"phone","iceServers":[],"messages":[],"action":")") +
                action + R"("})");
    }
    EXPECT_THAT(trace, IsEmpty());
    session->onJoinResponse = nullptr;
    session->onConnectionRemoved = nullptr;
    session->onChatMessages = nullptr;
}

}  // namespace
