#pragma once

#include "host/core/xIUnknown.h"

// All operations [any-thread].
class nxAudioControlsXI : public xIUnknown {
public:
    virtual bool IsAudioMuted() = 0;
    virtual void SetAudioMuted(bool muted) = 0;
    virtual bool IsAudioEnabled() = 0;
    // A new source is disabled until the host enables it.
    virtual void SetAudioEnabled(bool enabled) = 0;
};
