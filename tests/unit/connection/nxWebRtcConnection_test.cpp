#include "connection/nxWebRtcConnection.h"

#include "connection/ice_servers.h"
#include "renderers/nxWebRtcAudioRenderer.h"
#include "renderers/nxWebRtcRendererData.h"
#include "renderers/nxWebRtcVideoRenderer.h"
#include "tests/unit/connection/ConnectionTest.h"

namespace {

using fakes::FakeIceServer;
using fakes::FakeWebRtc;
using testing::ElementsAre;
using testing::IsEmpty;

using Connection = tests::ConnectionTest;

TEST_F(Connection, StartMakesAPeerConnectionAndAsksForAnOffer) {
    const auto connection = Make();
    EXPECT_FALSE(connection->HasPeerConnection());
    connection->Start(nullptr, 0);
    EXPECT_TRUE(connection->HasPeerConnection());
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 1U);
    EXPECT_TRUE(Peer()->encryptMedia);
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateOffer"));
}

TEST_F(Connection, StartAddsTheLocalTracksThatItsFlagsAskFor) {
    const auto connection = Make();
    connection->Start(nullptr, nxWebRtcConnection::kLocalAudio);
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateAudioTrackWithDefaultMic AudioTrack",
                                             "CreateLocalMediaStream audio", "CreateOffer"));
    connection->Start(factory->CreateVideoTrackSource(), nxWebRtcConnection::kLocalVideo);
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateVideoTrack VideoTrack",
                                             "CreateLocalMediaStream video", "CreateOffer"));
    connection->Start(factory->CreateVideoTrackSource(), 3);
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateAudioTrackWithDefaultMic AudioTrack",
                                             "CreateVideoTrack VideoTrack",
                                             "CreateLocalMediaStream video audio", "CreateOffer"));
    connection->Start(nullptr, 0xFFFFFFFC);  // other bits mean nothing
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateOffer"));
}

TEST_F(Connection, StartKeepsNeitherTheLocalTracksNorTheirStream) {
    const auto connection = Make();
    const std::int64_t before = FakeWebRtc::LivingObjects();
    connection->Start(factory->CreateVideoTrackSource(), 3);
    EXPECT_EQ(FakeWebRtc::LivingObjects() - before, 2) << "the observer and the peer connection";
}

TEST_F(Connection, EmptyIceTextIsOnePublicStunServer) {
    const tests::TraceCapture trace;
    const auto connection = MakeStarted("");
    EXPECT_THAT(trace.Notes(), IsEmpty()) << "not worth a word";
    EXPECT_THAT(Peer()->iceServers, ElementsAre(FakeIceServer{kFallbackStunUrl, "", ""}));
}

TEST_F(Connection, EmptyIceListIsNoServerAtAll) {
    const auto first = MakeStarted("[]");
    EXPECT_THAT(Peer()->iceServers, IsEmpty());
    const auto second = MakeStarted("null");
    EXPECT_THAT(Peer()->iceServers, IsEmpty());
}

TEST_F(Connection, IceServersAreHandedOverInOrder) {
    const auto connection = MakeStarted(
        R"([{"url":"turn:192.0.2.1:3478","turnUsername":"u","turnPassword":"p"},{"url":"stun:192.0.2.2"}])");
    EXPECT_THAT(Peer()->iceServers, ElementsAre(FakeIceServer{"turn:192.0.2.1:3478", "u", "p"},
                                                FakeIceServer{"stun:192.0.2.2", "", ""}));
}

TEST_F(Connection, IceListWithAStringIsReplacedWhole) {
    const auto connection = MakeStarted(R"([{"url":"stun:192.0.2.2"},"stun:192.0.2.3"])");
    EXPECT_THAT(Peer()->iceServers, ElementsAre(FakeIceServer{kFallbackStunUrl, "", ""}));
}

TEST_F(Connection, StartNeedsASharedOwner) {
    nxWebRtcConnection connection(factory, socket, "name-1", "guid-1", "", "Petrel", "[]");
    EXPECT_THROW(connection.Start(nullptr, 0), std::bad_weak_ptr);
    EXPECT_THAT(FakeWebRtc::PeerConnections(), IsEmpty());
}

TEST_F(Connection, StartAgainReplacesThePeerConnection) {
    const auto connection = MakeStarted();
    const auto first = Peer();
    connection->Start(nullptr, 0);
    EXPECT_EQ(FakeWebRtc::PeerConnections().size(), 2U);
    EXPECT_FALSE(first->IsReferenced());
    EXPECT_TRUE(Peer()->IsReferenced());
    EXPECT_EQ(first->CountOfCalls("SetObserver null"), 0);  // its end detaches it
}

TEST_F(Connection, StartWithoutAPeerConnectionIsHarmlessAndMessagesAreIgnored) {
    FakeWebRtc::RefusePeerConnections();
    const auto connection = MakeStarted();
    EXPECT_FALSE(connection->HasPeerConnection());
    connection->OnMessage(R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})");
    connection->Start(nullptr, 3);
    EXPECT_FALSE(connection->HasPeerConnection());
}

TEST_F(Connection, FailedRestartLetsTheOldPeerConnectionGo) {
    const auto connection = MakeStarted();
    const auto first = Peer();
    FakeWebRtc::RefusePeerConnections();
    connection->Start(nullptr, 0);
    EXPECT_FALSE(connection->HasPeerConnection());
    EXPECT_FALSE(first->IsReferenced());
}

TEST_F(Connection, StartWithoutAFactoryIsHarmless) {
    factory = nullptr;
    const auto connection = MakeStarted();
    EXPECT_FALSE(connection->HasPeerConnection());
}

TEST_F(Connection, KeepsWhatTheSessionGaveIt) {
    const auto connection = Make();
    EXPECT_EQ(connection->GetName(), "name-1");
    EXPECT_EQ(connection->GetSessionGuid(), "guid-1");
    EXPECT_EQ(connection->GetPeersIdentifier(), "phone-1");
    EXPECT_EQ(connection->GetSocket(), socket);
    connection->SetPeersIdentifier("phone-2");
    connection->SetSessionGuid("guid-2");
    EXPECT_EQ(connection->GetName(), "name-1");
    EXPECT_EQ(connection->GetSessionGuid(), "guid-2");
    EXPECT_EQ(connection->GetPeersIdentifier(), "phone-2");
}

TEST_F(Connection, EndDetachesTheObserverAndLetsEverythingGo) {
    auto connection = MakeStarted();
    connection->GetVideoRenderer(group);
    connection->GetAudioRenderer(group);
    const auto peer = Peer();
    connection.reset();
    EXPECT_EQ(peer->Calls().back(), "SetObserver null");
    EXPECT_FALSE(peer->IsReferenced());
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 0);
    EXPECT_EQ(nxWebRtcAudioRenderer::Alive(), 0);
    EXPECT_EQ(socket.use_count(), 1);
}

TEST_F(Connection, EndWithoutAPeerConnectionIsHarmless) {
    Make().reset();
    EXPECT_EQ(nxWebRtcConnection::Alive(), 0);
}

TEST_F(Connection, RendererDataIsMadeOnceFromSocketAndPeer) {
    const auto connection = Make();
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    const auto data = connection->GetRendererData();
    EXPECT_EQ(connection->GetRendererData(), data);
    connection->SetOnAir(true);
    EXPECT_THAT(socket->Sent(), ElementsAre(testing::HasSubstr(R"("tallyPeerIdentifier":"phone-1")")));
}

TEST_F(Connection, RenderersAreMadeOnceAndNamedLikeTheConnection) {
    const auto connection = Make();
    const auto video = connection->GetVideoRenderer(group);
    const auto audio = connection->GetAudioRenderer(group);
    EXPECT_EQ(connection->GetVideoRenderer(nullptr), video);  // the first group stays
    EXPECT_EQ(connection->GetAudioRenderer(nullptr), audio);
    zString name;
    EXPECT_STREQ(video->PlugName(name), "name-1");
    EXPECT_STREQ(audio->PlugName(name), "name-1");
}

TEST_F(Connection, HostMayKeepARendererLongerThanTheConnection) {
    auto connection = Make();
    const auto video = connection->GetVideoRenderer(group);
    connection.reset();
    EXPECT_EQ(nxWebRtcVideoRenderer::Alive(), 1);
    EXPECT_FALSE(video->IsVideoMuted());
    video->SetVideoMuted(true);
    EXPECT_FALSE(video->IsVideoMuted());
}

TEST_F(Connection, OnAirIsSentToThePeer) {
    const auto connection = Make();
    connection->GetRendererData();
    connection->SetOnAir(true);
    connection->SetOnAir(true);
    connection->SetOnAir(false);
    EXPECT_EQ(socket->Sent().size(), 2U);
}

TEST_F(Connection, OnAirBeforeTheRendererDataDoesNothing) {
    const auto connection = Make();
    connection->SetOnAir(true);
    connection->SendTallyIfChanged();
    EXPECT_EQ(nxWebRtcRendererData::Alive(), 0);
    EXPECT_FALSE(connection->GetRendererData()->onAir.load());
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(Connection, PeerThatJoinsLaterIsNamedInTheTally) {
    const auto connection = Make("[]", "");
    const auto data = connection->GetRendererData();
    connection->SetPeersIdentifier("phone-9");
    connection->SetOnAir(true);
    EXPECT_THAT(socket->Sent(), ElementsAre(testing::HasSubstr(R"("tallyPeerIdentifier":"phone-9")")));
}

TEST_F(Connection, OtherPhoneThatTakesItsPlaceIsToldTheTallyAnew) {
    const auto connection = Make();
    connection->GetRendererData();
    connection->SetOnAir(true);
    connection->SetPeersIdentifier("phone-1");
    connection->SendTallyIfChanged();
    EXPECT_EQ(socket->TakeSent().size(), 1U) << "the same phone has been told";
    connection->SetPeersIdentifier("phone-2");
    connection->SendTallyIfChanged();
    EXPECT_THAT(socket->TakeSent(), ElementsAre(testing::HasSubstr(R"("tallyPeerIdentifier":"phone-2")")));
}

TEST_F(Connection, NewSocketIsAlsoTheTallysAndTheOldOneGoes) {
    const auto connection = Make();
    connection->GetRendererData();
    const auto next = std::make_shared<fakes::FakeWebSocket>();
    connection->SetSocket(next);
    EXPECT_EQ(socket.use_count(), 1);
    connection->SetOnAir(true);
    EXPECT_EQ(next->Sent().size(), 1U);
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(Connection, RendererDataMadeBeforeTheFirstSocketGetsIt) {
    const auto connection =
        std::make_shared<nxWebRtcConnection>(factory, nullptr, "name-1", "guid-1", "p", "Petrel", "[]");
    connection->GetRendererData();
    connection->SetOnAir(true);  // not remembered
    connection->SetSocket(socket);
    connection->SendTallyIfChanged();
    EXPECT_EQ(socket->Sent().size(), 1U);
}

TEST_F(Connection, ClearedTallySenderKeepsTheChangeForTheNextSocket) {
    const auto connection = Make();
    connection->GetRendererData();
    connection->ClearTallySender();
    connection->SetOnAir(true);
    EXPECT_THAT(socket->Sent(), IsEmpty());
    EXPECT_EQ(connection->GetSocket(), socket);
    const auto next = std::make_shared<fakes::FakeWebSocket>();
    connection->SetSocket(next);
    connection->SendTallyIfChanged();
    EXPECT_EQ(next->Sent().size(), 1U);
}

TEST_F(Connection, RendererDataMadeWhileTheTallySenderIsClearedHasNone) {
    const auto connection = Make();
    connection->ClearTallySender();
    connection->GetRendererData();
    connection->SetOnAir(true);
    EXPECT_THAT(socket->Sent(), IsEmpty());
    connection->SetSocket(socket);
    connection->SendTallyIfChanged();
    EXPECT_EQ(socket->Sent().size(), 1U);
}

TEST_F(Connection, RendererDataMadeAfterANewSocketHasIt) {
    const auto connection = Make();
    connection->ClearTallySender();
    const auto next = std::make_shared<fakes::FakeWebSocket>();
    connection->SetSocket(next);
    connection->GetRendererData();
    connection->SetOnAir(true);
    EXPECT_EQ(next->Sent().size(), 1U);
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

}  // namespace
