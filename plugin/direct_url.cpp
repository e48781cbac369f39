#include "plugin/direct_url.h"

std::string DirectUrl(std::string_view address) {
    constexpr std::string_view kScheme = "ws://";
    std::string url;
    if (!address.starts_with(kScheme)) url = kScheme;
    url += address;
    // Without an address the slash that goes is one of the scheme's.
    const std::size_t colon = url.find(':', kScheme.size());
    if (colon != std::string::npos) url.erase(colon);
    if (url.ends_with('/')) url.pop_back();
    return url + ":9001/";
}
