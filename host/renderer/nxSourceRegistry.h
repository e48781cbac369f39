// The host's list of sources, as the plug-in sees it. Handed to the plug-in's entry point.
#pragma once

#include <cstdint>

#include "host/core/zRecord.h"
#include "host/core/zRefCount.h"
#include "host/renderer/nxSourceDescription.h"

class nxSourceRegistry : public zRefCount {
public:
    // [main-thread] A source is available. The host keeps copies and reacts later, never inside the call.
    virtual void Announce(const nxSourceDescription& description, const zRecord& settings) = 0;

    // [main-thread] A source went away; only the identifier counts. `flag` is always 1.
    // The host reacts later, never inside the call; unknown and empty identifiers are ignored.
    virtual void Withdraw(const nxSourceDescription& description, std::uint32_t flag) = 0;
};
