#include "panel/nxKestrelGlass.h"

#include "host/core/zRecord.h"
#include "host/core/zThread.h"
#include "host/renderer/nxHostNotification.h"
#include "panel/data_rate.h"
#include "support/weak_callback.h"

namespace {

constexpr const char* kAddress = "kestrel_ip_address";
constexpr zFourCC kLabelText = FourCC("titl");
constexpr zFourCC kFieldText = FourCC("text");
constexpr std::uint32_t kLabelFlags = 0;
constexpr std::uint32_t kFieldFlags = 2;
constexpr std::uint32_t kAddressAccepted = 1;

constexpr std::int64_t kFirstPollMs = 100;
constexpr std::int64_t kConnectedPollMs = 500;
constexpr std::int64_t kDisconnectedPollMs = 1250;
constexpr std::int64_t kRefusedPollMs = 3000;

}  // namespace

nxKestrelGlass::nxKestrelGlass(nxKestrelRenderersFactory& panelFactory, ePurse* panelPurse, eView* views,
                               zRecord& sourceSettings, nxHostNotification* hostNotification,
                               const char* panelSourceIdentifier)
    : eDynamicGlass(panelPurse, views),
      settings(sourceSettings),
      notification(hostNotification),
      factory(&panelFactory),
      factoryToken(panelFactory.LifetimeToken()),
      rememberedAddress(SettingsAddress()),
      sourceIdentifier(panelSourceIdentifier != nullptr ? panelSourceIdentifier : ""),
      addressField(*this, "ip_addr", FourCC("fiEd")),
      dataRateLabel(*this, "kestrel_datarate_text", 0),
      statusLabel(*this, "kestrel_connectionstatus_text", 0) {}

void nxKestrelGlass::SetUp() {
    AddCommand("cmd_connect", [this] { TakeSettings(); });  // commands end with the panel
    ShowSettings();
    SchedulePoll(kFirstPollMs);
}

void nxKestrelGlass::ShowSettings() {
    addressField.SetString(kFieldText, SettingsAddress().c_str(), kFieldFlags);
}

void nxKestrelGlass::TakeSettings() {
    zString typed;
    addressField.AsString(kFieldText, typed);
    settings.SetCString(kAddress, typed.Text());
    ApplyAddress();
}

void nxKestrelGlass::ApplyAddress() {
    const std::string address = SettingsAddress();
    if (!address.empty() && address != rememberedAddress && IsUsedByAnotherSource(address)) {
        WindowModalAlert(eDialogOptions(0, "p_kestrel_endpoint_exists", "p_kestrel_endpoint_exists2", false));
        settings.SetCString(kAddress, rememberedAddress.c_str());
        ShowSettings();
        return;
    }
    rememberedAddress = address;
    notification->Notify(kAddressAccepted);
}

nxKestrelRenderersFactory* nxKestrelGlass::Factory() const {
    return factoryToken.expired() ? nullptr : factory;
}

std::string nxKestrelGlass::SettingsAddress() const {
    return settings.AsCString(kAddress, "");
}

bool nxKestrelGlass::IsUsedByAnotherSource(const std::string& address) const {
    nxWebRtcRendererXI* const sources = Factory();
    return sources != nullptr && sources->IsAddressInUse(address.c_str());
}

void nxKestrelGlass::SchedulePoll(std::int64_t delayMs) {
    zThread::ExecuteOnMainThread(lifetimeToken, delayMs * 1000, {}, [this] { Poll(); });
}

// One poll is pending at a time: the answer schedules the next one, or else the refusal does.
void nxKestrelGlass::Poll() {
    // Copies of the handler end on library threads, so they must not keep anything alive.
    auto handler = support::WeakCallback(
        std::weak_ptr<zObject>(lifetimeToken),
        [this](zObject&, const nxWebRtcStats& stats, ConnectionState state) { OnStatistics(stats, state); });
    nxKestrelRenderersFactory* const sources = Factory();
    if (sources != nullptr && sources->WatchStatistics(sourceIdentifier, std::move(handler))) return;

    dataRateLabel.SetString(kLabelText, "", kLabelFlags);
    SchedulePoll(kRefusedPollMs);
}

void nxKestrelGlass::OnStatistics(const nxWebRtcStats& stats, ConnectionState state) {
    if (state != ConnectionState::Connected) {
        ShowStatus(false);
        SchedulePoll(kDisconnectedPollMs);
        return;
    }
    ShowDataRate(stats);
    ShowStatus(true);
    previousStats = stats;
    SchedulePoll(kConnectedPollMs);
}

void nxKestrelGlass::ShowDataRate(const nxWebRtcStats& stats) {
    if (previousStats.timestampUs == 0) {
        dataRateLabel.SetString(kLabelText, "", kLabelFlags);
        return;
    }
    const std::int64_t rate = BytesPerSecond(previousStats, stats);
    if (rate >= 0) dataRateLabel.SetString(kLabelText, DataRateText(rate).c_str(), kLabelFlags);
}

void nxKestrelGlass::ShowStatus(bool nowConnected) {
    if (nowConnected == connected) return;
    connected = nowConnected;
    statusLabel.SetString(kLabelText, connected ? "p_connected" : "p_disconnected", kLabelFlags);
    if (!connected) dataRateLabel.SetString(kLabelText, "-", kLabelFlags);
}
