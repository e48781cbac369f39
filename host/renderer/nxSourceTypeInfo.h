// What the host shows for a kind of source.
#pragma once

#include <cstdint>
#include <string>

struct nxSourceTypeInfo {
    std::string typeIdentifier;  // upper-case GUID with hyphens
    std::string displayName;     // localised
    bool canBeAdded = false;
    std::uint32_t category = 0;
};
