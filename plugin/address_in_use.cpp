#include "plugin/address_in_use.h"

#include <algorithm>

#include "host/core/zSocket.h"
#include "host/core/zURLString.h"
#include "plugin/direct_url.h"

namespace {

// One character is no host and no address.
std::string AtLeastTwoCharacters(bool succeeded, const zString& text) {
    std::string result = text.ToStdString();
    return succeeded && result.size() > 1 ? result : std::string();
}

std::string HostOf(const std::string& url) {
    zString host;
    const bool split = zURLString::Get(url.c_str(), nullptr, &host, nullptr, nullptr);
    return AtLeastTwoCharacters(split, host);
}

}  // namespace

std::string ResolveHost(const std::string& host) {
    zString address;
    const bool found = zSocket::DNSLookup(host.c_str(), address);
    return AtLeastTwoCharacters(found, address);
}

bool IsAddressInUse(const std::string& address, const std::vector<std::string>& sessionUrls,
                    const HostResolver& resolve) {
    const std::string url = DirectUrl(address);
    const std::string host = HostOf(url);
    const auto sameHost = [&](const std::string& sessionUrl) {
        return sessionUrl == url || (!host.empty() && HostOf(sessionUrl) == host);
    };
    if (std::any_of(sessionUrls.begin(), sessionUrls.end(), sameHost)) return true;

    const std::string resolved = host.empty() ? std::string() : resolve(host);
    if (resolved.empty()) return false;
    return std::any_of(sessionUrls.begin(), sessionUrls.end(), [&](const std::string& sessionUrl) {
        const std::string sessionHost = HostOf(sessionUrl);
        return !sessionHost.empty() && resolve(sessionHost) == resolved;
    });
}
