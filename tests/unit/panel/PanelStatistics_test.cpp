// Status, data rate and how often they are asked for.
#include "tests/unit/panel/PanelFixture.h"

namespace {

using fakes::FakeWebRtc;

class PanelStatistics : public tests::PanelFixture {};

TEST_F(PanelStatistics, OfTheFirstReportAreOnlyTheStartingPoint) {
    Build();
    Connect();
    Overwrite("kestrel_datarate_text", "old");
    AnswerAfter(100, 1'000'000, 500);
    EXPECT_EQ(Status(), "p_connected");
    EXPECT_EQ(DataRate(), "");
    AnswerAfter(500, 3'000'000, 2'500'500);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
}

TEST_F(PanelStatistics, OfTwoReportsMakeTheDataRate) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 3'000'000, 2'500'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
    AnswerAfter(500, 3'500'000, 2'812'500);
    EXPECT_EQ(DataRate(), "5.0 Mbits") << "against the report before";
    AnswerAfter(500, 4'000'000, 2'812'500);
    EXPECT_EQ(DataRate(), "0.0 Mbits") << "nothing came";
}

TEST_F(PanelStatistics, KeepTheTextWhenACounterWentBack) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 1'000'000);
    AnswerAfter(500, 2'000'000, 2'250'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
    AnswerAfter(500, 3'000'000, 100);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
    AnswerAfter(500, 4'000'000, 625'100);
    EXPECT_EQ(DataRate(), "5.0 Mbits") << "against the report that went back";
}

TEST_F(PanelStatistics, KeepTheTextWhenNoTimeHasPassed) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    AnswerAfter(500, 2'000'000, 9'000'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits") << "infinite";
    AnswerAfter(500, 2'000'000, 9'000'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits") << "invalid";
    EXPECT_EQ(Status(), "p_connected");
}

TEST_F(PanelStatistics, WithoutATimeAreNoStartingPoint) {
    Build();
    Connect();
    AnswerAfter(100, 0, 1'000'000);
    EXPECT_EQ(Status(), "p_connected");
    AnswerAfter(500, 1'000'000, 2'000'000);
    EXPECT_EQ(DataRate(), "");
    AnswerAfter(500, 2'000'000, 3'250'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
}

TEST_F(PanelStatistics, OfAConnectionThatNoPhoneJoinedAreConnectedAndEmpty) {
    Build();
    ActivateAndOpen("source");
    const auto renderer = Renderer("source", "vido");
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Status(), "p_connected");
    EXPECT_EQ(DataRate(), "");
}

TEST_F(PanelStatistics, OfALostConnectionShowDisconnectedAndADash) {
    Build();
    const auto socket = Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    Close(socket);
    EXPECT_EQ(Status(), "p_connected") << "until the next poll";
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "-");
}

TEST_F(PanelStatistics, AfterALossAreComputedAgainstThoseFromBefore) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    factory->StopSession("source");
    time.AdvanceBy(500 * kMillisecondUs);
    ASSERT_EQ(Status(), "p_disconnected");

    factory->StartSession("source", R"({"sessionGuid":"source"})", kAddress);
    Open(Socket());
    AnswerAfter(1250, 4'000'000, 2'500'000);
    EXPECT_EQ(Status(), "p_connected");
    EXPECT_EQ(DataRate(), "5.0 Mbits");
}

TEST_F(PanelStatistics, WriteTheStatusOnlyWhenItChanges) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    Overwrite("kestrel_connectionstatus_text", "untouched");
    AnswerAfter(500, 2'000'000, 0);
    EXPECT_EQ(Status(), "untouched");
    factory->StopSession("source");
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    Overwrite("kestrel_connectionstatus_text", "untouched");
    Overwrite("kestrel_datarate_text", "untouched");
    time.AdvanceBy(1250 * kMillisecondUs);
    EXPECT_EQ(Status(), "untouched");
    EXPECT_EQ(DataRate(), "untouched") << "the dash comes with the change";
}

TEST_F(PanelStatistics, OfASourceThatNeverConnectedLeaveTheLabelsAlone) {
    Build();
    Activate("source");
    time.AdvanceBy(5 * kSecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "") << "no dash: nothing was lost";
}

TEST_F(PanelStatistics, RefusedClearTheRateButNotTheStatus) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    zRecord named;
    named.SetCString("kestrel_peer_identifier", "source");
    factory->ActivateSource("source", named);
    zRecord lost = Discovery("source");
    factory->PeerLost(lost);
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_EQ(DataRate(), "");
    EXPECT_EQ(Status(), "p_connected");
}

TEST_F(PanelStatistics, AreThoseOfThePanelsOwnSource) {
    Build();
    const auto other = ActivateAndOpen("other", "127.0.0.3");
    Join(other, "other phone", "other");
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->OpenStatsRequests(), 0U);
    EXPECT_EQ(Status(), "p_disconnected");
}

class PanelPolling : public tests::PanelFixture {
protected:
    // Refused while the factory does not know the source.
    bool PolledAndRefusedAfter(std::int64_t delayMs) {
        Overwrite("kestrel_datarate_text", "old");
        time.AdvanceBy(delayMs * kMillisecondUs - 1);
        const bool before = DataRate() != "old";
        time.AdvanceBy(1);
        return !before && DataRate().empty();
    }
};

TEST_F(PanelPolling, BeginsAfter100Milliseconds) {
    Build();
    EXPECT_TRUE(PolledAndRefusedAfter(100));
}

TEST_F(PanelPolling, GoesOnAfter500MillisecondsWhileConnected) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 0);
    AnswerAfter(500, 3'000'000, 0);
}

TEST_F(PanelPolling, CountsFromTheAnswer) {
    Build();
    Connect();
    const auto peer = ExpectPollAfter(100);
    time.AdvanceBy(7 * kSecondUs);
    EXPECT_EQ(peer->OpenStatsRequests(), 1U) << "nothing is asked while an answer is awaited";
    Deliver(*peer, 1'000'000, 0);
    time.RunDue();
    AnswerAfter(500, 2'000'000, 0);
}

TEST_F(PanelPolling, SlowsDownTo1250MillisecondsWhileDisconnected) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    const auto restart = [this] {
        factory->StartSession("source", R"({"sessionGuid":"source"})", kAddress);
        Open(Socket());
    };
    factory->StopSession("source");
    time.AdvanceBy(500 * kMillisecondUs);   // disconnected
    time.AdvanceBy(1250 * kMillisecondUs);  // and again
    ASSERT_EQ(Status(), "p_disconnected");
    restart();
    AnswerAfter(1250, 2'000'000, 0);
    EXPECT_EQ(Status(), "p_connected");
}

TEST_F(PanelPolling, SlowsDownTo3000MillisecondsWhileRefused) {
    Build();
    time.AdvanceBy(100 * kMillisecondUs);
    EXPECT_TRUE(PolledAndRefusedAfter(3000));
    EXPECT_TRUE(PolledAndRefusedAfter(3000));
    Connect();
    AnswerAfter(3000, 1'000'000, 0);
    EXPECT_EQ(Status(), "p_connected");
}

TEST_F(PanelPolling, IsRefusedForASourceWithoutAnAddress) {
    Build();
    Activate("source", "");
    time.AdvanceBy(100 * kMillisecondUs);
    EXPECT_TRUE(PolledAndRefusedAfter(3000));
}

TEST_F(PanelPolling, HasOnePollPendingAtATime) {
    Build();
    Connect();
    for (int round = 0; round < 20; ++round)
        AnswerAfter(round == 0 ? 100 : 500, 1'000'000 * (round + 1), 0);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->CountOfCalls("GetStats"), 20);
}

TEST_F(PanelPolling, IsNotMultipliedByConnecting) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    for (int press = 0; press < 5; ++press)
        PressConnect();
    AnswerAfter(500, 2'000'000, 0);
    AnswerAfter(500, 3'000'000, 0);
}

}  // namespace
