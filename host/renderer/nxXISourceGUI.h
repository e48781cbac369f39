#pragma once

#include "host/core/xIUnknown.h"
#include "host/core/zRecord.h"

class eDynamicGlass;
class ePurse;
class eView;
class nxHostNotification;

// Lets the host ask for the settings panel of a source.
class nxXISourceGUI : public xIUnknown {
public:
    // [main-thread] Builds the panel's views under `parentView` and stores the panel in `*outPanel`; the
    // host owns it from then on, calls its SetUp() and destroys it before the factory. `settings` and
    // `notification` must outlive the panel.
    virtual zStatus CreateSourceGUI(ePurse* purse, eView* parentView, zRecord& settings,
                                    nxHostNotification* notification, const char* sourceIdentifier,
                                    eDynamicGlass** outPanel) = 0;
};
