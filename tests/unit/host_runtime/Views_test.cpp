#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/core/zString.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eGlassView.h"
#include "host/ui/ePatoisManager.h"
#include "host/ui/ePhoenix.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Localisation.h"
#include "host_runtime/ui/XmlRecord.h"

namespace {

constexpr const char* kLayout = R"(<?xml version="1.0"?>
<view>
    <!-- a note -->
    <label titl="p_kestrel_address"/>
    <edit var="ip_addr" text=""/>
    <group><label var="state" titl="p_disconnected"/></group>
</view>)";

std::unique_ptr<eView> MakeViews(const char* xml) {
    zRecord record;
    if (host_runtime::ReadXmlRecord(xml, record) != kStatusOk) return nullptr;
    eView* view = nullptr;
    ePhoenix::NewGUIFromXMLRecord(nullptr, *record.Child(0), &view);
    return std::unique_ptr<eView>(view);
}

class Panel : public testing::Test {
protected:
    std::unique_ptr<eView> views = MakeViews(kLayout);
    eDynamicGlass glass{nullptr, views.get()};
};

TEST(ViewTree, FollowsTheLayout) {
    const auto views = MakeViews(kLayout);
    ASSERT_NE(views, nullptr);
    EXPECT_EQ(views->ElementName(), "view");
    ASSERT_EQ(views->Children().size(), 3U);
    EXPECT_EQ(views->Children()[1]->ElementName(), "edit");
    EXPECT_STREQ(views->Children()[1]->Fields().AsCString("var", ""), "ip_addr");
    EXPECT_EQ(views->Children()[2]->Children().size(), 1U);
}

TEST(ViewTree, LayoutWithoutAnElementMakesNoView) {
    eView* view = reinterpret_cast<eView*>(1);
    EXPECT_NE(ePhoenix::NewGUIFromXMLRecord(nullptr, zRecord(), &view), kStatusOk);
    EXPECT_EQ(view, nullptr);
    zRecord layout;
    layout.SetElementName("view");
    EXPECT_NE(ePhoenix::NewGUIFromXMLRecord(nullptr, layout, nullptr), kStatusOk);
}

TEST(ViewTree, FindsVariablesInEveryDepth) {
    const auto views = MakeViews(kLayout);
    EXPECT_EQ(views->FindVariable("ip_addr"), views->Children()[1].get());
    EXPECT_NE(views->FindVariable("state"), nullptr);
    EXPECT_EQ(views->FindVariable("STATE"), nullptr);
    EXPECT_EQ(views->FindVariable(""), nullptr);
    EXPECT_EQ(views->FindVariable(nullptr), nullptr);
}

TEST(ViewTree, NullChildrenAreHarmless) {
    const auto views = MakeViews(kLayout);
    views->AddChildView(nullptr, eView::kAppend);
    EXPECT_EQ(views->Children().size(), 3U);
    views->RemoveChildView(nullptr);
    EXPECT_EQ(views->Children().size(), 3U);
}

TEST(ViewTree, ChildrenTakeThePositionAskedFor) {
    eView root{zRecord()};
    const auto add = [&root](const char* name, std::int32_t position) {
        zRecord layout;
        layout.SetElementName(name);
        root.AddChildView(new eView(layout), position);
    };
    add("b", eView::kAppend);
    add("d", eView::kAppend);
    add("a", 0);
    add("c", 2);
    add("first", -5);
    std::vector<std::string> names;
    for (const auto& child : root.Children())
        names.push_back(child->ElementName());
    EXPECT_EQ(names, (std::vector<std::string>{"first", "a", "b", "c", "d"}));
    root.RemoveChildView(root.Children()[0].get());
    EXPECT_EQ(root.Children().size(), 4U);
}

TEST_F(Panel, ViewsShowTextsOfTheirVariable) {
    eGlassView label(glass, "state", 0);
    label.SetString(FourCC("titl"), "p_connected", 0);
    EXPECT_STREQ(views->FindVariable("state")->Fields().AsCString("titl", ""), "p_connected");
    label.SetString(FourCC("titl"), nullptr, 0);
    EXPECT_STREQ(views->FindVariable("state")->Fields().AsCString("titl", "?"), "");
}

TEST_F(Panel, EditedTextComesWithoutBlanksAtItsEnds) {
    const eGlassView field(glass, "ip_addr", FourCC("fiEd"));
    zString text;
    views->FindVariable("ip_addr")->SetField("text", " \t192.168.1.20 \r\n");
    EXPECT_TRUE(field.AsString(FourCC("text"), text));
    EXPECT_STREQ(text.Text(), "192.168.1.20");
    views->FindVariable("ip_addr")->SetField("text", "a b");
    EXPECT_TRUE(field.AsString(FourCC("text"), text));
    EXPECT_STREQ(text.Text(), "a b");
    views->FindVariable("ip_addr")->SetField("text", "   ");
    EXPECT_TRUE(field.AsString(FourCC("text"), text));
    EXPECT_STREQ(text.Text(), "");
}

TEST_F(Panel, MissingVariablesAreHarmless) {
    eGlassView missing(glass, "no such view", 0);
    eGlassView nameless(glass, nullptr, 0);
    zString text("before");
    missing.SetString(FourCC("titl"), "text", 0);
    nameless.SetString(FourCC("titl"), "text", 0);
    EXPECT_FALSE(missing.AsString(FourCC("text"), text));
    EXPECT_EQ(text.Text(), nullptr);
}

TEST(PanelWithoutLayout, IsHarmless) {
    eDynamicGlass glass(nullptr, nullptr);
    eGlassView field(glass, "ip_addr", 0);
    zString text;
    field.SetString(FourCC("text"), "1.2.3.4", 2);
    EXPECT_FALSE(field.AsString(FourCC("text"), text));
    glass.DynGUI_handle_Slider("ip_addr", 0.5);
    EXPECT_EQ(glass.CreateView(), nullptr);
    EXPECT_FALSE(glass.HandleCommand("cmd_connect"));
}

TEST(PanelWithoutLayout, FindsItsViewsWhereItIsShown) {
    const auto views = MakeViews(kLayout);
    eDynamicGlass glass(nullptr, nullptr);
    glass.SetOwnerSash(views.get());
    eGlassView(glass, "ip_addr", 0).SetString(FourCC("text"), "1.2.3.4", 0);
    EXPECT_STREQ(views->FindVariable("ip_addr")->Fields().AsCString("text", ""), "1.2.3.4");
}

TEST_F(Panel, SliderMovesTheValueOfItsView) {
    glass.DynGUI_handle_Slider("state", 0.25);
    EXPECT_STREQ(views->FindVariable("state")->Fields().AsCString("valu", ""), "0.25");
}

TEST_F(Panel, CommandsRunTheActionRegisteredLast) {
    std::vector<int> ran;
    glass.AddCommand("cmd_connect", [&ran] { ran.push_back(1); });
    glass.AddCommand("cmd_connect", [&ran] { ran.push_back(2); });
    EXPECT_TRUE(glass.HandleCommand("cmd_connect"));
    EXPECT_EQ(ran, std::vector<int>{2});
}

TEST_F(Panel, UnknownCommandsAreLeftToTheDefault) {
    glass.AddCommand(nullptr, [] { FAIL(); });
    glass.AddCommand("cmd_empty", nullptr);
    EXPECT_FALSE(glass.HandleCommand("cmd_empty"));
    EXPECT_FALSE(glass.HandleCommand("cmd_other"));
    EXPECT_FALSE(glass.HandleCommand(nullptr));
}

TEST_F(Panel, CommandsEndWithTheirHandlers) {
    glass.AddCommand("cmd_connect", [] { FAIL(); });
    glass.RemoveHandlers();
    EXPECT_FALSE(glass.HandleCommand("cmd_connect"));
}

TEST_F(Panel, CommandMayEndItsPanel) {
    auto ending = std::make_unique<eDynamicGlass>(nullptr, views.get());
    auto token = std::make_shared<int>(7);
    int seen = 0;
    ending->AddCommand("cmd_close", [&ending, &seen, token] {
        ending.reset();
        seen = *token;
    });
    EXPECT_TRUE(ending->HandleCommand("cmd_close"));
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(ending, nullptr);
}

TEST_F(Panel, AlertsWaitForWhoeverShowsThem) {
    glass.WindowModalAlert(
        eDialogOptions(0, "p_kestrel_endpoint_exists", "p_kestrel_endpoint_exists2", false));
    const auto alerts = glass.TakeAlerts();
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].messageKey, "p_kestrel_endpoint_exists");
    EXPECT_TRUE(glass.TakeAlerts().empty());
}

TEST_F(Panel, UnshownAlertsAreBoundedTheNewestStay) {
    for (int number = 0; number < 100; ++number)
        glass.WindowModalAlert(eDialogOptions(0, std::to_string(number).c_str(), "", false));
    const auto alerts = glass.TakeAlerts();
    ASSERT_EQ(alerts.size(), 16U);
    EXPECT_EQ(alerts.front().messageKey, "84");
    EXPECT_EQ(alerts.back().messageKey, "99");
}

TEST_F(Panel, BecomesActiveOnlyWhenItCan) {
    class Shy : public eDynamicGlass {
    public:
        using eDynamicGlass::eDynamicGlass;
        bool CanBecomeActive() override { return willing; }
        void DidActivate() override { ++activations; }
        bool willing = false;
        int activations = 0;
    };
    Shy shy(nullptr, nullptr);
    shy.Activate();
    EXPECT_EQ(shy.activations, 0);
    shy.willing = true;
    shy.Activate();
    EXPECT_EQ(shy.activations, 1);
}

TEST(Localisation, KeysBecomeTextsOnlyWhereTheyAreShown) {
    const auto views = MakeViews(kLayout);
    const eView& label = *views->FindVariable("state");
    EXPECT_STREQ(label.Fields().AsCString("titl", ""), "p_disconnected");
    EXPECT_EQ(host_runtime::TextToShow(label, FourCC("titl")), "Not connected");
    EXPECT_EQ(host_runtime::TextToShow(label, FourCC("tool")), "");
}

TEST(Localisation, TypedTextStaysAsItIs) {
    const auto views = MakeViews(kLayout);
    eView& field = *views->FindVariable("ip_addr");
    field.SetField("text", "p_connected");
    EXPECT_EQ(host_runtime::TextToShow(field, FourCC("text")), "p_connected");
}

TEST(Localisation, KnowsTheTextsOfThePanel) {
    for (const char* key :
         {"p_connected", "p_disconnected", "p_kestrel_address", "p_kestrel_connect", "p_kestrel_datarate",
          "p_kestrel_endpoint_exists", "p_kestrel_endpoint_exists2", "p_kestrel_status"}) {
        EXPECT_STRNE(ePatoisManager::Default()->Lookup(key), key);
    }
    EXPECT_STREQ(ePatoisManager::Default()->Lookup("iOS Cam - Petrel"), "iOS Cam - Petrel");
}

TEST(Localisation, UnknownKeyIsItsOwnText) {
    const std::string key = "p_no_such_key";
    EXPECT_EQ(ePatoisManager::Default()->Lookup(key.c_str()), key.c_str());
    EXPECT_EQ(host_runtime::TextToShow("10.0 Mbits"), "10.0 Mbits");
    EXPECT_STREQ(ePatoisManager::Default()->Lookup(nullptr), "");
}

}  // namespace
