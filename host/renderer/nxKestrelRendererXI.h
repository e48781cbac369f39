#pragma once

#include "host/core/xIUnknown.h"
#include "host/core/zRecord.h"

// Tells the plug-in about phones on the local network. All operations on the main thread.
// A discovery record carries the texts "host", "port" and "name"; its first child carries
// "PeerIdentifier". Missing texts read as empty; a record without a peer identifier is ignored.
class nxKestrelRendererXI : public xIUnknown {
public:
    // A phone is there, or is still there; the plug-in announces it to the source registry.
    virtual void PeerDiscovered(zRecord& discovery) = 0;
    // A phone is gone: its sources end at once, so the host waits some time before it says so.
    virtual void PeerLost(zRecord& discovery) = 0;
};
