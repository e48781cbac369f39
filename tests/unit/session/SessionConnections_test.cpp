#include "connection/nxWebRtcConnection.h"
#include "renderers/nxWebRtcRendererData.h"
#include "tests/unit/session/SessionTest.h"

namespace {

class SessionLookUp : public tests::SessionTest {};

TEST_F(SessionLookUp, FindsTheConnectionThatWasMadeForASource) {
    const auto connection = session->CreateConnectionForSource("source");
    EXPECT_EQ(session->FindConnectionForSource("source"), connection);
    EXPECT_EQ(session->FindConnectionForSource("other"), nullptr);
}

TEST_F(SessionLookUp, FindsTheConnectionOfAPhoneThatJoinedFirst) {
    StartAndOpen();
    const auto connection = Joined("phone");
    EXPECT_EQ(connection->GetName(), "phone");
    EXPECT_EQ(session->FindConnectionForSource("guid"), connection);
}

TEST_F(SessionLookUp, PrefersTheName) {
    StartAndOpen();
    const auto joined = Joined("phone");
    const auto named = session->CreateConnectionForSource("guid");
    EXPECT_EQ(session->FindConnectionForSource("guid"), named);
    EXPECT_EQ(session->FindConnectionForSource("phone"), joined);
}

TEST_F(SessionLookUp, GoesByNameOnlyInRendezvousMode) {
    MakeSession(nxWebRtcSession::Mode::Rendezvous);
    StartAndOpen();
    Join("phone");
    EXPECT_EQ(session->FindConnectionForSource("guid"), nullptr);
    EXPECT_NE(session->FindConnectionForSource("phone"), nullptr);
}

TEST_F(SessionLookUp, ReturnsTheFirstOfSeveral) {
    StartAndOpen();
    Join("phone", "other");
    const auto first = session->FindConnectionByPeer("phone");
    Join("phone", "other");
    EXPECT_EQ(session->FindConnectionByPeer("phone"), first);
    EXPECT_EQ(session->FindConnectionByGuid("guid"), first);
    EXPECT_EQ(session->FindConnectionByGuid("unknown"), nullptr);
}

class SessionTally : public tests::SessionTest {
protected:
    static std::string Message(const std::string& peer, bool value) {
        return R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":")" +
               peer + R"(","value":)" + (value ? "true" : "false") + "}";
    }
    // A phone whose renderers exist, as after the host asked for them.
    std::shared_ptr<nxWebRtcConnection> JoinedWithRenderers(const std::string& peer) {
        const auto connection = Joined(peer);
        connection->GetRendererData();
        Socket()->TakeSent();
        return connection;
    }
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SessionTally, TellsThePhoneOfEachChangeOnce) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->SetPeerTallyState("phone", 2);
    session->SetPeerTallyState("phone", 1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
    session->SetPeerTallyState("phone", 3);
    session->SetPeerTallyState("phone", 0);
    session->SetPeerTallyState("phone", -1);
    session->SetPeerTallyState("phone", 6);
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
    session->SetPeerTallyState("phone", 5);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", false)));
    session->SetPeerTallyState("phone", 4);
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_F(SessionTally, IgnoresAnUnknownPeer) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    trace.clear();
    session->SetPeerTallyState("Phone", 1);
    session->SetPeerTallyState("", 1);
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
    EXPECT_THAT(trace, IsEmpty());
}

TEST_F(SessionTally, ReachesTheFirstConnectionOfAPeerOnly) {
    StartAndOpen();
    Join("phone", "other");
    Join("phone", "other");
    const auto first = session->FindConnectionByPeer("phone");
    first->GetRendererData();
    Socket()->TakeSent();
    session->SetPeerTallyState("phone", 1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
}

TEST_F(SessionTally, LeavesALaterConnectionOfThePeerDarkThatHasRenderersToo) {
    StartAndOpen();
    Join("phone", "other");
    const auto later = session->CreateConnectionForSource("later");
    later->SetPeersIdentifier("phone");
    session->FindConnectionByPeer("phone")->GetRendererData();
    const auto data = later->GetRendererData();
    Socket()->TakeSent();
    session->SetPeerTallyState("phone", 1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
    EXPECT_FALSE(data->onAir.load());
}

TEST_F(SessionTally, EndsItsWalkAtAConnectionWithoutRenderers) {
    StartAndOpen();
    Join("phone", "other");
    const auto later = session->CreateConnectionForSource("later");
    later->SetPeersIdentifier("phone");
    later->GetRendererData();
    Socket()->TakeSent();
    session->SetPeerTallyState("phone", 1);
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_F(SessionTally, IsRememberedForAPhoneThatJoinsLater) {
    session->SetTallyValue(1);
    StartAndOpen();
    const auto connection = session->CreateConnectionForSource("guid");
    connection->GetRendererData();
    session->ApplyTally(connection);
    session->SetTallyValue(2);
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
}

TEST_F(SessionTally, IsAppliedWhenTheRenderersAreMadeAfterTheJoin) {
    StartAndOpen();
    session->SetTallyValue(1);
    const auto connection = Joined("phone");
    Socket()->TakeSent();
    connection->GetRendererData();
    session->ApplyTally(connection);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
}

TEST_F(SessionTally, ReachesEveryPhoneOfTheSession) {
    StartAndOpen();
    Join("one", "other");
    Join("two", "other");
    session->FindConnectionByPeer("one")->GetRendererData();
    session->FindConnectionByPeer("two")->GetRendererData();
    Socket()->TakeSent();
    session->SetTallyValue(1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("one", true), Message("two", true)));
    session->SetTallyValue(0);
    session->SetTallyValue(0x80000001U);
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_F(SessionTally, SurvivesAnOutageUnsent) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->SetTallyValue(1);
    const auto old = Socket();
    EXPECT_THAT(old->TakeSent(), ElementsAre(Message("phone", true)));
    Close();
    session->SetTallyValue(5);
    EXPECT_THAT(old->TakeSent(), IsEmpty());

    StartAndOpen();
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", false)));
}

TEST_F(SessionTally, ThatChangedByMutingDuringAnOutageIsSentAfterTheReturn) {
    StartAndOpen();
    const auto data = JoinedWithRenderers("phone")->GetRendererData();
    session->SetPeerTallyState("phone", 1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
    Close();
    data->videoMuted = true;
    data->audioMuted = true;
    data->SendTallyIfChanged();

    StartAndOpen();
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", false)));
}

TEST_F(SessionTally, IsNotRepeatedToAPhoneThatComesBack) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->SetTallyValue(1);
    Close();
    StartAndOpen();
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

// What was told before an error stays told, what is said until the next open does not count.
TEST_F(SessionTally, IsNotRepeatedAfterAnError) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->SetTallyValue(1);
    Fail();
    BecomeOpen();
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), IsEmpty());
}

TEST_F(SessionTally, ThatGoesOutAfterAnErrorIsToldWithTheNextJoin) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->SetTallyValue(1);
    Fail();
    session->SetTallyValue(5);
    BecomeOpen();
    Socket()->TakeSent();
    Join("phone");
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", false)));
}

TEST_F(SessionTally, OfRenderersThatAreMadeAfterARestartIsSent) {
    StartAndOpen();
    const auto connection = Joined("phone");
    session->Stop();
    StartAndOpen();
    Join("phone");
    connection->GetRendererData();
    Socket()->TakeSent();
    session->SetTallyValue(1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
}

TEST_F(SessionTally, GoesOutOverTheSocketOfTheRestart) {
    StartAndOpen();
    JoinedWithRenderers("phone");
    session->Stop();
    StartAndOpen();
    Socket()->TakeSent();
    session->SetTallyValue(1);
    EXPECT_THAT(Socket()->TakeSent(), ElementsAre(Message("phone", true)));
}

}  // namespace
