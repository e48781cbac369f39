// Browsing the local network for the service that phones announce, apart from what does it: Avahi in a
// running host, a script in a test.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <string>

namespace host_runtime {

inline constexpr const char* kPhoneServiceType = "_petrel._tcp";
inline constexpr const char* kPeerIdentifierField = "PeerIdentifier";  // of the TXT record

// One sighting of a service. The same service is sighted once for each interface and protocol.
struct ServiceKey {
    int interfaceNumber = 0;
    bool overIpv6 = false;
    std::string name;
    std::string domain;

    std::strong_ordering operator<=>(const ServiceKey&) const = default;
};

// What it was resolved to; texts as they came from the network.
struct ServiceDetails {
    std::string peerIdentifier;  // empty when the TXT record has none
    std::string hostName;
    std::string ipv4Address;  // empty when the host has only IPv6
    std::uint16_t port = 0;
};

// [main-thread] throughout.
class ServiceListener {
public:
    virtual ~ServiceListener() = default;

    // Browsing begins, or begins again after a failure: what was seen before counts no more.
    virtual void BrowsingBegan() = 0;
    // It cannot begin, or has ended, for a reason in a few words; it will begin again by itself.
    virtual void BrowsingFailed(const std::string& reason) = 0;
    // Once resolved, and again with each change.
    virtual void ServiceSeen(const ServiceKey& key, const ServiceDetails& details) = 0;
    // Gone, or no longer to be resolved.
    virtual void ServiceGone(const ServiceKey& key) = 0;
};

class ServiceBrowser {
public:
    virtual ~ServiceBrowser() = default;

    // [main-thread] Once. The listener hears nothing before this returns or after the browser's end.
    virtual void Start(std::weak_ptr<ServiceListener> listener) = 0;
};

}  // namespace host_runtime
