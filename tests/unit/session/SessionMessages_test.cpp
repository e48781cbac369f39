#include <nlohmann/json.hpp>

#include "connection/nxWebRtcConnection.h"
#include "tests/unit/session/SessionTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kJoinText =
    R"({"action":"joinMaster","ownerKey":"key","sessionGuid":"guid","username":"Halyard"})";

class SessionJoin : public tests::SessionTest {};

TEST_F(SessionJoin, IsSentWhenTheSocketOpens) {
    StartAndOpen();
    EXPECT_THAT(Socket()->Sent(), ElementsAre(kJoinText));
    EXPECT_EQ(CountOfTrace("[rendezvous] socket opened successfully\n"), 1);
    EXPECT_TRUE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), IsEmpty());
}

TEST_F(SessionJoin, IsSentInRendezvousModeToo) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    EXPECT_THAT(Socket()->Sent(), ElementsAre(kJoinText));
}

TEST_F(SessionJoin, IsTheSameAfterAReconnection) {
    StartAndOpen();
    Fail();
    BecomeOpen();
    EXPECT_THAT(Socket()->Sent(), ElementsAre(kJoinText, kJoinText));
}

TEST_F(SessionJoin, TellsTheOwnerOutsideTheLock) {
    std::vector<bool> reports;
    session->onReconnecting = [&](bool began) {
        reports.push_back(began);
        EXPECT_TRUE(session->IsStarted());
    };
    StartAndOpen();
    EXPECT_THAT(reports, ElementsAre(false));
    session->onReconnecting = nullptr;
}

TEST_F(SessionJoin, NeedsASocket) {
    bool told = false;
    session->onReconnecting = [&](bool) { told = true; };
    session->OnSocketOpened();
    EXPECT_FALSE(session->IsStarted());
    EXPECT_FALSE(told);
    EXPECT_THAT(trace, IsEmpty());
}

class SessionPeerJoined : public tests::SessionTest {
protected:
    void RecordCreations() {
        session->onConnectionCreated = [this](const std::string& peer) { created.push_back(peer); };
    }
    std::vector<std::string> created;
};

TEST_F(SessionPeerJoined, MakesAConnectionThatItsOwnerStarts) {
    StartAndOpen();
    RecordCreations();
    const auto connection = Joined("phone");
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->GetName(), "phone");
    EXPECT_EQ(connection->GetSessionGuid(), "guid");
    EXPECT_EQ(connection->GetSocket(), Socket());
    EXPECT_THAT(created, ElementsAre("phone"));
    EXPECT_FALSE(connection->HasPeerConnection());
    EXPECT_EQ(CountOfTrace("[rendezvous] 'peerJoined' - createConnection name:Phone peerId:phone\n"), 1);
}

TEST_F(SessionPeerJoined, ReKeysTheConnectionOfTheSameSessionGuid) {
    StartAndOpen();
    RecordCreations();
    const auto connection = Joined("phone");
    Join("phone again");
    EXPECT_EQ(connection->GetPeersIdentifier(), "phone again");
    EXPECT_EQ(session->FindConnectionByPeer("phone again"), connection);
    EXPECT_EQ(session->FindConnectionByPeer("phone"), nullptr);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
    EXPECT_THAT(created, ElementsAre("phone", "phone again"));
}

TEST_F(SessionPeerJoined, TakesTheConnectionThatWasMadeForTheSource) {
    StartAndOpen();
    const auto connection = session->CreateConnectionForSource("guid");
    EXPECT_EQ(connection->GetPeersIdentifier(), "");
    EXPECT_EQ(Joined("phone"), connection);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
}

TEST_F(SessionPeerJoined, MakesOneConnectionPerJoinThatDoesNotEchoTheGuid) {
    StartAndOpen();
    Join("phone", "");
    Join("phone", "foreign");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 2);
}

TEST_F(SessionPeerJoined, IgnoresTheNamelessAndTheSessionsOwnEcho) {
    StartAndOpen();
    RecordCreations();
    trace.clear();
    Join("phone", "guid", "");
    Join("phone", "guid", "Halyard");
    Deliver(R"({"action":"peerJoined","peersIdentifier":"phone","sessionGuid":"guid"})");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
    EXPECT_THAT(created, IsEmpty());
    EXPECT_THAT(trace, IsEmpty());
}

TEST_F(SessionPeerJoined, CountsOnlyWithThisExactAction) {
    StartAndOpen();
    Deliver(R"({"action":"peerjoined","username":"A","peersIdentifier":"phone","sessionGuid":"guid"})");
    Deliver(R"({"action":"PeerJoined","username":"A","peersIdentifier":"phone","sessionGuid":"guid"})");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
}

TEST_F(SessionPeerJoined, StartsTheConnectionAtOnceInRendezvousMode) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    RecordCreations();
    StartAndOpen();
    Join("phone");
    EXPECT_THAT(created, ElementsAre("phone"));
    const auto peer = FakeWebRtc::LatestPeerConnection();
    ASSERT_NE(peer, nullptr);
    EXPECT_EQ(peer->CountOfCalls("CreateAudioTrackWithDefaultMic AudioTrack"), 1);
    EXPECT_EQ(peer->CountOfCalls("CreateVideoTrack VideoTrack"), 1);
    EXPECT_EQ(peer->CountOfCalls("CreateOffer"), 1);
}

TEST_F(SessionPeerJoined, MakesAConnectionForEachJoinInRendezvousMode) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    Join("phone");
    Join("phone");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 2);
}

TEST_F(SessionPeerJoined, TraceTakesForeignTextAsItIs) {
    StartAndOpen();
    Join("100%s{}", "guid", "%n {} name");
    EXPECT_EQ(CountOfTrace("[rendezvous] 'peerJoined' - createConnection name:%n {} name peerId:100%s{}\n"),
              1);
}

class SessionStartConnection : public tests::SessionTest {};

TEST_F(SessionStartConnection, SendsNoMediaInDirectMode) {
    StartAndOpen();
    Join("phone");
    session->StartConnection("phone");
    const auto peer = FakeWebRtc::LatestPeerConnection();
    ASSERT_NE(peer, nullptr);
    EXPECT_THAT(peer->Calls(), ElementsAre("SetObserver", "CreateOffer"));
    ASSERT_TRUE(peer->OfferCreated("v=0", "offer"));
    EXPECT_EQ(
        Socket()->Sent().back(),
        R"({"action":"masterMadeOffer","peersIdentifier":"phone","sdp":"v=0","sessionGuid":"guid","type":"offer"})");
}

TEST_F(SessionStartConnection, StartsNothingWithoutAKnownIdentifier) {
    StartAndOpen();
    session->CreateConnectionForSource("source");
    session->StartConnection("");
    session->StartConnection("unknown");
    session->StartConnectionIfIdle("");
    session->StartConnectionIfIdle("unknown");
    EXPECT_THAT(FakeWebRtc::PeerConnections(), IsEmpty());
}

TEST_F(SessionStartConnection, NegotiatesAnewEachTimeUnlessOnlyTheIdleAreMeant) {
    StartAndOpen();
    Join("phone");
    session->StartConnectionIfIdle("phone");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    session->StartConnectionIfIdle("phone");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    session->Stop();
    session->StartConnectionIfIdle("phone");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    session->StartConnection("phone");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 2U);
}

class SessionJoinResponse : public tests::SessionTest {
protected:
    void RecordResponses() {
        session->onJoinResponse = [this](const std::string& guid, const std::string& result,
                                         const std::string& chat) {
            responses.push_back(guid + "|" + result + "|" + chat);
        };
    }
    std::vector<std::string> responses;
};

TEST_F(SessionJoinResponse, HandsItsServersToLaterConnections) {
    RecordResponses();
    StartAndOpen();
    Deliver(R"({"action":"joinMasterResponse","result":"OK","chatUrl":"chat",)"
            R"("iceServers":[{"url":"turn:192.0.2.1:3478","turnUsername":"u","turnPassword":"p"}]})");
    EXPECT_THAT(responses, ElementsAre("guid|OK|chat"));
    EXPECT_EQ(
        CountOfTrace("ICE: [\n    {\n        \"turnPassword\": \"p\",\n        \"turnUsername\": \"u\",\n"
                     "        \"url\": \"turn:192.0.2.1:3478\"\n    }\n]\n"),
        1);
    Join("phone");
    session->StartConnection("phone");
    EXPECT_THAT(FakeWebRtc::LatestPeerConnection()->iceServers,
                ElementsAre(fakes::FakeIceServer{"turn:192.0.2.1:3478", "u", "p"}));
}

TEST_F(SessionJoinResponse, IsIgnoredWhenNobodyListens) {
    StartAndOpen();
    trace.clear();
    Deliver(R"({"action":"joinMasterResponse","result":"NO"})");
    EXPECT_THAT(trace, IsEmpty());
    Fail();
    EXPECT_TRUE(session->IsStarted());
}

TEST_F(SessionJoinResponse, NeedsItsServers) {
    RecordResponses();
    StartAndOpen();
    try {
        session->OnSocketMessage(R"({"action":"joinMasterResponse","result":"NO"})");
        FAIL() << "no error";
    } catch (const nlohmann::json::invalid_iterator& error) {
        EXPECT_EQ(error.id, 214);
        EXPECT_THAT(error.what(), testing::HasSubstr("cannot get value"));
    }
    EXPECT_THAT(responses, IsEmpty());
    Fail();  // the result was not read, so this still reconnects
    EXPECT_THAT(UserLogLines(), ElementsAre("1 Rendezvous: Connection error - beginning reconnection."));
}

TEST_F(SessionJoinResponse, OtherThanOkSuppressesReconnectionUntilTheNextOpen) {
    RecordResponses();
    for (const char* result : {"\"NO\"", "\"ok\"", "\"\""}) {
        StartAndOpen();
        Deliver(std::string(R"({"action":"joinMasterResponse","iceServers":[],"result":)") + result + "}");
        Fail();
        EXPECT_FALSE(session->IsStarted());
        EXPECT_THAT(UserLogLines(), IsEmpty());
    }
    StartAndOpen();
    Fail();
    EXPECT_TRUE(session->IsStarted());
    EXPECT_THAT(UserLogLines(), ElementsAre("1 Rendezvous: Connection error - beginning reconnection."));
}

TEST_F(SessionJoinResponse, OkLeavesReconnectionEnabled) {
    RecordResponses();
    StartAndOpen();
    Deliver(R"({"action":"joinMasterResponse","iceServers":null,"result":"OK"})");
    EXPECT_THAT(responses, ElementsAre("guid|OK|"));
    Fail();
    EXPECT_TRUE(session->IsStarted());
    EXPECT_EQ(UserLogLines().size(), 1U);
}

class SessionPeerDisconnected : public tests::SessionTest {
protected:
    void RecordRemovals() {
        session->onConnectionRemoved = [this](const std::string& peer) { removed.push_back(peer); };
    }
    std::vector<std::string> removed;
};

TEST_F(SessionPeerDisconnected, TellsTheOwnerAndKeepsTheConnectionInDirectMode) {
    RecordRemovals();
    StartAndOpen();
    const auto connection = Joined("phone");
    Deliver(R"({"action":"peerDisconnected","peersIdentifier":"phone"})");
    EXPECT_THAT(removed, ElementsAre("phone"));
    EXPECT_EQ(session->FindConnectionByPeer("phone"), connection);
    EXPECT_EQ(CountOfTrace("[rendezvous] 'peerDisconnected' peerId:phone\n"), 1);
}

TEST_F(SessionPeerDisconnected, ErasesEveryConnectionOfThePeerInRendezvousMode) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    RecordRemovals();
    StartAndOpen();
    Join("gone");
    Join("first");
    Join("gone");
    Join("second");
    Deliver(R"({"action":"peerDisconnected","peersIdentifier":"gone"})");
    EXPECT_THAT(removed, ElementsAre("gone"));
    EXPECT_EQ(nxWebRtcConnection::Alive(), 2);
    session->Stop();
    EXPECT_THAT(removed, ElementsAre("gone", "first", "second"));
}

TEST_F(SessionPeerDisconnected, IgnoresAnUnknownPeer) {
    RecordRemovals();
    StartAndOpen();
    trace.clear();
    Deliver(R"({"action":"peerDisconnected","peersIdentifier":"nobody"})");
    Deliver(R"({"action":"peerDisconnected"})");
    EXPECT_THAT(removed, IsEmpty());
    EXPECT_THAT(trace, IsEmpty());
}

class SessionChat : public tests::SessionTest {};

TEST_F(SessionChat, HandsTheMessagesToWhoeverListens) {
    std::vector<std::string> received;
    StartAndOpen();
    Deliver(R"({"action":"gotChatMessages"})");  // nobody listens
    session->onChatMessages = [&](const nlohmann::json& messages) { received.push_back(messages.dump()); };
    Deliver(R"({"action":"gotChatMessages","messages":[{"a":1}]})");
    EXPECT_THAT(received, ElementsAre(R"([{"a":1}])"));
    EXPECT_THROW(session->OnSocketMessage(R"({"action":"gotChatMessages"})"),
                 nlohmann::json::invalid_iterator);
    EXPECT_EQ(received.size(), 1U);
}

class SessionRouting : public tests::SessionTest {
protected:
    void StartTwoPhones() {
        StartAndOpen();
        Join("one", "other");
        Join("two", "other");
        session->StartConnection("one");
        session->StartConnection("two");
    }
};

TEST_F(SessionRouting, HandsOtherActionsToTheConnectionThatTheyName) {
    StartTwoPhones();
    Deliver(R"({"action":"gotAnswer","peersIdentifier":"two","sdp":"v=0","type":"answer"})");
    const auto peers = FakeWebRtc::PeerConnections();
    ASSERT_EQ(peers.size(), 2U);
    EXPECT_THAT(peers[0]->RemoteDescriptions(), IsEmpty());
    EXPECT_THAT(peers[1]->RemoteDescriptions(), ElementsAre(fakes::FakeDescription{"v=0", "answer"}));
}

TEST_F(SessionRouting, DropsWhatNamesNobody) {
    StartTwoPhones();
    trace.clear();
    Deliver(R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})");
    Deliver(R"({"action":"gotAnswer","peersIdentifier":"","sdp":"v=0","type":"answer"})");
    Deliver(R"({"action":"gotAnswer","peersIdentifier":"Two","sdp":"v=0","type":"answer"})");
    Deliver(R"({})");
    for (const auto& peer : FakeWebRtc::PeerConnections())
        EXPECT_THAT(peer->RemoteDescriptions(), IsEmpty());
    EXPECT_THAT(trace, IsEmpty());
}

TEST_F(SessionRouting, NeedsTheCommonKeysToBeTexts) {
    StartTwoPhones();
    EXPECT_THROW(session->OnSocketMessage(
                     R"({"action":"gotAnswer","peersIdentifier":"two","sessionGuid":5,"sdp":"","type":""})"),
                 nlohmann::json::type_error);
    EXPECT_THROW(session->OnSocketMessage(R"({"action":"gotAnswer","peersIdentifier":null})"),
                 nlohmann::json::type_error);
}

TEST_F(SessionRouting, SurvivesAMessageThatTheConnectionRejects) {
    StartTwoPhones();
    Deliver(R"({"action":"ice","peersIdentifier":"one","sdp":"candidate","sdpMLineIndex":"0"})");
    Deliver(R"({"action":"ice","peersIdentifier":"one","sdp":"candidate","sdpMLineIndex":0})");
    EXPECT_EQ(FakeWebRtc::PeerConnections()[0]->Candidates().size(), 1U);
}

TEST_F(SessionRouting, DropsWhatNestsTooDeeplyToBeWritten) {
    session->onJoinResponse = [](const auto&, const auto&, const auto&) { FAIL(); };
    StartAndOpen();
    const std::string deep(400'000, '[');
    Deliver(R"({"action":"joinMasterResponse","result":"OK","iceServers":)" + deep +
            std::string(400'000, ']') + "}");
    EXPECT_EQ(CountOfTrace("nxWebRtcSession::OnSocketMessage - nested too deeply, dropped\n"), 1);
    EXPECT_NE(Joined("phone"), nullptr);
}

class SessionErrors : public tests::SessionTest {};

TEST_F(SessionErrors, OfTheJsonLibraryLeaveADirectCall) {
    StartAndOpen();
    EXPECT_THROW(session->OnSocketMessage("{"), nlohmann::json::parse_error);
    EXPECT_THROW(session->OnSocketMessage("null"), nlohmann::json::type_error);
    EXPECT_THROW(session->OnSocketMessage("[]"), nlohmann::json::type_error);
    EXPECT_THROW(session->OnSocketMessage(R"({"action":null})"), nlohmann::json::type_error);
    EXPECT_THROW(session->OnSocketMessage("{\"action\":\"\xFF\"}"), nlohmann::json::parse_error);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
}

}  // namespace
