#include "host/core/zSocket.h"

#include <optional>
#include <string>

#include "host_runtime/core/NameResolver.h"

namespace {

constexpr std::size_t kLongestName = 253;  // RFC 1035, section 2.3.4, without the root's dot

host_runtime::NameResolver& Names() {
    // Never destroyed: look-ups may be asked for while statics go.
    static auto& resolver = *new host_runtime::NameResolver(&host_runtime::ResolveWithSystem,
                                                            host_runtime::NameResolver::Limits());
    return resolver;
}

}  // namespace

bool zSocket::DNSLookup(const char* host, zString& address) {
    address.Assign({});
    const std::string name = host != nullptr ? host : "";
    if (name.empty() || name.size() > kLongestName) return false;
    std::optional<std::string> found = host_runtime::AddressLiteral(name);
    if (!found) found = Names().Lookup(name);
    if (!found) return false;
    address.Assign(*found);
    return true;
}
