#pragma once

#include "host/core/xIUnknown.h"
#include "host/core/zString.h"

class nxXISourcePlugs : public xIUnknown {
public:
    // Assigns the renderer's name to `out` and returns its text, never null.
    virtual const char* PlugName(zString& out) = 0;
    virtual bool IsAvailable() { return true; }
};
