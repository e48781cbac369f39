#include "session/session_url.h"

#include <string_view>

std::string SessionUrl(const char* address) {
    const std::string_view text = address != nullptr ? address : "";
    const bool plain = text.empty() || static_cast<signed char>(text.front()) <= 5;
    std::string url;
    if (!plain && !text.starts_with("ws://")) url = "wss://";
    url += text;
    return url;
}
