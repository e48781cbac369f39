#include "host_runtime/sources/SourcePanel.h"

#include <charconv>
#include <string_view>

#include "host/core/zThread.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "host_runtime/sources/SourceList.h"
#include "host_runtime/ui/Localisation.h"

namespace host_runtime {
namespace {

constexpr std::uint32_t kAddressAccepted = 1;
constexpr const char* kStatusLabel = "kestrel_connectionstatus_text";
constexpr const char* kDataRateLabel = "kestrel_datarate_text";

// The number at the beginning of "10.0 Mbits".
std::optional<double> MegabitsIn(std::string_view label) {
    double value = 0;
    const auto [end, code] = std::from_chars(label.data(), label.data() + label.size(), value);
    const std::string_view unit(end, static_cast<std::size_t>(label.data() + label.size() - end));
    return code == std::errc() && unit == " Mbits" ? std::optional(value) : std::nullopt;
}

}  // namespace

std::unique_ptr<SourcePanel> SourcePanel::Open(SourcePlugin& plugin, ePurse& purse,
                                               const std::shared_ptr<SourceList>& list,
                                               const std::shared_ptr<Source>& source) {
    std::unique_ptr<SourcePanel> panel(new SourcePanel(plugin, purse, list, source));
    return panel->Make() ? std::move(panel) : nullptr;
}

SourcePanel::SourcePanel(SourcePlugin& pluginToAsk, ePurse& purseToLend,
                         const std::shared_ptr<SourceList>& list, std::shared_ptr<Source> shownSource)
    : plugin(pluginToAsk),
      purse(purseToLend),
      source(std::move(shownSource)),
      notification(*this, list),
      lifetime(std::make_shared<zObject>()) {
    source->SetChangeListener([this] { SourceChanged(); });
}

SourcePanel::~SourcePanel() {
    source->SetChangeListener({});
}

bool SourcePanel::Make() {
    auto newViews = std::make_unique<eView>(zRecord());
    std::unique_ptr<eDynamicGlass> newGlass(
        plugin.CreatePanel(&purse, newViews.get(), source->Settings(), &notification, source->Identifier()));
    if (!newGlass) return false;
    if (glass) {
        for (const eDialogOptions& unseen : glass->TakeAlerts())
            newGlass->WindowModalAlert(unseen);
    }
    glass = std::move(newGlass);  // an old panel ends before its views
    views = std::move(newViews);
    knownAddress = SettingsAddress();
    glass->SetUp();
    return true;
}

// A panel checks what is typed against the address that it knows, and would write that one back. And it goes
// on saying "connected" of a source that the plug-in knows no more.
void SourcePanel::SourceChanged() {
    const bool outdated = SettingsAddress() != knownAddress || !source->VideoRenderer();
    if (!outdated || renewalQueued) return;
    renewalQueued = true;
    zThread::ExecuteOnMainThread(lifetime, 0, {}, [this] {
        renewalQueued = false;
        Make();
    });
}

std::string SourcePanel::SettingsAddress() const {
    return source->Settings().AsCString("kestrel_ip_address", "");
}

std::optional<std::string> SourcePanel::Status() const {
    const eView* label = Label(kStatusLabel);
    return label != nullptr ? std::optional(TextToShow(*label, FourCC("titl"))) : std::nullopt;
}

std::optional<double> SourcePanel::MegabitsPerSecond() const {
    const eView* label = Label(kDataRateLabel);
    return label != nullptr ? MegabitsIn(label->Fields().AsCString("titl", "")) : std::nullopt;
}

const eView* SourcePanel::Label(const char* variable) const {
    return views->FindVariable(variable);
}

void SourcePanel::Notification::Notify(std::uint32_t value) {
    if (value != kAddressAccepted) return;
    panel.knownAddress = panel.SettingsAddress();
    zThread::ExecuteOnMainThread([target = list, identifier = panel.source->Identifier()] {
        if (const auto found = target.lock()) found->SettingsAccepted(identifier);
    });
}

}  // namespace host_runtime
