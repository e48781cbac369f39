#pragma once

#include "host/core/zString.h"

class zURLString {
public:
    // [any-thread] Splits a URL (RFC 3986). Each output may be null. False when the text is not an
    // absolute URL with a host; the outputs are then empty. The port is empty when none is given; a
    // host in brackets is reported without them.
    static bool Get(const char* url, zString* scheme, zString* host, zString* port, zString* path);
};
