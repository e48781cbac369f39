#pragma once

#include <string>

class zIDGenerator {
public:
    // [any-thread] A random UUID (RFC 4122, version 4): 36 characters, upper-case hexadecimal, hyphens.
    static std::string GenerateUUID();
};
