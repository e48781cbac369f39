// What the panel is before anybody touches it, and what it answers to the host.
#include <algorithm>

#include "panel/nxKestrelGlass.h"
#include "tests/unit/declarations/DeclaredOrder.h"
#include "tests/unit/panel/PanelFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Panel : public tests::PanelFixture {};

TEST_F(Panel, IsBuiltFromItsLayoutUnderTheParent) {
    Build();
    ASSERT_EQ(parent.Children().size(), 1U);
    EXPECT_EQ(panel->RootView(), parent.Children()[0].get());
    EXPECT_NE(dynamic_cast<nxKestrelGlass*>(panel.get()), nullptr);
}

TEST_F(Panel, IsAppendedBehindOtherViews) {
    parent.AddChildView(new eView(zRecord()), eView::kAppend);
    Build();
    ASSERT_EQ(parent.Children().size(), 2U);
    EXPECT_EQ(panel->RootView(), parent.Children()[1].get());
}

TEST_F(Panel, ShowsTheAddressOfTheSettingsOnceItIsSetUp) {
    Build();
    EXPECT_EQ(Address(), kAddress);
    EXPECT_EQ(SettingsAddress(), kAddress);
    EXPECT_THAT(notification.values, IsEmpty());
}

TEST_F(Panel, ShowsAnEmptyAddressWhenTheSettingsHaveNone) {
    settings.Erase("kestrel_ip_address");
    Build();
    EXPECT_EQ(Address(), "");
}

TEST_F(Panel, ShowsTheSettingsAddressAgainWhenAsked) {
    Build();
    Type("127.0.0.9");
    panel->ShowSettings();
    EXPECT_EQ(Address(), kAddress);
    settings.SetCString("kestrel_ip_address", "127.0.0.8");
    panel->ShowSettings();
    EXPECT_EQ(Address(), "127.0.0.8");
    settings.Erase("kestrel_ip_address");
    panel->ShowSettings();
    EXPECT_EQ(Address(), "");
}

TEST_F(Panel, BeginsDisconnectedWithoutADataRate) {
    Build();
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "");
    time.AdvanceBy(60 * kSecondUs);
    EXPECT_EQ(Status(), "p_disconnected");
    EXPECT_EQ(DataRate(), "");
}

TEST_F(Panel, IsMadeWithoutALayoutToo) {
    Build("/nonexistent");
    EXPECT_THAT(parent.Children(), IsEmpty());
    EXPECT_EQ(panel->RootView(), nullptr);
    panel->ShowSettings();
    Connect();
    time.AdvanceBy(10 * kSecondUs);
    EXPECT_TRUE(panel->HandleCommand("cmd_connect"));
    EXPECT_THAT(notification.values, ElementsAre(1U));
}

TEST_F(Panel, AnswersTheHostAsAPlainPanel) {
    Build();
    EXPECT_FALSE(panel->HasUnsavedChanges());
    EXPECT_FALSE(panel->WantsKeyboard());
    EXPECT_TRUE(panel->CanBecomeActive());
    EXPECT_EQ(panel->PreferredWidth(), 0xFFFFFFFFU);
    EXPECT_EQ(panel->PreferredHeight(), 0xFFFFFFFFU);
    EXPECT_TRUE(panel->State_CloseRequest());
}

TEST_F(Panel, DropsTheReferenceThatItIsGiven) {
    Build();
    auto object = std::make_shared<zObject>();
    const std::weak_ptr<zObject> watched = object;
    panel->ReleaseNotification(std::move(object));
    EXPECT_TRUE(watched.expired());
}

TEST_F(Panel, TheOtherNotificationsOfTheHostDoNothing) {
    Build();
    Type("127.0.0.9");
    const auto jobs = host_runtime::ReadForm(parent);
    panel->WillOpen();
    panel->DidOpen();
    panel->WillClose();
    panel->DidActivate();
    panel->DidDeactivate();
    panel->LayoutChanged();
    panel->SettingsChanged();
    panel->SourceChanged();
    panel->SelectionChanged();
    panel->KeyboardFocusChanged();
    panel->WindowMoved();
    const auto after = host_runtime::ReadForm(parent);
    ASSERT_EQ(after.size(), jobs.size());
    EXPECT_TRUE(std::equal(after.begin(), after.end(), jobs.begin(), [](const auto& one, const auto& other) {
        return one.value == other.value;
    })) << "what was typed is not taken on loss of focus";
    EXPECT_EQ(SettingsAddress(), kAddress);
    EXPECT_THAT(notification.values, IsEmpty());
}

// The binary interface: which slot stands where.
TEST(PanelSlots, AreThoseOfTheHostsPanels) {
    const auto glass = tests::ReadDeclaredClass("host/ui/eGlass.h", "eGlass");
    EXPECT_THAT(
        glass.operations,
        ElementsAre("~", "SetOwnerSash", "HasUnsavedChanges", "WillOpen", "DidOpen", "WillClose",
                    "State_CloseRequest", "CanBecomeActive", "Activate", "DidActivate", "DidDeactivate",
                    "LayoutChanged", "SetUp", "RemoveHandlers", "HandleCommand", "ShowSettings",
                    "TakeSettings", "handle_Default", "SettingsChanged", "ReleaseNotification",
                    "SourceChanged", "SelectionChanged", "WantsKeyboard", "KeyboardFocusChanged",
                    "WindowModalAlert_Response", "WindowModalRequest_Response", "WindowModalCustom_Response",
                    "PreferredWidth", "PopupWindowCustom_Response", "WindowMoved", "SaveWindowInformation",
                    "EmbedIntoView", "CreateView", "PreferredHeight"));
    const auto dynamic = tests::ReadDeclaredClass("host/ui/eDynamicGlass.h", "eDynamicGlass");
    EXPECT_THAT(dynamic.bases, ElementsAre("eGlass"));
    EXPECT_THAT(dynamic.operations, ElementsAre("DynGUI_handle_Slider"));
    const auto panel = tests::ReadDeclaredClass("panel/nxKestrelGlass.h", "nxKestrelGlass");
    ASSERT_FALSE(panel.bases.empty());
    EXPECT_EQ(panel.bases.front(), "eDynamicGlass");
    EXPECT_THAT(panel.operations, IsEmpty()) << "it adds no slot";
}

}  // namespace
