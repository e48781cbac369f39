// One service that Avahi's browser sighted, and what it is resolved to. Lives on Avahi's thread.
#pragma once

#include <avahi-client/lookup.h>

#include <functional>
#include <optional>

#include "host_runtime/discovery/ServiceBrowser.h"

namespace host_runtime {

class Sighting {
public:
    // The details, or nothing when the service cannot be resolved any more.
    using Changed = std::function<void(const ServiceKey& key, const std::optional<ServiceDetails>& details)>;

    // Resolves at once and for as long as it lives, so that a change of address, or a phone that vanished
    // without a word, is noticed. `toTell` is not called inside.
    Sighting(AvahiClient& avahi, ServiceKey sighted, Changed toTell);
    ~Sighting();
    Sighting(const Sighting&) = delete;
    Sighting& operator=(const Sighting&) = delete;

private:
    struct Answer {
        Sighting* sighting = nullptr;
        AvahiServiceResolver* resolver = nullptr;
        std::optional<ServiceDetails> details;
    };

    static void OnResolved(AvahiServiceResolver* resolver, AvahiIfIndex interface, AvahiProtocol protocol,
                           AvahiResolverEvent event, const char* name, const char* type, const char* domain,
                           const char* hostName, const AvahiAddress* address, std::uint16_t port,
                           AvahiStringList* txt, AvahiLookupResultFlags flags, void* answer);

    void Resolve(Answer& answer, AvahiProtocol addressFamily);
    void Tell();

    AvahiClient& client;
    const ServiceKey key;
    const Changed changed;
    Answer ipv4;
    Answer ipv6;  // asked only when there is no IPv4 address
    bool told = false;
};

}  // namespace host_runtime
