// Construction, interfaces by name, the kind of source, properties, the panel.
#include "plugin/nxKestrelRenderersFactory.h"

#include <cstring>

#include "host/renderer/nxSourceRegistry.h"
#include "host/ui/eDynamicGlass.h"
#include "host/ui/eView.h"
#include "plugin/CreatePanel.h"
#include "plugin/source_description.h"
#include "session/nxWebRtcSession.h"

namespace {

constexpr const char* kChannelsProperty = "NumChannels";

}  // namespace

nxKestrelRenderersFactory::nxKestrelRenderersFactory(nxSourceRegistry* sourceRegistry)
    : registry(sourceRegistry) {
    registry->AddRef();
}

// The registry goes first: nothing that happens while the members go may reach it.
nxKestrelRenderersFactory::~nxKestrelRenderersFactory() {
    registry->Release();
}

zStatus nxKestrelRenderersFactory::QueryInterface(const char* name, void** out) {
    return Concrete_QueryInterface(name, out);
}

std::uint32_t nxKestrelRenderersFactory::AddRef() {
    return Concrete_AddRef();
}

std::uint32_t nxKestrelRenderersFactory::Release() {
    return Concrete_Release();
}

zStatus nxKestrelRenderersFactory::Concrete_QueryInterface(const char* name, void** out) {
    if (name == nullptr) return xCUnknown::Concrete_QueryInterface(name, out);

    void* part = nullptr;
    if (std::strcmp(name, "nxXISourceGUI") == 0) {
        part = static_cast<nxXISourceGUI*>(this);
    } else if (std::strcmp(name, "nxXISourceProperties") == 0) {
        part = static_cast<nxXISourceProperties*>(this);
    } else if (std::strcmp(name, "nxWebRtcRendererXI") == 0) {
        part = static_cast<nxWebRtcRendererXI*>(this);
    } else if (std::strcmp(name, "nxKestrelRendererXI") == 0) {
        part = static_cast<nxKestrelRendererXI*>(this);
    } else {
        return xCUnknown::Concrete_QueryInterface(name, out);
    }
    if (out != nullptr) {
        *out = part;
        AddRef();
    }
    return kStatusOk;
}

void nxKestrelRenderersFactory::GetSourceTypeInfo(nxSourceTypeInfo& info) {
    info.typeIdentifier = kSourceTypeIdentifier;
    info.displayName = SourceTypeName();
    info.canBeAdded = true;
    info.category = kSourceCategory;
}

// A layout that cannot be read leaves a panel without views.
zStatus nxKestrelRenderersFactory::CreateSourceGUI(ePurse* purse, eView* parentView, zRecord& settings,
                                                   nxHostNotification* notification,
                                                   const char* sourceIdentifier, eDynamicGlass** outPanel) {
    eView* const views = LoadPanelLayout(purse);
    parentView->AddChildView(views, eView::kAppend);
    *outPanel = CreatePanel(*this, purse, views, settings, notification, sourceIdentifier);
    return kStatusOk;
}

bool nxKestrelRenderersFactory::HasProperty(const char*, const char* propertyName) {
    return zString::string_equal(propertyName, kChannelsProperty);
}

bool nxKestrelRenderersFactory::GetProperty(const char* sourceIdentifier, const char* propertyName,
                                            zVariable& value) {
    if (!HasProperty(sourceIdentifier, propertyName)) return false;
    value.SetCString(FourCC("valu"), "2");
    return true;
}
