#include "plugin/CreatePanel.h"

#include "host/core/zRecord.h"
#include "host/ui/ePhoenix.h"
#include "host/ui/ePurse.h"
#include "host/ui/eView.h"
#include "panel/nxKestrelGlass.h"

eView* LoadPanelLayout(ePurse* purse) {
    zRecord layout;
    const zStatus status = purse->Resources()->ReadPluginXMLFile(
        layout, "kestrel_gui.xml", "Sources\\Kestrel", "net.brindle.halyard.Kestrel-plugin");
    if (status != kStatusOk || !layout.HasChildren()) return nullptr;

    eView* views = nullptr;
    return ePhoenix::NewGUIFromXMLRecord(purse, *layout.Child(0), &views) == kStatusOk ? views : nullptr;
}

eDynamicGlass* CreatePanel(nxKestrelRenderersFactory& factory, ePurse* purse, eView* views, zRecord& settings,
                           nxHostNotification* notification, const char* sourceIdentifier) {
    return new nxKestrelGlass(factory, purse, views, settings, notification, sourceIdentifier);
}
