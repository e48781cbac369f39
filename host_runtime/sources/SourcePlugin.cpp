#include "host_runtime/sources/SourcePlugin.h"

#include <exception>
#include <utility>

#include "host/core/zTraceManager.h"
#include "host/renderer/nxAudioControlsXI.h"
#include "host/renderer/nxKestrelRendererXI.h"
#include "host/renderer/nxRenderer2.h"
#include "host/renderer/nxRendererFactory2.h"
#include "host/renderer/nxVideoControlsXI.h"
#include "host/renderer/nxWebRtcRendererXI.h"
#include "host/renderer/nxXISourceGUI.h"

namespace host_runtime {
namespace {

template <class Call>
void Guarded(const char* operation, Call call) {
    try {
        call();
    } catch (const std::exception& failure) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "halyard: the plug-in failed in %s: %s\n",
                                               operation, failure.what());
    } catch (...) {
        zTraceManager::Default()->TraceMessage(FourCC("note"), "halyard: the plug-in failed in %s\n",
                                               operation);
    }
}

template <class Interface>
HostPointer<Interface> FindInterface(xIUnknown& object, const char* name) {
    void* found = nullptr;
    Guarded("QueryInterface", [&] {
        if (object.QueryInterface(name, &found) != kStatusOk) found = nullptr;
    });
    return HostPointer<Interface>::Adopt(static_cast<Interface*>(found));
}

}  // namespace

SourcePlugin::SourcePlugin(nxRendererFactory2* ownedFactory)
    : factory(HostPointer<nxRendererFactory2>::Adopt(ownedFactory)),
      sessions(FindInterface<nxWebRtcRendererXI>(*ownedFactory, "nxWebRtcRendererXI")),
      discovery(FindInterface<nxKestrelRendererXI>(*ownedFactory, "nxKestrelRendererXI")),
      panels(FindInterface<nxXISourceGUI>(*ownedFactory, "nxXISourceGUI")) {}

SourcePlugin::~SourcePlugin() = default;

zStatus SourcePlugin::ActivateSource(const std::string& identifier, zRecord& settings) {
    zStatus status = kStatusFailed;
    Guarded("ActivateSource", [&] { status = factory->ActivateSource(identifier.c_str(), settings); });
    return status;
}

bool SourcePlugin::NewSource(nxSourceDescription& description, zRecord& settings) {
    bool made = false;
    Guarded("NewSource", [&] {
        factory->NewSource(description, settings);
        made = true;
    });
    return made;
}

void SourcePlugin::ConnectDirect(const std::string& identifier, zRecord& settings) {
    Guarded("ConnectDirect", [&] { factory->ConnectDirect(identifier.c_str(), settings); });
}

std::shared_ptr<nxRenderer2> SourcePlugin::CreateRenderer(const std::string& identifier,
                                                          mdMediaType mediaType,
                                                          nxBufferGroup2* bufferGroup) {
    std::shared_ptr<nxRenderer2> renderer;
    Guarded("CreateRenderer",
            [&] { factory->CreateRenderer(renderer, identifier.c_str(), mediaType, bufferGroup); });
    return renderer;
}

void SourcePlugin::SetSourceTally(const std::string& identifier, std::uint32_t tallyState) {
    Guarded("ForwardToSession", [&] { factory->ForwardToSession(identifier.c_str(), tallyState); });
}

void SourcePlugin::StartSession(const std::string& identifier, const std::string& address) {
    if (!sessions) return;
    // Identifiers are checked at the door, so nothing needs escaping.
    const std::string payload = "{\"sessionGuid\":\"" + identifier + "\"}";
    Guarded("StartSession",
            [&] { sessions->StartSession(identifier.c_str(), payload.c_str(), address.c_str()); });
}

void SourcePlugin::StopSession(const std::string& identifier) {
    if (!sessions) return;
    Guarded("StopSession", [&] { sessions->StopSession(identifier.c_str()); });
}

bool SourcePlugin::IsAddressInUse(const std::string& address) {
    if (!sessions) return false;
    bool inUse = false;
    Guarded("IsAddressInUse", [&] { inUse = sessions->IsAddressInUse(address.c_str()); });
    return inUse;
}

void SourcePlugin::PeerDiscovered(zRecord& discovered) {
    if (!discovery) return;
    Guarded("PeerDiscovered", [&] { discovery->PeerDiscovered(discovered); });
}

void SourcePlugin::PeerLost(zRecord& lost) {
    if (!discovery) return;
    Guarded("PeerLost", [&] { discovery->PeerLost(lost); });
}

eDynamicGlass* SourcePlugin::CreatePanel(ePurse* purse, eView* parent, zRecord& settings,
                                         nxHostNotification* notification, const std::string& identifier) {
    eDynamicGlass* panel = nullptr;
    if (!panels) return nullptr;
    Guarded("CreateSourceGUI", [&] {
        panels->CreateSourceGUI(purse, parent, settings, notification, identifier.c_str(), &panel);
    });
    return panel;
}

void SetAudioEnabled(nxRenderer2& renderer, bool enabled) {
    if (const auto controls = FindInterface<nxAudioControlsXI>(renderer, "nxAudioControlsXI")) {
        Guarded("SetAudioEnabled", [&] { controls->SetAudioEnabled(enabled); });
    }
}

void SetAudioMuted(nxRenderer2& renderer, bool muted) {
    if (const auto controls = FindInterface<nxAudioControlsXI>(renderer, "nxAudioControlsXI")) {
        Guarded("SetAudioMuted", [&] { controls->SetAudioMuted(muted); });
    }
}

void SetVideoMuted(nxRenderer2& renderer, bool muted) {
    if (const auto controls = FindInterface<nxVideoControlsXI>(renderer, "nxVideoControlsXI")) {
        Guarded("SetVideoMuted", [&] { controls->SetVideoMuted(muted); });
    }
}

}  // namespace host_runtime
