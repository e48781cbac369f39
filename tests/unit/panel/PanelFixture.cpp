#include "tests/unit/panel/PanelFixture.h"

#include <algorithm>

namespace tests {

using host_runtime::FormPart;
using host_runtime::FormRow;

PanelFixture::PanelFixture() : parent(zRecord()) {
    settings = DirectSettings(kAddress);
}

PanelFixture::~PanelFixture() = default;

void PanelFixture::Build(const char* resourceRoot) {
    purse = std::make_unique<host_runtime::Purse>(resourceRoot);
    eDynamicGlass* made = nullptr;
    nxXISourceGUI* const maker = factory;
    ASSERT_EQ(maker->CreateSourceGUI(purse.get(), &parent, settings, &notification, "source", &made),
              kStatusOk);
    ASSERT_NE(made, nullptr);
    panel.reset(made);
    panel->SetUp();
}

std::string PanelFixture::Shown(const char* variable, zFourCC field) {
    const eView* const view = parent.FindVariable(variable);
    return view != nullptr ? view->Fields().AsCString(field, "nothing") : "no view";
}

void PanelFixture::Overwrite(const char* variable, const char* title) {
    parent.FindVariable(variable)->SetField(FourCC("titl"), title);
}

FormRow PanelFixture::Row(FormPart part) {
    const std::vector<FormRow> rows = host_runtime::ReadForm(parent);
    const auto found =
        std::find_if(rows.begin(), rows.end(), [part](const FormRow& row) { return row.part == part; });
    EXPECT_NE(found, rows.end());
    return found != rows.end() ? *found : FormRow();
}

void PanelFixture::Type(const char* text) {
    host_runtime::TypeInto(Row(FormPart::Field), text);
}

void PanelFixture::PressConnect() {
    ASSERT_TRUE(host_runtime::SendCommand(Row(FormPart::Button), *panel));
}

void PanelFixture::PressEnter() {
    ASSERT_TRUE(host_runtime::SendCommand(Row(FormPart::Field), *panel));
}

std::shared_ptr<fakes::FakeWebSocket> PanelFixture::Connect() {
    auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    return socket;
}

std::shared_ptr<fakes::FakePeerConnection> PanelFixture::ExpectPollAfter(std::int64_t delayMs) {
    auto peer = fakes::FakeWebRtc::LatestPeerConnection();
    time.AdvanceBy(delayMs * kMillisecondUs - 1);
    EXPECT_EQ(peer->OpenStatsRequests(), 0U) << "before " << delayMs << " ms";
    time.AdvanceBy(1);
    EXPECT_EQ(peer->OpenStatsRequests(), 1U) << "after " << delayMs << " ms";
    return peer;
}

void PanelFixture::AnswerAfter(std::int64_t delayMs, std::int64_t timestampUs, std::int64_t bytes) {
    const auto peer = ExpectPollAfter(delayMs);
    Deliver(*peer, timestampUs, bytes);
    time.RunDue();
}

void PanelFixture::Deliver(fakes::FakePeerConnection& peer, std::int64_t timestampUs, std::int64_t bytes) {
    vo_webrtc::voStats stats;
    stats.timestampUs = timestampUs;
    stats.bytesReceived = bytes;
    peer.DeliverStats(stats);
}

}  // namespace tests
