#include "host_runtime/discovery/Sighting.h"

#include <avahi-common/address.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>

#include <string>
#include <utility>

#include "mdns/NetworkInterfaces.h"

namespace host_runtime {
namespace {

// The keys of a TXT record do not distinguish case, and the first of equal ones counts (RFC 6763
// section 6.4).
std::string PeerIdentifierIn(AvahiStringList* txt) {
    AvahiStringList* const field = avahi_string_list_find(txt, kPeerIdentifierField);
    char* value = nullptr;
    std::size_t size = 0;
    if (field == nullptr || avahi_string_list_get_pair(field, nullptr, &value, &size) < 0) return {};
    std::string text = value != nullptr ? std::string(value, size) : std::string();
    avahi_free(value);
    return text;
}

// Another machine that names a loopback address means itself, not us.
bool LeadsAstray(const std::string& address, int interfaceNumber) {
    return mdns::IsLoopbackAddress(address) && !mdns::IsLoopbackInterface(interfaceNumber);
}

}  // namespace

Sighting::Sighting(AvahiClient& avahi, ServiceKey sighted, Changed toTell)
    : client(avahi), key(std::move(sighted)), changed(std::move(toTell)) {
    Resolve(ipv4, AVAHI_PROTO_INET);
}

Sighting::~Sighting() {
    for (const Answer* answer : {&ipv4, &ipv6}) {
        if (answer->resolver != nullptr) avahi_service_resolver_free(answer->resolver);
    }
}

void Sighting::Resolve(Answer& answer, AvahiProtocol addressFamily) {
    answer.sighting = this;
    answer.resolver = avahi_service_resolver_new(
        &client, key.interfaceNumber, key.overIpv6 ? AVAHI_PROTO_INET6 : AVAHI_PROTO_INET, key.name.c_str(),
        kPhoneServiceType, key.domain.c_str(), addressFamily, AvahiLookupFlags{}, OnResolved, &answer);
}

void Sighting::OnResolved(AvahiServiceResolver*, AvahiIfIndex interface, AvahiProtocol,
                          AvahiResolverEvent event, const char*, const char*, const char*,
                          const char* hostName, const AvahiAddress* address, std::uint16_t port,
                          AvahiStringList* txt, AvahiLookupResultFlags, void* answer) {
    auto& resolved = *static_cast<Answer*>(answer);
    Sighting& self = *resolved.sighting;
    resolved.details.reset();
    if (event == AVAHI_RESOLVER_FOUND) {
        ServiceDetails details;
        details.peerIdentifier = PeerIdentifierIn(txt);
        details.hostName = hostName != nullptr ? hostName : "";
        details.port = port;
        if (address != nullptr && address->proto == AVAHI_PROTO_INET) {
            char text[AVAHI_ADDRESS_STR_MAX] = {};
            details.ipv4Address = avahi_address_snprint(text, sizeof text, address);
        }
        if (!LeadsAstray(details.ipv4Address, interface)) resolved.details = std::move(details);
    } else if (&resolved == &self.ipv4 && self.ipv6.resolver == nullptr) {
        self.Resolve(self.ipv6, AVAHI_PROTO_INET6);
    }
    self.Tell();
}

void Sighting::Tell() {
    const std::optional<ServiceDetails>& best = ipv4.details ? ipv4.details : ipv6.details;
    if (!best && !told) return;
    told = best.has_value();
    changed(key, best);
}

}  // namespace host_runtime
