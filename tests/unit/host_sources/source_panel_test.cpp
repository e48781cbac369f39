// The panel of a source as the host keeps it: what it reads from the labels, and when it makes a new one.
#include "host_runtime/sources/SourcePanel.h"

#include <filesystem>

#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Purse.h"
#include "tests/unit/host_sources/SourceListFixture.h"

namespace host_runtime {
namespace {

class SourcePanelTest : public tests::SourceListFixture {
protected:
    void Open(const std::shared_ptr<Source>& source) {
        panel = SourcePanel::Open(*plugin, purse, list, source);
        ASSERT_TRUE(panel);
        Settle();
    }
    void Show(const char* variable, const char* title) {
        panel->Views().FindVariable(variable)->SetField(FourCC("titl"), title);
    }
    void ShowRate(const char* title) { Show("kestrel_datarate_text", title); }
    std::string Field() {
        return panel->Views().FindVariable("ip_addr")->Fields().AsCString(FourCC("text"), "?");
    }
    void Connect(const char* address) {
        panel->Views().FindVariable("ip_addr")->SetField(FourCC("text"), address);
        ASSERT_TRUE(panel->Glass().HandleCommand("cmd_connect"));
    }
    // How many panels the plug-in made since it was asked last.
    long MadeAgain() {
        time.RunDue();
        const auto calls = factory->TakeCalls();
        return std::count_if(calls.begin(), calls.end(),
                             [](const std::string& call) { return call.starts_with("CreateSourceGUI"); });
    }

    Purse purse{std::filesystem::path()};
    std::unique_ptr<SourcePanel> panel;
};

TEST_F(SourcePanelTest, IsMissingWhenThePluginOffersNone) {
    factory->offersPanel = false;
    EXPECT_FALSE(SourcePanel::Open(*plugin, purse, list, list->Add("10.0.0.1")));
}

TEST_F(SourcePanelTest, SaysItsStatusTranslated) {
    Open(list->Add("10.0.0.1"));
    EXPECT_EQ(panel->Status(), "Not connected");
    Show("kestrel_connectionstatus_text", "p_connected");
    EXPECT_EQ(panel->Status(), "Connected");
    Show("kestrel_connectionstatus_text", "Something else");
    EXPECT_EQ(panel->Status(), "Something else");
}

TEST_F(SourcePanelTest, SaysTheDataRateAsANumber) {
    Open(list->Add("10.0.0.1"));
    ShowRate("10.0 Mbits");
    EXPECT_EQ(panel->MegabitsPerSecond(), 10.0);
    ShowRate("0.4 Mbits");
    EXPECT_EQ(panel->MegabitsPerSecond(), 0.4);
    for (const char* text : {"", "-", "Mbits", " Mbits", "10.0", "10.0 Mbit", "10.0 Mbits ", "x Mbits"}) {
        ShowRate(text);
        EXPECT_FALSE(panel->MegabitsPerSecond()) << text;
    }
}

TEST_F(SourcePanelTest, SaysNothingOfLabelsThatItHasNot) {
    Open(list->Add("10.0.0.1"));
    while (!panel->Views().Children().empty())
        panel->Views().RemoveChildView(panel->Views().Children().front().get());
    EXPECT_FALSE(panel->Status());
    EXPECT_FALSE(panel->MegabitsPerSecond());
}

TEST_F(SourcePanelTest, AnAcceptedAddressReachesTheListInALaterTurn) {
    const auto source = list->Add("10.0.0.1");
    Open(source);
    Connect("10.0.0.2");
    EXPECT_EQ(source->Address(), "10.0.0.1");
    time.RunDue();
    EXPECT_EQ(source->Address(), "10.0.0.2");
    EXPECT_EQ(factory->Entries().at(source->Identifier()).url, "10.0.0.2");
    EXPECT_EQ(store.Sources()[0].settings.AsCString("kestrel_ip_address", ""), std::string("10.0.0.2"));
}

TEST_F(SourcePanelTest, StaysWhenItsOwnAddressIsAccepted) {
    Open(list->Add("10.0.0.1"));
    eDynamicGlass* const before = &panel->Glass();
    Connect("10.0.0.2");
    EXPECT_EQ(MadeAgain(), 0);
    Connect("10.0.0.2");
    EXPECT_EQ(MadeAgain(), 0);
    EXPECT_EQ(&panel->Glass(), before);
}

TEST_F(SourcePanelTest, BeginsAnewWhenSomethingElseChangedTheAddress) {
    const auto source = list->Add("10.0.0.1");
    Open(source);
    ASSERT_TRUE(list->ChangeAddress(source->Identifier(), "10.0.0.2"));
    EXPECT_EQ(MadeAgain(), 1);
    EXPECT_EQ(Field(), "10.0.0.2");
    Connect("10.0.0.2");
    EXPECT_TRUE(panel->Glass().TakeAlerts().empty()) << "its own address is no other source's";
}

TEST_F(SourcePanelTest, BeginsAnewWhenItsSourceIsDisconnected) {
    Open(list->Add("10.0.0.1"));
    Show("kestrel_connectionstatus_text", "p_connected");
    Connect("");
    EXPECT_EQ(MadeAgain(), 1);
    EXPECT_EQ(panel->Status(), "Not connected") << "the old one knows nothing of it";
}

TEST_F(SourcePanelTest, BeginsAnewWhenItsPhoneIsGivenUp) {
    list->PhoneDiscovered({"PHONE", "10.0.0.1", "9001", "Camera"});
    time.RunDue();
    Open(list->ActivatePhone("PHONE"));
    Show("kestrel_connectionstatus_text", "p_connected");
    list->PhoneLost("PHONE");
    time.AdvanceBy(SourceList::kLostGraceUs);
    EXPECT_EQ(panel->Status(), "Not connected");
}

TEST_F(SourcePanelTest, FollowsADiscoveredPhoneToItsNewAddress) {
    list->PhoneDiscovered({"PHONE", "10.0.0.1", "9001", "Camera"});
    time.RunDue();
    Open(list->ActivatePhone("PHONE"));
    list->PhoneDiscovered({"PHONE", "10.0.0.2", "9001", "Camera"});
    time.RunDue();
    EXPECT_EQ(Field(), "10.0.0.2:9001");
}

TEST_F(SourcePanelTest, ANewOneStillShowsTheAlertsOfTheOld) {
    const auto source = list->Add("10.0.0.1");
    ASSERT_TRUE(list->Add("10.0.0.9"));
    Open(source);
    Connect("10.0.0.9");
    ASSERT_TRUE(list->ChangeAddress(source->Identifier(), "10.0.0.2"));
    EXPECT_EQ(MadeAgain(), 1);
    EXPECT_EQ(panel->Glass().TakeAlerts().size(), 1U);
}

TEST_F(SourcePanelTest, StaysWhenNoNewOneCanBeMade) {
    const auto source = list->Add("10.0.0.1");
    Open(source);
    factory->offersPanel = false;
    ASSERT_TRUE(list->ChangeAddress(source->Identifier(), "10.0.0.2"));
    time.RunDue();
    EXPECT_EQ(Field(), "10.0.0.1");
}

TEST_F(SourcePanelTest, MayEndBeforeWhatItQueued) {
    const auto source = list->Add("10.0.0.1");
    Open(source);
    Connect("10.0.0.2");
    ASSERT_TRUE(list->ChangeAddress(source->Identifier(), "10.0.0.3"));
    panel.reset();
    EXPECT_EQ(MadeAgain(), 0);
    ASSERT_TRUE(list->ChangeAddress(source->Identifier(), "10.0.0.4")) << "nobody listens any more";
}

TEST_F(SourcePanelTest, MayOutliveItsList) {
    const auto source = list->Add("10.0.0.1");
    Open(source);
    EndList();
    Connect("10.0.0.2");
    time.RunDue();
    EXPECT_EQ(panel->Shown(), source);
    panel.reset();
    MakeList();
}

}  // namespace
}  // namespace host_runtime
