#pragma once

#include "host/core/xIUnknown.h"

// All operations [any-thread].
class nxVideoControlsXI : public xIUnknown {
public:
    virtual bool IsVideoMuted() = 0;
    virtual void SetVideoMuted(bool muted) = 0;
};
