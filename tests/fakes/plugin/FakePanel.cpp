#include "tests/fakes/plugin/FakePanel.h"

#include <string>

#include "host/core/zRecord.h"
#include "host/core/zString.h"
#include "host/renderer/nxHostNotification.h"
#include "host/ui/eView.h"
#include "tests/fakes/plugin/FakeFactory.h"

namespace fakes {
namespace {

constexpr const char* kAddress = "kestrel_ip_address";

void AddView(eView& parent, const char* element, const char* variable, const char* title,
             const char* command) {
    zRecord layout;
    layout.SetElementName(element);
    layout.SetCString("var", variable);
    layout.SetCString("titl", title);
    layout.SetCString("command", command);
    parent.AddChildView(new eView(layout), eView::kAppend);
}

}  // namespace

FakePanel::FakePanel(FakeFactory& fakeFactory, ePurse* panelPurse, eView& parent, zRecord& sourceSettings,
                     nxHostNotification* hostNotification)
    : eDynamicGlass(panelPurse, &parent),
      factory(fakeFactory),
      settings(sourceSettings),
      notification(hostNotification),
      addressField(*this, "ip_addr", 0) {
    AddView(parent, "edit", "ip_addr", "p_kestrel_address", "cmd_connect");
    AddView(parent, "button", "", "p_kestrel_connect", "cmd_connect");
    AddView(parent, "label", "kestrel_connectionstatus_text", "p_disconnected", "");
    AddView(parent, "label", "kestrel_datarate_text", "", "");
}

void FakePanel::SetUp() {
    AddCommand("cmd_connect", [this] { TakeSettings(); });
    ShowSettings();
}

void FakePanel::ShowSettings() {
    addressField.SetString(FourCC("text"), settings.AsCString(kAddress, ""), 0);
}

void FakePanel::TakeSettings() {
    zString typed;
    addressField.AsString(FourCC("text"), typed);
    const std::string address = typed.ToStdString();
    if (!address.empty() && address != settings.AsCString(kAddress, "") &&
        factory.IsAddressInUse(address.c_str())) {
        WindowModalAlert(eDialogOptions(0, "p_kestrel_endpoint_exists", "p_kestrel_endpoint_exists2", false));
        ShowSettings();
        return;
    }
    settings.SetCString(kAddress, address.c_str());
    notification->Notify(1);
}

}  // namespace fakes
