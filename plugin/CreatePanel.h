#pragma once

class eDynamicGlass;
class ePurse;
class eView;
class nxHostNotification;
class nxKestrelRenderersFactory;
class zRecord;

// The views of the settings panel; null when the layout cannot be read.
eView* LoadPanelLayout(ePurse* purse);

// [main-thread] The settings panel of one source, over views that belong to their parent. The caller owns it.
eDynamicGlass* CreatePanel(nxKestrelRenderersFactory& factory, ePurse* purse, eView* views, zRecord& settings,
                           nxHostNotification* notification, const char* sourceIdentifier);
