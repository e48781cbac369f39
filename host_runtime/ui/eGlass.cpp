#include "host/ui/eGlass.h"

#include <utility>

#include "host/ui/eView.h"

namespace {

constexpr std::size_t kMostAlerts = 16;  // when nobody shows them

}  // namespace

eGlass::eGlass(ePurse* panelPurse, eView* panelRoot) : purse(panelPurse), root(panelRoot) {}

eGlass::~eGlass() = default;

// A panel without a layout of its own looks for its views where it is shown.
void eGlass::SetOwnerSash(eView* sash) {
    if (root == nullptr) root = sash;
}

bool eGlass::State_CloseRequest() {
    return !HasUnsavedChanges();
}

void eGlass::Activate() {
    if (CanBecomeActive()) DidActivate();
}

void eGlass::RemoveHandlers() {
    commands.clear();
}

bool eGlass::HandleCommand(const char* command) {
    const auto found = command != nullptr ? commands.find(command) : commands.end();
    if (found == commands.end()) return handle_Default(command);
    const std::function<void()> action = found->second;  // the action may replace itself or end the panel
    action();
    return true;
}

bool eGlass::handle_Default(const char*) {
    return false;
}

void eGlass::WindowModalAlert_Response(std::uint32_t) {}

void eGlass::WindowModalRequest_Response(std::uint32_t) {}

void eGlass::WindowModalCustom_Response(std::uint32_t) {}

void eGlass::PopupWindowCustom_Response(std::uint32_t) {}

void eGlass::SaveWindowInformation() {}  // this host's panels have no window of their own

void eGlass::EmbedIntoView(eView* parent) {
    SetOwnerSash(parent);
}

eView* eGlass::CreateView() {
    return root;
}

void eGlass::AddCommand(const char* name, std::function<void()> action) {
    if (name != nullptr && action) commands[name] = std::move(action);
}

void eGlass::WindowModalAlert(const eDialogOptions& options) {
    if (alerts.size() == kMostAlerts) alerts.pop_front();
    alerts.push_back(options);
}

std::deque<eDialogOptions> eGlass::TakeAlerts() {
    return std::exchange(alerts, {});
}
