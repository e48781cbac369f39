#pragma once

#include "host/core/zString.h"

class zSocket {
public:
    // [any-thread] The first address of `host` as text. Address literals are answered at once, names
    // from a short-lived cache or within a short timeout; needs no turn of the main thread.
    // False, with `address` empty, when there is none.
    static bool DNSLookup(const char* host, zString& address);
};
