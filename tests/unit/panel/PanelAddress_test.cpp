// The operator types an address and connects.
#include "tests/unit/panel/PanelFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PanelAddress : public tests::PanelFixture {
protected:
    void ExpectRefused(const char* keptAddress) {
        EXPECT_EQ(SettingsAddress(), keptAddress);
        EXPECT_EQ(Address(), keptAddress);
        EXPECT_EQ(panel->TakeAlerts().size(), 1U);
    }
};

TEST_F(PanelAddress, IsTakenWithTheConnectCommandAndTheHostIsNotified) {
    Build();
    Type("127.0.0.9");
    EXPECT_EQ(SettingsAddress(), kAddress) << "typing alone changes nothing";
    EXPECT_THAT(notification.values, IsEmpty());
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
    EXPECT_EQ(Address(), "127.0.0.9");
    EXPECT_THAT(notification.values, ElementsAre(1U));
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

TEST_F(PanelAddress, IsTakenWhenTheFieldIsCommitted) {
    Build();
    Type("127.0.0.9");
    PressEnter();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

TEST_F(PanelAddress, IsTakenByTheHostToo) {
    Build();
    Type("127.0.0.9");
    panel->TakeSettings();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

TEST_F(PanelAddress, ConnectIsTheOnlyCommand) {
    Build();
    EXPECT_FALSE(panel->HandleCommand("cmd_other"));
    EXPECT_FALSE(panel->HandleCommand("connect"));
    EXPECT_THAT(notification.values, IsEmpty());
}

TEST_F(PanelAddress, IsKnownOnlyOnceThePanelIsSetUp) {
    purse = std::make_unique<host_runtime::Purse>(KESTREL_PLUGIN_FOLDER);
    eDynamicGlass* made = nullptr;
    factory->CreateSourceGUI(purse.get(), &parent, settings, &notification, "source", &made);
    panel.reset(made);
    EXPECT_EQ(Address(), "");
    EXPECT_FALSE(panel->HandleCommand("cmd_connect"));
    panel->SetUp();
    EXPECT_TRUE(panel->HandleCommand("cmd_connect"));
}

TEST_F(PanelAddress, IsTakenWithoutBlanksAtItsEnds) {
    Build();
    Type("  127.0.0.9\t");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
}

TEST_F(PanelAddress, OfAnotherSourceIsRefusedWithTheAlert) {
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

TEST_F(PanelAddress, OfAnotherSourceIsRefusedInEveryForm) {
    Activate("other", "127.0.0.3");
    Build();
    for (const char* form : {"ws://127.0.0.3", "127.0.0.3:9001", "ws://127.0.0.3:9001/", "127.0.0.3/"}) {
        Type(form);
        PressConnect();
        ExpectRefused(kAddress);
    }
    EXPECT_THAT(notification.values, IsEmpty());
}

TEST_F(PanelAddress, RefusedOnceIsRefusedAgain) {
    Activate("other", "127.0.0.3");
    Build();
    for (int round = 0; round < 3; ++round) {
        Type("127.0.0.3");
        PressConnect();
        ExpectRefused(kAddress);
    }
}

TEST_F(PanelAddress, RefusedLeavesAnEmptyOneEmpty) {
    settings.Erase("kestrel_ip_address");
    Activate("other", "127.0.0.3");
    Build();
    Type("127.0.0.3");
    PressConnect();
    ExpectRefused("");
}

TEST_F(PanelAddress, AlreadyShownIsNotCheckedAndOnlyNotifies) {
    Activate("other", kAddress);
    Build();
    PressConnect();
    PressConnect();
    EXPECT_THAT(notification.values, ElementsAre(1U, 1U));
    EXPECT_EQ(SettingsAddress(), kAddress);
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

// The check counts every source, the panel's own too.
TEST_F(PanelAddress, OfItsOwnRunningSourceInAnotherFormIsRefused) {
    Activate("source");
    Build();
    Type("ws://127.0.0.2/");
    PressConnect();
    ExpectRefused(kAddress);
}

TEST_F(PanelAddress, AcceptedBeforeIsTheOneToFallBackTo) {
    Activate("other", "127.0.0.3");
    Build();
    Type("127.0.0.9");
    PressConnect();
    Type("127.0.0.3");
    PressConnect();
    ExpectRefused("127.0.0.9");
}

TEST_F(PanelAddress, MayBeEmpty) {
    Activate("other", "127.0.0.3");
    Build();
    Type("");
    PressConnect();
    EXPECT_EQ(SettingsAddress(), "");
    EXPECT_THAT(notification.values, ElementsAre(1U));
    EXPECT_THAT(panel->TakeAlerts(), IsEmpty());
}

TEST_F(PanelAddress, IsAcceptedUncheckedOnceTheFactoryIsGone) {
    Activate("other", "127.0.0.3");
    Build();
    EndFactory();
    Type("127.0.0.3");
    PressConnect();
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

}  // namespace
