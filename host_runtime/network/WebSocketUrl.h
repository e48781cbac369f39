// The parts of a ws:// or wss:// address.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host_runtime {

struct WebSocketUrl {
    bool secure = false;
    std::string host;  // a name or an address, without brackets
    std::uint16_t port = 0;
    std::string target;      // path and query
    std::string hostHeader;  // the host, with the port when it is not the scheme's own
};

// Nothing when the text cannot be opened: another scheme, no host, a port that is none, a fragment
// (RFC 6455 section 3) or a user name.
std::optional<WebSocketUrl> ParseWebSocketUrl(std::string_view text);

}  // namespace host_runtime
