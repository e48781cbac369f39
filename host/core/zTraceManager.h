// The host's trace: lines for engineers.
#pragma once

#include "host/core/zFourCC.h"

class zTraceManager {
public:
    static zTraceManager* Default();

    // [any-thread] Writes one formatted text (printf rules) under a kind such as FourCC("note").
    // Foreign text is always an argument, never the format.
    void TraceMessage(zFourCC kind, const char* format, ...) __attribute__((format(printf, 3, 4)));

private:
    zTraceManager() = default;
};
