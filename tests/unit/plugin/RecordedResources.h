// A host's resources that write down what layout is asked for, and what a panel needs besides.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/core/zRecord.h"
#include "host/renderer/nxHostNotification.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/ePurse.h"
#include "host/ui/eView.h"

class nxKestrelRenderersFactory;

namespace tests {

class RecordedResources final : public ePurse, public eResources {
public:
    eResources* Resources() override { return this; }
    zStatus ReadPluginXMLFile(zRecord& record, const char* fileName, const char* resourceFolder,
                              const char* bundleIdentifier) override {
        asked = {fileName, resourceFolder, bundleIdentifier};
        for (const std::string& element : elements)
            record.AddChild().SetElementName(element);
        return status;
    }

    std::vector<std::string> asked;
    std::vector<std::string> elements = {"view"};  // of the layout
    zStatus status = kStatusOk;
};

// A place for one panel of a factory.
class PanelPlace {
public:
    // Asks for a panel; its views are the children of `parent`.
    zStatus Build(nxKestrelRenderersFactory& factory);
    bool HasPanel() const { return panel != nullptr; }

    RecordedResources resources;
    eView parent{zRecord()};

private:
    class IgnoredNotification final : public nxHostNotification {
    public:
        void Notify(std::uint32_t) override {}
    };

    zRecord settings;
    IgnoredNotification notification;
    std::unique_ptr<eDynamicGlass> panel;
};

}  // namespace tests
