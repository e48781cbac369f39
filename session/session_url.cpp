#include "session/session_url.h"

std::string SessionUrl(std::string_view address) {
    const bool plain = address.empty() || static_cast<signed char>(address.front()) <= 5;
    std::string url;
    if (!plain && !address.starts_with("ws://")) url = "wss://";
    url += address;
    return url;
}
