// Root of every host interface. Interfaces are found by name, not by identifier.
#pragma once

#include <cstdint>

#include "host/core/zStatus.h"

class xIUnknown {
public:
    // `name` is compared exactly. On success `*out`, when out is not null, receives the interface with
    // a reference added.
    virtual zStatus QueryInterface(const char* name, void** out) = 0;
    virtual std::uint32_t AddRef() = 0;   // [any-thread] returns the new count
    virtual std::uint32_t Release() = 0;  // [any-thread] the last one destroys the object
    virtual ~xIUnknown() = default;
};
