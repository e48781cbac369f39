// The names under which a phone appears in the network.
#pragma once

#include <string>

namespace petrel {

// A label of at most 63 bytes (RFC 6763 section 4.1.1), cut between characters.
std::string ServiceNameOf(const std::string& userName);

// "petrel-192-168-1-20" for 192.168.1.20: one host for each phone, since one machine may be several.
std::string HostNameOf(const std::string& ipv4Address);

}  // namespace petrel
