#include <memory>

#include "host/renderer/nxHostNotification.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Purse.h"
#include "panel/nxKestrelGlass.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebRtc;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kMillisecondUs = 1000;

class FakeNotification final : public nxHostNotification {
public:
    void Notify(std::uint32_t value) override { values.push_back(value); }
    std::vector<std::uint32_t> values;
};

class Panel : public tests::FactoryTest {
protected:
    Panel() : parent(zRecord()) { settings = DirectSettings(kAddress); }

    void Build(const char* resourceRoot = KESTREL_PLUGIN_FOLDER) {
        purse = std::make_unique<host_runtime::Purse>(resourceRoot);
        eDynamicGlass* made = nullptr;
        nxXISourceGUI* const maker = factory;
        ASSERT_EQ(maker->CreateSourceGUI(purse.get(), &parent, settings, &notification, "source", &made),
                  kStatusOk);
        ASSERT_NE(made, nullptr);
        panel.reset(made);
        panel->SetUp();
    }

    std::string Shown(const char* variable, zFourCC field) {
        eView* const view = parent.FindVariable(variable);
        return view != nullptr ? view->Fields().AsCString(field, "nothing") : "no view";
    }
    std::string Address() { return Shown("ip_addr", FourCC("text")); }
    std::string Status() { return Shown("kestrel_connectionstatus_text", FourCC("titl")); }
    std::string DataRate() { return Shown("kestrel_datarate_text", FourCC("titl")); }
    std::string SettingsAddress() { return settings.AsCString("kestrel_ip_address", "nothing"); }

    void Type(const char* text) { parent.FindVariable("ip_addr")->SetField(FourCC("text"), text); }
    void PressConnect() { ASSERT_TRUE(panel->HandleCommand("cmd_connect")); }

    // A source with a connection that answers.
    std::shared_ptr<fakes::FakeWebSocket> Connect() {
        const auto socket = ActivateAndOpen("source");
        Join(socket, "phone", "source");
        return socket;
    }
    // Answers the poll that is due after `delayMs`, not before.
    void AnswerAfter(std::int64_t delayMs, std::int64_t timestampUs, std::int64_t bytes) {
        const auto peer = FakeWebRtc::LatestPeerConnection();
        time.AdvanceBy(delayMs * kMillisecondUs - 1);
        EXPECT_EQ(peer->OpenStatsRequests(), 0U);
        time.AdvanceBy(1);
        ASSERT_EQ(peer->OpenStatsRequests(), 1U);
        vo_webrtc::voStats stats;
        stats.timestampUs = timestampUs;
        stats.bytesReceived = bytes;
        peer->DeliverStats(stats);
        time.RunDue();
    }

    eView parent;
    zRecord settings;
    FakeNotification notification;
    std::unique_ptr<host_runtime::Purse> purse;
    std::unique_ptr<eDynamicGlass> panel;  // goes first
};

TEST_F(Panel, IsBuiltFromItsLayoutUnderTheParent) {
    Build();
    ASSERT_EQ(parent.Children().size(), 1U);
    EXPECT_EQ(panel->RootView(), parent.Children()[0].get());
    EXPECT_EQ(Address(), kAddress);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "");
}

TEST_F(Panel, IsAppendedBehindOtherViews) {
    parent.AddChildView(new eView(zRecord()), eView::kAppend);
    Build();
    ASSERT_EQ(parent.Children().size(), 2U);
    EXPECT_EQ(panel->RootView(), parent.Children()[1].get());
}

TEST_F(Panel, IsMadeWithoutALayoutToo) {
    Build("/nonexistent");
    EXPECT_THAT(parent.Children(), IsEmpty());
    EXPECT_EQ(panel->RootView(), nullptr);
    panel->ShowSettings();
    Connect();
    time.AdvanceBy(10 * kSecondUs);
    PressConnect();
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

TEST_F(Panel, AnswersTheHostAsAPlainPanel) {
    Build();
    EXPECT_FALSE(panel->HasUnsavedChanges());
    EXPECT_FALSE(panel->WantsKeyboard());
    EXPECT_TRUE(panel->CanBecomeActive());
    EXPECT_EQ(panel->PreferredWidth(), 0xFFFFFFFFU);
    EXPECT_EQ(panel->PreferredHeight(), 0xFFFFFFFFU);
}

class PanelAddress : public Panel {};

TEST_F(PanelAddress, IsAcceptedAndTheHostIsNotified) {
    Build();
    Type("127.0.0.9");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
    EXPECT_THAT(notification.values, ElementsAre(1U));
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

TEST_F(PanelAddress, OfAnotherSourceIsRefused) {
    Activate("other", "127.0.0.3");
    Build();
    Type("127.0.0.3");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), kAddress);
    EXPECT_EQ(Address(), kAddress);
    EXPECT_THAT(notification.values, IsEmpty());
    const auto alerts = panel->TakeAlerts();
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].flags, 0U);
    EXPECT_EQ(alerts[0].messageKey, "p_kestrel_endpoint_exists");
    EXPECT_EQ(alerts[0].detailKey, "p_kestrel_endpoint_exists2");
    EXPECT_FALSE(alerts[0].canCancel);
}

TEST_F(PanelAddress, AlreadyShownIsNotCheckedAndOnlyNotifies) {
    Activate("other", kAddress);
    Build();
    PressConnect();
    PressConnect();
    EXPECT_THAT(notification.values, ElementsAre(1U, 1U));
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

TEST_F(PanelAddress, AcceptedBeforeIsTheOneToFallBackTo) {
    Activate("other", "127.0.0.3");
    Build();
    Type("127.0.0.9");
    PressConnect();
    Type("127.0.0.3");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
    EXPECT_EQ(Address(), "127.0.0.9");
}

TEST_F(PanelAddress, MayBeEmpty) {
    Build();
    Type("");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "");
    EXPECT_THAT(notification.values, ElementsAre(1U));
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

TEST_F(PanelAddress, MissingFromTheSettingsIsShownEmpty) {
    settings.Erase("kestrel_ip_address");
    Build();
    EXPECT_EQ(Address(), "");
}

TEST_F(PanelAddress, IsAcceptedUncheckedOnceTheFactoryIsGone) {
    Activate("other", "127.0.0.3");
    Build();
    EndFactory();
    Type("127.0.0.3");
    PressConnect();
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

class PanelStatistics : public Panel {};

TEST_F(PanelStatistics, ShowRateAndStatus) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 500);
    EXPECT_EQ(Status(), "p_connected");
    EXPECT_EQ(DataRate(), "");
    AnswerAfter(500, 3'000'000, 2'500'500);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
    AnswerAfter(500, 3'500'000, 2'813'000);
    EXPECT_EQ(DataRate(), "5.0 Mbits");
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
    EXPECT_EQ(DataRate(), "5.0 Mbits");
}

TEST_F(PanelStatistics, KeepTheTextWhenNoTimeHasPassed) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    AnswerAfter(500, 2'000'000, 9'000'000);
    EXPECT_EQ(DataRate(), "10.0 Mbits");
}

TEST_F(PanelStatistics, OfALostConnectionSlowDownAndComeBack) {
    Build();
    const auto socket = Connect();
    AnswerAfter(100, 1'000'000, 0);
    AnswerAfter(500, 2'000'000, 1'250'000);
    const auto peer = FakeWebRtc::LatestPeerConnection();
    factory->StopSession("source");
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "-");

    factory->StartSession("source", R"({"sessionGuid":"source"})", kAddress);
    Open(Socket());
    AnswerAfter(1250, 4'000'000, 2'500'000);
    EXPECT_EQ(Status(), "p_connected");
    EXPECT_EQ(DataRate(), "5.0 Mbits");  // against the sample from before the loss
}

TEST_F(PanelStatistics, WithoutASourceAreAskedForEveryThreeSeconds) {
    Build();
    parent.FindVariable("kestrel_datarate_text")->SetField(FourCC("titl"), "old");
    time.AdvanceBy(100 * kMillisecondUs);
    EXPECT_EQ(DataRate(), "");
    EXPECT_EQ(Status(), "p_disconnected");
    Connect();
    AnswerAfter(3000, 1'000'000, 0);
    EXPECT_EQ(Status(), "p_connected");
}

TEST_F(PanelStatistics, ClearTheRateButNotTheStatusWhenRefused) {
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

TEST_F(PanelStatistics, AreNotShownOnceThePanelIsGone) {
    Build();
    Connect();
    time.AdvanceBy(100 * kMillisecondUs);
    const auto peer = FakeWebRtc::LatestPeerConnection();
    ASSERT_EQ(peer->OpenStatsRequests(), 1U);
    panel.reset();
    vo_webrtc::voStats stats;
    stats.timestampUs = 1;
    peer->DeliverStats(stats);
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_EQ(peer->OpenStatsRequests(), 0U);
    EXPECT_EQ(Status(), "p_disconnected");
}

TEST_F(PanelStatistics, GoOnBeingAskedForOnceTheFactoryIsGone) {
    Build();
    Connect();
    AnswerAfter(100, 1'000'000, 0);
    EndFactory();
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(DataRate(), "");
}

TEST_F(PanelStatistics, ArePolledOnceAtATime) {
    Build();
    Connect();
    for (int round = 0; round < 20; ++round)
        AnswerAfter(round == 0 ? 100 : 500, 1'000'000 * (round + 1), 0);
    EXPECT_EQ(FakeWebRtc::LatestPeerConnection()->CountOfCalls("GetStats"), 20);
}

}  // namespace
