#pragma once

#include <functional>
#include <string>
#include <vector>

// The address of a host name as text, empty when there is none.
using HostResolver = std::function<std::string(const std::string& host)>;

// Whether an address leads to the phone of one of these session URLs: by the same URL, the same host or the
// same resolved address. Names are resolved only when nothing else matched.
bool IsAddressInUse(const std::string& address, const std::vector<std::string>& sessionUrls,
                    const HostResolver& resolve);

// The host's look-up.
std::string ResolveHost(const std::string& host);
