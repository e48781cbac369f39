// What network discovery knows of a phone, and who wants to know it.
#pragma once

#include <string>

namespace host_runtime {

struct DiscoveredPhone {
    std::string peerIdentifier;
    std::string host;  // an IPv4 address or a name
    std::string port;  // as text; may be empty
    std::string name;

    bool operator==(const DiscoveredPhone&) const = default;
};

// [main-thread] throughout.
class PhoneListener {
public:
    virtual ~PhoneListener() = default;

    // A phone is there, or is still there, or is there under another address or name. Nothing in it has
    // been checked: it stands as it came from the network.
    virtual void PhoneDiscovered(const DiscoveredPhone& phone) = 0;
    // No longer seen.
    virtual void PhoneLost(const std::string& peerIdentifier) = 0;
};

}  // namespace host_runtime
