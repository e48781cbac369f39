#include <nlohmann/json.hpp>

#include "connection/nxWebRtcConnection.h"
#include "session/nxWebRtcSession.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;
using fakes::FakeWebSocket;
using testing::ElementsAre;
using testing::IsEmpty;

class FactoryPath : public tests::FactoryTest {};

TEST_F(FactoryPath, LeadsFromActivationToTheOffer) {
    const auto socket = ActivateAndOpen("source");
    EXPECT_THAT(
        socket->TakeSent(),
        ElementsAre(R"({"action":"joinMaster","ownerKey":"","sessionGuid":"source","username":"Halyard"})"));
    Join(socket, "phone", "source");
    const auto peer = FakeWebRtc::LatestPeerConnection();
    ASSERT_NE(peer, nullptr);
    EXPECT_THAT(peer->Calls(), ElementsAre("SetObserver", "CreateOffer"));
    peer->OfferCreated("v=0", "offer");
    EXPECT_THAT(
        socket->TakeSent(),
        ElementsAre(
            R"({"action":"masterMadeOffer","peersIdentifier":"phone","sdp":"v=0","sessionGuid":"source","type":"offer"})"));
    Deliver(socket, R"({"action":"gotAnswer","peersIdentifier":"phone","sdp":"v=1","type":"answer"})");
    EXPECT_THAT(peer->RemoteDescriptions(), ElementsAre(fakes::FakeDescription{"v=1", "answer"}));
}

class FactoryConnectDirect : public tests::FactoryTest {};

TEST_F(FactoryConnectDirect, NeedsAnEntryAndAnAddress) {
    zRecord settings = DirectSettings(kAddress);
    factory->ConnectDirect("unknown", settings);
    factory->ConnectDirect(nullptr, settings);
    Activate("source", "");
    zRecord empty;
    factory->ConnectDirect("source", empty);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    factory->ConnectDirect("source", settings);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
}

TEST_F(FactoryConnectDirect, DoesNotMoveAStartedSession) {
    const auto socket = ActivateAndOpen("source");
    zRecord moved = DirectSettings("127.0.0.9");
    factory->ConnectDirect("source", moved);
    EXPECT_EQ(UrlOf("source"), kUrl);
    EXPECT_EQ(socket->CloseCount(), 0);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    factory->StopSession("source");
    factory->ConnectDirect("source", moved);
    EXPECT_EQ(UrlOf("source"), "ws://127.0.0.9:9001/");
}

class FactoryStartSession : public tests::FactoryTest {};

TEST_F(FactoryStartSession, TakesPayloadAndAddressAsGiven) {
    Activate("source", "");
    factory->StartSession("source", R"({"sessionGuid":"other","ownerKey":"key"})", "127.0.0.7:80");
    EXPECT_EQ(UrlOf("source"), "ws://127.0.0.7:9001/");
    EXPECT_EQ(Socket()->Openings().at(0).connectTimeoutSeconds, 2.0);
    Open(Socket());
    EXPECT_THAT(
        Socket()->Sent(),
        ElementsAre(
            R"({"action":"joinMaster","ownerKey":"key","sessionGuid":"other","username":"Halyard"})"));
}

TEST_F(FactoryStartSession, DoesNothingForANullPayloadOrAnUnknownSource) {
    Activate("source", "");
    factory->StartSession("source", nullptr, kAddress);
    factory->StartSession("unknown", "{}", kAddress);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 0U);
    factory->StartSession("source", "{}", nullptr);
    EXPECT_EQ(UrlOf("source"), "wss://ws:/:9001/");  // an empty address leads nowhere
}

TEST_F(FactoryStartSession, RevivesAStoppedSessionAtTheSameAddress) {
    zRecord settings = DiscoveredSettings("peer", kAddress);
    factory->ActivateSource("peer", settings);
    Open(Socket());
    Close(Socket());
    factory->ActivateSource("peer", settings);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 1U);
    factory->StartSession("peer", R"({"sessionGuid":"peer"})", kAddress);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
    Open(Socket());
    factory->StartSession("peer", R"({"sessionGuid":"peer"})", kAddress);
    EXPECT_EQ(FakeWebSocket::MadeCount(), 2U);
}

TEST_F(FactoryStartSession, LetsABadPayloadOut) {
    Activate("source", "");
    EXPECT_THROW(factory->StartSession("source", "{", kAddress), nlohmann::json::parse_error);
}

class FactoryStopSession : public tests::FactoryTest {};

TEST_F(FactoryStopSession, StopsTheSessionOfAKnownSource) {
    const auto socket = ActivateAndOpen("source");
    factory->StopSession("unknown");
    factory->StopSession(nullptr);
    EXPECT_EQ(socket->CloseCount(), 0);
    factory->StopSession("source");
    EXPECT_EQ(socket->CloseCount(), 1);
}

class FactoryJoin : public tests::FactoryTest {};

TEST_F(FactoryJoin, RestartsTheConnectionOfAPhoneThatJoinsAgain) {
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    Join(socket, "phone", "source");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 2U);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
}

TEST_F(FactoryJoin, GoesToTheFirstEntryThatKnowsThePhone) {
    const auto first = ActivateAndOpen("first", "127.0.0.2");
    Join(first, "phone", "first");
    const auto second = ActivateAndOpen("second", "127.0.0.3");
    Join(second, "phone", "second");
    const auto peers = FakeWebRtc::PeerConnections();
    ASSERT_EQ(peers.size(), 2U);
    second->TakeSent();
    first->TakeSent();
    peers[1]->OfferCreated("v=0", "offer");
    EXPECT_EQ(first->TakeSent().size(), 1U);
    EXPECT_THAT(second->TakeSent(), IsEmpty());
}

TEST_F(FactoryJoin, OfAnotherPhoneMakesTheSourceForgetTheOneBefore) {
    const auto first = ActivateAndOpen("first", "127.0.0.2");
    const auto second = ActivateAndOpen("second", "127.0.0.3");
    Join(first, "old", "first");
    Join(first, "new", "first");
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 2U);
    second->TakeSent();
    Join(second, "old", "second");
    ASSERT_EQ(FakeWebRtc::PeerConnections().size(), 3U);
    FakeWebRtc::LatestPeerConnection()->OfferCreated("v=0", "offer");
    EXPECT_EQ(second->TakeSent().size(), 1U);
}

TEST_F(FactoryJoin, StartsNothingForAnEmptyIdentifier) {
    Join(ActivateAndOpen("source"), "", "source");
    EXPECT_THAT(FakeWebRtc::PeerConnections(), IsEmpty());
}

TEST_F(FactoryJoin, IsIgnoredForAnUnknownSource) {
    Activate("source");
    factory->ConnectionCreated("unknown", "phone");
    factory->ConnectionCreated(nullptr, nullptr);
    EXPECT_THAT(FakeWebRtc::PeerConnections(), IsEmpty());
}

TEST_F(FactoryJoin, ReportsAreHandedToTheJoinListeners) {
    const auto owner = std::make_shared<zObject>();
    std::vector<std::string> told;
    factory->AddJoinListener(owner, [&](const char* guid, const char* result, const char* chat) {
        told.push_back(std::string(guid) + "|" + result + "|" + chat);
    });
    const auto socket = ActivateAndOpen("source");
    const std::string answer =
        R"({"action":"joinMasterResponse","iceServers":[],"result":"OK","chatUrl":"chat"})";
    Deliver(socket, answer);
    EXPECT_THAT(told, ElementsAre("source|OK|chat"));
    factory->RemoveJoinListener(owner, {});
    Deliver(socket, answer);
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(FactoryJoin, ChangeListenersAreKeptAndReleased) {
    const auto owner = std::make_shared<zObject>();
    factory->AddChangeListener(owner, [] {});
    EXPECT_EQ(owner.use_count(), 2);
    factory->RemoveChangeListener(owner, {});
    EXPECT_EQ(owner.use_count(), 1);
}

TEST_F(FactoryJoin, ListenersAreRemovedFromTheirOwnSetOnly) {
    const auto owner = std::make_shared<zObject>();
    factory->AddChangeListener(owner, [] {});
    factory->AddWithdrawListener(owner, [](const char*) {});
    factory->AddJoinListener(owner, [](const char*, const char*, const char*) {});
    EXPECT_EQ(owner.use_count(), 4);
    factory->RemoveWithdrawListener(owner, {});
    EXPECT_EQ(owner.use_count(), 3);
    factory->RemoveJoinListener(owner, {});
    EXPECT_EQ(owner.use_count(), 2);
    factory->RemoveChangeListener(owner, {});
    EXPECT_EQ(owner.use_count(), 1);
}

class FactoryRenderers : public tests::FactoryTest {};

TEST_F(FactoryRenderers, OfOneSourceShareItsConnection) {
    Activate("source");
    const auto video = Renderer("source", "vido");
    const auto audio = Renderer("source", "audo");
    ASSERT_NE(video, nullptr);
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(video->MediaType(), FourCC("vido"));
    EXPECT_EQ(audio->MediaType(), FourCC("audo"));
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
    EXPECT_EQ(Renderer("source", "vido"), video);
}

TEST_F(FactoryRenderers, MadeBeforeTheAddressGetThePicturesOfTheJoiningPhone) {
    nxSourceDescription description;
    zRecord settings;
    factory->NewSource(description, settings);
    const auto video = Renderer(description.identifier, "vido");
    settings.SetCString("kestrel_ip_address", kAddress);
    factory->ActivateSource(description.identifier.c_str(), settings);
    Open(Socket());
    Join(Socket(), "phone", description.identifier);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);

    const auto track = fakes::MakeVideoTrack();
    ASSERT_NE(FakeWebRtc::LatestPeerConnection(), nullptr);
    FakeWebRtc::LatestPeerConnection()->AddStream(fakes::MakeStream(track, nullptr));
    EXPECT_EQ(fakes::FakeVideoTrack::Of(track).SinkCount(), 1U);
}

TEST_F(FactoryRenderers, MadeAfterThePhoneJoinedUseItsConnection) {
    Join(ActivateAndOpen("source"), "phone", "source");
    const auto track = fakes::MakeVideoTrack();
    FakeWebRtc::LatestPeerConnection()->AddStream(fakes::MakeStream(track, nullptr));
    const auto video = Renderer("source", "vido");
    const auto audio = Renderer("source", "audo");
    EXPECT_EQ(nxWebRtcConnection::Alive(), 1);
    EXPECT_EQ(fakes::FakeVideoTrack::Of(track).SinkCount(), 1U);
}

TEST_F(FactoryRenderers, AreNotMadeForAnUnknownSource) {
    EXPECT_EQ(Renderer("unknown", "vido"), nullptr);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
    Activate("source");
    std::shared_ptr<nxRenderer2> result = Renderer("source", "vido");
    factory->CreateRenderer(result, "unknown", FourCC("vido"), buffers);
    EXPECT_EQ(result, nullptr);
}

TEST_F(FactoryRenderers, OfAnotherMediaTypeAreNotMadeButTheConnectionIs) {
    Activate("source");
    std::shared_ptr<nxRenderer2> result = Renderer("source", "vido");
    factory->CreateRenderer(result, "source", FourCC("text"), buffers);
    EXPECT_EQ(result, nullptr);
    Activate("fresh", "127.0.0.3");
    EXPECT_EQ(Renderer("fresh", "text"), nullptr);
    EXPECT_EQ(nxWebRtcConnection::Alive(), 2);
}

}  // namespace
