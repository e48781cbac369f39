// The plug-in as the host calls it: its factory and the interfaces found on it by name. An exception that
// leaves the plug-in ends only that call and is traced. [main-thread] throughout.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/core/zRecord.h"
#include "host/core/zStatus.h"
#include "host/media/mdMediaType.h"
#include "host/renderer/nxSourceDescription.h"
#include "host_runtime/sources/HostPointer.h"

class eDynamicGlass;
class ePurse;
class eView;
class nxBufferGroup2;
class nxHostNotification;
class nxKestrelRendererXI;
class nxRenderer2;
class nxRendererFactory2;
class nxWebRtcRendererXI;
class nxXISourceGUI;

namespace host_runtime {

class SourcePlugin {
public:
    // Takes over one reference. A missing interface makes the calls that need it do nothing.
    explicit SourcePlugin(nxRendererFactory2* ownedFactory);
    SourcePlugin(const SourcePlugin&) = delete;
    SourcePlugin& operator=(const SourcePlugin&) = delete;
    ~SourcePlugin();

    zStatus ActivateSource(const std::string& identifier, zRecord& settings);
    bool NewSource(nxSourceDescription& description, zRecord& settings);
    void ConnectDirect(const std::string& identifier, zRecord& settings);
    std::shared_ptr<nxRenderer2> CreateRenderer(const std::string& identifier, mdMediaType mediaType,
                                                nxBufferGroup2* bufferGroup);
    void SetSourceTally(const std::string& identifier, std::uint32_t tallyState);

    // Starts the session at once unless it is running.
    void StartSession(const std::string& identifier, const std::string& address);
    void StopSession(const std::string& identifier);
    bool IsAddressInUse(const std::string& address);

    void PeerDiscovered(zRecord& discovery);
    void PeerLost(zRecord& discovery);

    // Null when the plug-in has no panel. The caller owns the panel.
    eDynamicGlass* CreatePanel(ePurse* purse, eView* parent, zRecord& settings,
                               nxHostNotification* notification, const std::string& identifier);

    nxRendererFactory2* Factory() const { return factory.Get(); }

private:
    HostPointer<nxRendererFactory2> factory;
    HostPointer<nxWebRtcRendererXI> sessions;
    HostPointer<nxKestrelRendererXI> discovery;
    HostPointer<nxXISourceGUI> panels;
};

// A renderer's controls, found by name; a renderer without them is left alone. [main-thread]
void SetAudioEnabled(nxRenderer2& renderer, bool enabled);
void SetAudioMuted(nxRenderer2& renderer, bool muted);
void SetVideoMuted(nxRenderer2& renderer, bool muted);

}  // namespace host_runtime
