#include "apps/halyard/PanelText.h"

#include "tests/unit/halyard/PanelBench.h"

namespace halyard {
namespace {

using Lines = std::vector<std::string>;

Lines Drawn(const std::string& layout) {
    PanelBench bench;
    return PanelLines(host_runtime::ReadForm(*bench.Add("", layout).views));
}

TEST(PanelText, ValuesStandBelowEachOther) {
    PanelBench bench;
    BenchPanel& panel = bench.Add("");
    panel.Set("ip_addr", "text", "10.0.0.1");
    panel.Set("state", "titl", "p_connected");
    panel.Set("rate", "titl", "8.1 Mbits");
    EXPECT_EQ(PanelLines(host_runtime::ReadForm(*panel.views)),
              (Lines{"Address of the phone  [10.0.0.1]", "[ Connect ]", "Status                Connected",
                     "Data rate             8.1 Mbits"}));
}

TEST(PanelText, EmptyValuesAreShownEmpty) {
    EXPECT_EQ(Drawn(kPhonePanel), (Lines{"Address of the phone  []", "[ Connect ]",
                                         "Status                Not connected", "Data rate"}));
}

TEST(PanelText, DrawsAnyLayout) {
    EXPECT_EQ(Drawn(R"(<window titl="W"><group titl="G"><slider titl="Level" var="l" valu="0.5"/>
                       <button titl="Go"/></group><label titl="A note"/><label titl="B"/></window>)"),
              (Lines{"W", "  G", "    Level  0.5", "    [ Go ]", "  A note", "  B"}));
    EXPECT_EQ(Drawn(R"(<view><edit text="x"/><label var="y" titl="z"/></view>)"), (Lines{"[x]", "z"}));
    EXPECT_EQ(Drawn("<view/>"), Lines{});
}

TEST(PanelText, CountsCharactersNotBytes) {
    EXPECT_EQ(Drawn("<view><label titl=\"\xC3\xA9\xC3\xA9\"/><edit text=\"1\"/>"
                    "<label titl=\"ab\"/><edit text=\"2\"/></view>"),
              (Lines{"\xC3\xA9\xC3\xA9  [1]", "ab  [2]"}));
}

TEST(PanelText, ControlCharactersDoNotReachTheTerminal) {
    PanelBench bench;
    BenchPanel& panel = bench.Add("");
    panel.Set("ip_addr", "text", "a\x1b[2Jb\nc\xFF");
    EXPECT_EQ(PanelLines(host_runtime::ReadForm(*panel.views))[0],
              "Address of the phone  [a [2Jb c\xEF\xBF\xBD]");
    EXPECT_EQ(RowText(host_runtime::ReadForm(*panel.views)[0]), "Address of the phone: a [2Jb c\xEF\xBF\xBD");
    EXPECT_EQ(AlertText(eDialogOptions(0, "a\nb", "\x1b", false)), "a b  ");
}

TEST(PanelText, ARowByItselfHasItsCaption) {
    PanelBench bench;
    const auto rows = host_runtime::ReadForm(*bench.Add("").views);
    EXPECT_EQ(RowText(rows[1]), "Connect");
    EXPECT_EQ(RowText(rows[2]), "Status: Not connected");
    EXPECT_EQ(RowText(rows[3]), "Data rate:");
    host_runtime::FormRow bare;
    bare.part = host_runtime::FormPart::Value;
    bare.value = "8.1 Mbits";
    EXPECT_EQ(RowText(bare), "8.1 Mbits");
}

TEST(PanelText, AlertsAreTranslated) {
    const std::string text =
        AlertText(eDialogOptions(0, "p_kestrel_endpoint_exists", "p_kestrel_endpoint_exists2", false));
    EXPECT_EQ(text.find("Another source already uses this address. A phone can feed one source only."), 0U)
        << text;
    EXPECT_EQ(AlertText(eDialogOptions(0, "Message", "", false)), "Message");
}

}  // namespace
}  // namespace halyard
