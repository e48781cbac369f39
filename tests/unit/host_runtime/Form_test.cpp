// A panel's views as rows for a front end, whatever the layout.
#include "host_runtime/ui/Form.h"

#include <gtest/gtest.h>

#include <memory>

#include "host/ui/eDynamicGlass.h"
#include "host/ui/ePhoenix.h"
#include "host/ui/eView.h"
#include "host_runtime/ui/Purse.h"
#include "host_runtime/ui/XmlRecord.h"

namespace host_runtime {
namespace {

std::unique_ptr<eView> MakeViews(const std::string& xml) {
    zRecord record;
    EXPECT_EQ(ReadXmlRecord(xml, record), kStatusOk) << xml;
    eView* view = nullptr;
    ePhoenix::NewGUIFromXMLRecord(nullptr, *record.Child(0), &view);
    return std::unique_ptr<eView>(view);
}

// One word for each row: its part, depth, caption and value.
std::vector<std::string> Summary(const std::string& xml) {
    const auto views = MakeViews(xml);
    constexpr const char* kParts[] = {"text", "value", "field", "slider", "button", "group"};
    std::vector<std::string> all;
    for (const FormRow& row : ReadForm(*views)) {
        all.push_back(std::string(kParts[static_cast<int>(row.part)]) + std::to_string(row.depth) + " " +
                      row.caption + "=" + row.value);
    }
    return all;
}

using Rows = std::vector<std::string>;

TEST(Form, ALabelNamesTheViewThatFollows) {
    EXPECT_EQ(Summary(R"(<view><label titl="A"/><edit var="a" text="1"/><label titl="B"/>
                         <label var="b" titl="2"/><label titl="C"/><slider var="c" valu="3"/></view>)"),
              (Rows{"field0 A=1", "value0 B=2", "slider0 C=3"}));
}

TEST(Form, ALabelThatNamesNothingIsText) {
    EXPECT_EQ(Summary(R"(<view><label titl="A"/><label titl="B"/><button titl="C"/>
                         <label titl="D"/><group><edit var="e" text="5"/></group><label titl="F"/></view>)"),
              (Rows{"text0 =A", "text0 =B", "button0 C=", "text0 =D", "field0 =5", "text0 =F"}));
}

TEST(Form, ALabelNamesNothingInAnotherGroup) {
    EXPECT_EQ(Summary(R"(<view><group><label titl="A"/></group><edit var="b" text="1"/></view>)"),
              (Rows{"text0 =A", "field0 =1"}));
}

TEST(Form, AnOwnTitleComesBeforeALabel) {
    EXPECT_EQ(Summary(R"(<view><label titl="A"/><edit var="b" titl="B" text="1"/></view>)"),
              (Rows{"text0 =A", "field0 B=1"}));
}

TEST(Form, GroupsWithATitleAreHeadings) {
    EXPECT_EQ(Summary(R"(<view titl="V"><group titl="G"><label titl="A"/><edit text="1"/></group>
                         <group><label titl="B"/><edit text="2"/></group></view>)"),
              (Rows{"group0 V=", "group1 G=", "field2 A=1", "field1 B=2"}));
}

TEST(Form, UnknownElementsAreGroups) {
    EXPECT_EQ(Summary(R"(<anything><carousel><edit text="1"/></carousel><video/></anything>)"),
              (Rows{"field0 =1"}));
}

TEST(Form, TextsAreTranslatedButNotWhatWasTyped) {
    EXPECT_EQ(Summary(R"(<view><label titl="p_kestrel_status"/><label var="s" titl="p_connected"/>
                         <button titl="p_kestrel_connect"/><edit text="p_connected"/></view>)"),
              (Rows{"value0 Status=Connected", "button0 Connect=", "field0 =p_connected"}));
}

TEST(Form, OfNoViewsIsEmpty) {
    eView bare{zRecord()};
    EXPECT_TRUE(ReadForm(bare).empty());
    EXPECT_TRUE(Summary("<view/>").empty());
    EXPECT_TRUE(Summary("<label/>").empty()) << "a label without a text shows nothing";
}

TEST(Form, OfTheShippedLayoutHasAFieldAButtonAndTwoLabels) {
    PluginResources resources(KESTREL_PLUGIN_FOLDER);
    zRecord layout;
    ASSERT_EQ(resources.ReadPluginXMLFile(layout, "kestrel_gui.xml", "Sources\\Kestrel", ""), kStatusOk);
    eView* made = nullptr;
    ASSERT_EQ(ePhoenix::NewGUIFromXMLRecord(nullptr, *layout.Child(0), &made), kStatusOk);
    const std::unique_ptr<eView> views(made);
    const auto rows = ReadForm(*views);
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0].part, FormPart::Field);
    EXPECT_EQ(rows[0].variable, "ip_addr");
    EXPECT_EQ(rows[0].caption, "Address of the phone");
    EXPECT_EQ(rows[1].part, FormPart::Button);
    EXPECT_EQ(rows[1].command, "cmd_connect");
    EXPECT_EQ(rows[2].variable, "kestrel_connectionstatus_text");
    EXPECT_EQ(rows[2].value, "Not connected");
    EXPECT_EQ(rows[3].variable, "kestrel_datarate_text");
    EXPECT_EQ(rows[3].value, "");
}

class DrivenForm : public testing::Test {
protected:
    FormRow Row(std::size_t index) { return ReadForm(*views)[index]; }

    std::unique_ptr<eView> views = MakeViews(R"(<view><edit var="a" text="old" command="cmd_a"/>
        <slider var="s" valu="0"/><button titl="B" command="cmd_b"/><button titl="dead"/></view>)");
    eDynamicGlass glass{nullptr, views.get()};
};

TEST_F(DrivenForm, TakesWhatIsTypedAndTellsNobody) {
    glass.AddCommand("cmd_a", [] { FAIL(); });
    TypeInto(Row(0), "new");
    EXPECT_EQ(Row(0).value, "new");
}

TEST_F(DrivenForm, SlidersTakeFiniteNumbers) {
    EXPECT_TRUE(MoveSlider(Row(1), glass, "0.25"));
    EXPECT_EQ(Row(1).value, "0.25");
    for (const char* text : {"", "x", "1x", "nan", "inf", " 1"})
        EXPECT_FALSE(MoveSlider(Row(1), glass, text)) << text;
    EXPECT_EQ(Row(1).value, "0.25");
}

TEST_F(DrivenForm, ButtonsAndCommittedFieldsSendTheirCommand) {
    std::string sent;
    glass.AddCommand("cmd_a", [&sent] { sent += "a"; });
    glass.AddCommand("cmd_b", [&sent] { sent += "b"; });
    EXPECT_TRUE(SendCommand(Row(2), glass));
    EXPECT_TRUE(SendCommand(Row(0), glass));
    EXPECT_EQ(sent, "ba");
    EXPECT_FALSE(SendCommand(Row(3), glass)) << "it has no command";
    glass.RemoveHandlers();
    EXPECT_FALSE(SendCommand(Row(2), glass)) << "nobody knows it";
}

}  // namespace
}  // namespace host_runtime
