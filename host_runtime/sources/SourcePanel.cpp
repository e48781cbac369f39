#include "host_runtime/sources/SourcePanel.h"

#include "host/core/zThread.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "host_runtime/sources/SourceList.h"

namespace host_runtime {
namespace {

constexpr std::uint32_t kAddressAccepted = 1;

}  // namespace

std::unique_ptr<SourcePanel> SourcePanel::Open(SourcePlugin& plugin, ePurse& purse,
                                               const std::shared_ptr<SourceList>& list,
                                               const std::shared_ptr<Source>& source) {
    std::unique_ptr<SourcePanel> panel(new SourcePanel(list, source));
    panel->glass.reset(plugin.CreatePanel(&purse, panel->views.get(), source->Settings(),
                                          &panel->notification, source->Identifier()));
    if (!panel->glass) return nullptr;
    panel->glass->SetUp();
    return panel;
}

SourcePanel::SourcePanel(const std::shared_ptr<SourceList>& list, std::shared_ptr<Source> shownSource)
    : source(std::move(shownSource)),
      notification(list, *source),
      views(std::make_unique<eView>(zRecord())) {}

SourcePanel::~SourcePanel() = default;

void SourcePanel::Notification::Notify(std::uint32_t value) {
    if (value != kAddressAccepted) return;
    zThread::ExecuteOnMainThread([target = list, identifier = source.Identifier()] {
        if (const auto found = target.lock()) found->SettingsAccepted(identifier);
    });
}

}  // namespace host_runtime
