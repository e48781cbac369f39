#pragma once

#include "host/core/xIUnknown.h"
#include "host/core/zVariable.h"

// Named static properties of a source. All operations on the main thread.
class nxXISourceProperties : public xIUnknown {
public:
    virtual bool HasProperty(const char* sourceIdentifier, const char* propertyName) = 0;
    // True with the value as text under "valu"; false leaves `value` alone.
    virtual bool GetProperty(const char* sourceIdentifier, const char* propertyName, zVariable& value) = 0;
    virtual void PropertyChanged() = 0;
};
