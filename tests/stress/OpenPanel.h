// The settings panel of one source, open, with an operator who types. [main-thread]
#pragma once

#include <memory>
#include <string>

#include "host/renderer/nxHostNotification.h"
#include "host/renderer/nxXISourceGUI.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/ePurse.h"
#include "host/ui/eView.h"

namespace stress {

class OpenPanel {
public:
    OpenPanel(nxXISourceGUI& maker, ePurse& purse, zRecord& settings, const std::string& sourceIdentifier)
        : views(zRecord()) {
        eDynamicGlass* made = nullptr;
        maker.CreateSourceGUI(&purse, &views, settings, &notification, sourceIdentifier.c_str(), &made);
        panel.reset(made);
        panel->SetUp();
    }

    void Type(const std::string& address) {
        if (eView* const field = views.FindVariable("ip_addr"))
            field->SetField(FourCC("text"), address.c_str());
        panel->HandleCommand("cmd_connect");
        panel->TakeAlerts();
    }

private:
    class Ignored final : public nxHostNotification {
    public:
        void Notify(std::uint32_t) override {}
    };

    eView views;
    Ignored notification;
    std::unique_ptr<eDynamicGlass> panel;  // goes first
};

}  // namespace stress
