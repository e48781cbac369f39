// What the panel asks of the host's views: variables, identifiers, fields and flags, in order.
#include "tests/unit/panel/PanelFixture.h"
#include "tests/unit/panel/RecordingGlassView.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::MadeView;
using tests::WrittenText;

constexpr const char* kRate = "kestrel_datarate_text";
constexpr const char* kStatus = "kestrel_connectionstatus_text";
constexpr std::uint32_t kTitle = 0x7469746C;  // "titl"
constexpr std::uint32_t kText = 0x74657874;   // "text"

class PanelViews : public tests::PanelFixture {
protected:
    PanelViews() { tests::Views() = {}; }
    ~PanelViews() override { tests::Views() = {}; }

    static std::vector<WrittenText> TakeWritten() { return std::exchange(tests::Views().written, {}); }
};

TEST_F(PanelViews, AreMadeForThreeVariables) {
    Build();
    EXPECT_THAT(tests::Views().made,
                ElementsAre(MadeView{"ip_addr", 0x66694564}, MadeView{kRate, 0}, MadeView{kStatus, 0}));
}

TEST_F(PanelViews, ShowTheAddressAsText) {
    Build();
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{"ip_addr", kText, kAddress, 2}));
}

TEST_F(PanelViews, AreReadAsText) {
    Build();
    tests::Views().typed = "127.0.0.9";
    panel->TakeSettings();
    EXPECT_THAT(tests::Views().fieldsRead, ElementsAre(kText));
    EXPECT_EQ(SettingsAddress(), "127.0.0.9");
}

// The settings hold a refused address until the alert is out.
TEST_F(PanelViews, ShowTheAcceptedAddressAgainBehindTheAlert) {
    Activate("other", "127.0.0.3");
    Build();
    TakeWritten();
    tests::Views().typed = "127.0.0.3";
    std::vector<std::string> settingsAtAlert;
    tests::Views().onAlert = [&] {
        settingsAtAlert.push_back(SettingsAddress());
        EXPECT_THAT(tests::Views().written, IsEmpty());
    };
    panel->TakeSettings();
    EXPECT_THAT(settingsAtAlert, ElementsAre("127.0.0.3"));
    EXPECT_EQ(SettingsAddress(), kAddress);
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{"ip_addr", kText, kAddress, 2}));
}

TEST_F(PanelViews, ShowLabelsAsTitles) {
    Build();
    Connect();
    TakeWritten();
    AnswerAfter(100, 1'000'000, 0);
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{kRate, kTitle, "", 0},
                                           WrittenText{kStatus, kTitle, "p_connected", 0}));
    AnswerAfter(500, 2'000'000, 1'250'000);
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{kRate, kTitle, "10.0 Mbits", 0}));
    factory->StopSession("source");
    time.AdvanceBy(500 * kMillisecondUs);
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{kStatus, kTitle, "p_disconnected", 0},
                                           WrittenText{kRate, kTitle, "-", 0}));
}

TEST_F(PanelViews, AreClearedWhenStatisticsAreRefused) {
    Build();
    TakeWritten();
    time.AdvanceBy(100 * kMillisecondUs);
    EXPECT_THAT(TakeWritten(), ElementsAre(WrittenText{kRate, kTitle, "", 0}));
}

}  // namespace
