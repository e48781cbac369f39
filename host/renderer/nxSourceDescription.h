// Describes one source to the host.
#pragma once

#include <cstdint>
#include <string>

struct nxSourceDescription {
    std::string identifier;  // a UUID, or the peer identifier of a discovered phone
    std::string displayName;
    std::string typeName;        // localised
    std::string typeIdentifier;  // as in nxSourceTypeInfo
    std::uint32_t kind = 0;
    std::uint32_t category = 0;
};
