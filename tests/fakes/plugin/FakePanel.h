// The settings panel of the fake plug-in: an address field, a button, two labels that tests write.
#pragma once

#include "host/ui/eDynamicGlass.h"
#include "host/ui/eGlassView.h"

class nxHostNotification;
class zRecord;

namespace fakes {

class FakeFactory;

class FakePanel final : public eDynamicGlass {
public:
    // Adds its views to `parent`.
    FakePanel(FakeFactory& fakeFactory, ePurse* panelPurse, eView& parent, zRecord& sourceSettings,
              nxHostNotification* hostNotification);

    void SetUp() override;
    void ShowSettings() override;
    // Accepts any address that no source of the factory has; alerts of the others.
    void TakeSettings() override;

private:
    FakeFactory& factory;
    zRecord& settings;
    nxHostNotification* const notification;
    eGlassView addressField;
};

}  // namespace fakes
