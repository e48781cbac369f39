// The panel and the factory end in any order, with questions asked and answers under way.
#include "panel/nxKestrelGlass.h"
#include "tests/unit/panel/PanelFixture.h"

namespace {

using fakes::FakeWebRtc;

class PanelLifetime : public tests::PanelFixture {};

TEST_F(PanelLifetime, EndsBeforeItsFirstPoll) {
    Build();
    Connect();
    panel.reset();
    EXPECT_EQ(nxKestrelGlass::Alive(), 0);
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->CountOfCalls("GetStats"), 0);
}

TEST_F(PanelLifetime, EndsWithAQuestionOpen) {
    Build();
    Connect();
    const auto peer = ExpectPollAfter(100);
    panel.reset();
    Deliver(*peer, 1'000'000, 0);
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(peer->CountOfCalls("GetStats"), 1);
    EXPECT_EQ(Status(), "p_disconnected");
}

TEST_F(PanelLifetime, EndsWithAnAnswerQueued) {
    Build();
    Connect();
    const auto peer = ExpectPollAfter(100);
    Deliver(*peer, 1'000'000, 0);  // posts a job
    panel.reset();
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(peer->CountOfCalls("GetStats"), 1);
    EXPECT_EQ(Status(), "p_disconnected");
}

TEST_F(PanelLifetime, EndsWithItsViewsLeftInTheParent) {
    Build();
    panel.reset();
    EXPECT_EQ(parent.Children().size(), 1U);
    EXPECT_EQ(Address(), kAddress);
}

TEST_F(PanelLifetime, EndsInTheTurnOfItsNotification) {
    Build();
    Type("127.0.0.9");
    PressConnect();
    panel.reset();
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(notification.values.size(), 1U);
}

TEST_F(PanelLifetime, MayBeginAgainForTheSameSource) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    panel.reset();
    Build();
    AnswerAfter(100, 2'000'000, 0);
    EXPECT_EQ(parent.Children().size(), 2U);
    AnswerAfter(500, 3'000'000, 0);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->CountOfCalls("GetStats"), 3) << "one chain of polls";
}

TEST_F(PanelLifetime, OutlivesAFactoryThatEndsBeforeTheFirstPoll) {
    Build();
    Connect();
    EndFactory();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "");
}

TEST_F(PanelLifetime, OutlivesAFactoryThatEndsWithAQuestionOpen) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    const auto peer = ExpectPollAfter(500);
    EndFactory();
    if (peer->OpenStatsRequests() != 0) Deliver(*peer, 2'000'000, 1'250'000);
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(peer->CountOfCalls("GetStats"), 2);
}

TEST_F(PanelLifetime, OutlivesAFactoryThatEndsWithAnAnswerQueued) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    const auto peer = ExpectPollAfter(500);
    Deliver(*peer, 2'000'000, 1'250'000);
    EndFactory();
    time.RunDue();
    EXPECT_EQ(DataRate(), "10.0 Mbits") << "the answer needs no factory";
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_EQ(DataRate(), "") << "the next question does";
    time.AdvanceBy(60 * kSecondUs);
}

TEST_F(PanelLifetime, BothEndWithAQuestionOpenFactoryFirst) {
    Build();
    Connect();
    const auto peer = ExpectPollAfter(100);
    EndFactory();
    panel.reset();
    if (peer->OpenStatsRequests() != 0) Deliver(*peer, 1'000'000, 0);
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(nxKestrelGlass::Alive(), 0);
}

TEST_F(PanelLifetime, BothEndWithAnAnswerQueuedPanelFirst) {
    Build();
    Connect();
    Deliver(*ExpectPollAfter(100), 1'000'000, 0);
    panel.reset();
    EndFactory();
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
}

}  // namespace
