// What a watcher of a source's statistics gets: a refusal, "disconnected" at once, or one answer later.
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;

class FactoryStatistics : public tests::FactoryTest {
protected:
    using State = nxKestrelRenderersFactory::ConnectionState;
    bool Watch(const std::string& identifier) {
        return factory->WatchStatistics(identifier, [this](const nxWebRtcStats& stats, State state) {
            ++answers;
            lastStats = stats;
            lastState = state;
        });
    }
    int answers = 0;
    nxWebRtcStats lastStats;
    State lastState = State::Connected;
};

TEST_F(FactoryStatistics, AreRefusedForAnUnknownSource) {
    EXPECT_FALSE(Watch("unknown"));
    EXPECT_EQ(answers, 0);
}

TEST_F(FactoryStatistics, AreRefusedForASourceThatNeverHadAnAddress) {
    Activate("source", "");
    EXPECT_FALSE(Watch("source"));
    EXPECT_EQ(answers, 0);
}

TEST_F(FactoryStatistics, OfAConnectingSourceAreZerosAndDisconnected) {
    Activate("source");
    lastStats = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_TRUE(Watch("source"));
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastState, State::Disconnected);
    EXPECT_EQ(lastStats.stateCode1 + lastStats.stateCode2, 0U);
    EXPECT_EQ(lastStats.timestampUs, 0);
    EXPECT_EQ(lastStats.counter1, 0);
    EXPECT_EQ(lastStats.bytesReceived, 0);
    EXPECT_EQ(lastStats.counter3, 0);
    EXPECT_EQ(lastStats.counter4, 0);
}

TEST_F(FactoryStatistics, OfALostSourceAreDisconnected) {
    Close(ActivateAndOpen("source"));
    EXPECT_TRUE(Watch("source"));
    EXPECT_EQ(lastState, State::Disconnected);
}

TEST_F(FactoryStatistics, AreRefusedWithoutAConnection) {
    ActivateAndOpen("source");
    EXPECT_FALSE(Watch("source"));
    EXPECT_EQ(answers, 0);
}

TEST_F(FactoryStatistics, OfAConnectionArriveOnTheMainThread) {
    Join(ActivateAndOpen("source"), "phone", "source");
    EXPECT_TRUE(Watch("source"));
    vo_webrtc::voStats stats;
    stats.timestampUs = 12;
    stats.bytesReceived = 34;
    ASSERT_TRUE(FakeWebRtc::LatestPeerConnection()->DeliverStats(stats));
    EXPECT_EQ(answers, 0);
    time.RunDue();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastState, State::Connected);
    EXPECT_EQ(lastStats.timestampUs, 12);
    EXPECT_EQ(lastStats.bytesReceived, 34);
}

TEST_F(FactoryStatistics, OfAConnectionWithoutAPhoneAreZeros) {
    ActivateAndOpen("source");
    const auto video = Renderer("source", "vido");
    EXPECT_TRUE(Watch("source"));
    EXPECT_EQ(answers, 0);
    time.RunDue();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastState, State::Connected);
    EXPECT_EQ(lastStats.timestampUs, 0);
}

TEST_F(FactoryStatistics, OfASourceWhoseSessionWasStoppedAreDisconnected) {
    Join(ActivateAndOpen("source"), "phone", "source");
    factory->StopSession("source");
    EXPECT_TRUE(Watch("source"));
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastState, State::Disconnected);
}

TEST_F(FactoryStatistics, OfASourceWhoseStartFailedAreRefused) {
    Activate("source", "");
    EXPECT_ANY_THROW(factory->StartSession("source", "{", kAddress));
    EXPECT_FALSE(Watch("source"));
    EXPECT_EQ(answers, 0);
}

TEST_F(FactoryStatistics, AreAnsweredOncePerRequest) {
    Join(ActivateAndOpen("source"), "phone", "source");
    EXPECT_TRUE(Watch("source"));
    EXPECT_TRUE(Watch("source"));
    const auto peer = FakeWebRtc::LatestPeerConnection();
    EXPECT_EQ(peer->OpenStatsRequests(), 2U);
    peer->DeliverStats({});
    time.RunDue();
    EXPECT_EQ(answers, 1);
    peer->DeliverStats({});
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(answers, 2);
    EXPECT_FALSE(peer->DeliverStats({}));
}

TEST_F(FactoryStatistics, ThatAreOpenWhenThePhoneJoinsAgainAreAnsweredOnce) {
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    EXPECT_TRUE(Watch("source"));
    Join(socket, "phone", "source");
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastState, State::Connected);
    EXPECT_EQ(lastStats.timestampUs, 0);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->OpenStatsRequests(), 0U);
}

TEST_F(FactoryStatistics, ThatAreOpenWhenTheSourceEndsAreAnsweredOnce) {
    zRecord settings = DiscoveredSettings("peer", kAddress);
    factory->ActivateSource("peer", settings);
    Open(Socket());
    Join(Socket(), "peer", "peer");
    EXPECT_TRUE(Watch("peer"));
    zRecord lost = Discovery("peer");
    factory->PeerLost(lost);
    time.RunDue();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(lastStats.bytesReceived, 0);
}

TEST_F(FactoryStatistics, AreThoseOfTheConnectionThatCarriesTheSourcesName) {
    const auto socket = ActivateAndOpen("source");
    const auto video = Renderer("source", "vido");
    Join(socket, "stranger", "another guid");
    EXPECT_TRUE(Watch("source"));
    time.RunDue();
    EXPECT_EQ(answers, 1);  // the source's own connection has no phone yet, and says so with zeros
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->OpenStatsRequests(), 0U);
}

TEST_F(FactoryStatistics, DoNotLookAtTheStateOfThePeerConnection) {
    Join(ActivateAndOpen("source"), "phone", "source");
    const auto peer = FakeWebRtc::LatestPeerConnection();
    peer->ChangeIceConnection(4);  // failed
    peer->Fail("no route");
    EXPECT_TRUE(Watch("source"));
    peer->DeliverStats({});
    time.RunDue();
    EXPECT_EQ(lastState, State::Connected);
}

TEST(ConnectionState, HasItsValues) {
    using State = nxKestrelRenderersFactory::ConnectionState;
    EXPECT_EQ(static_cast<int>(State::Connected), 0);
    EXPECT_EQ(static_cast<int>(State::Disconnected), 1);
}

}  // namespace
