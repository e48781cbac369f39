#include "tests/unit/plugin/RecordedResources.h"

#include "plugin/nxKestrelRenderersFactory.h"

zStatus tests::PanelPlace::Build(nxKestrelRenderersFactory& factory) {
    eDynamicGlass* made = nullptr;
    const zStatus status =
        factory.CreateSourceGUI(&resources, &parent, settings, &notification, "source", &made);
    panel.reset(made);
    return status;
}
