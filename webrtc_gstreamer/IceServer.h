#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace webrtc_gstreamer {

// A STUN or TURN server as the user gave it: a URL of RFC 7064 or RFC 7065 and its credentials.
struct IceServer {
    std::string url;
    std::string username;
    std::string password;
};

struct IceServerUrl {
    std::string scheme;  // stun, stuns, turn or turns
    std::string host;    // a name or an address, IPv6 without brackets
    int port = 0;
    std::string transport;  // udp, tcp or empty
};

// Nothing when it is not such a URL. The default port is filled in.
std::optional<IceServerUrl> ParseIceServerUrl(std::string_view url);

// The form that webrtcbin takes, with `address` in place of the host.
std::string StunUri(const IceServerUrl& url, const std::string& address);
std::string TurnUri(const IceServerUrl& url, const std::string& address, const IceServer& server);

// [any-thread] Begins to look the host up, so that its address is there when it is needed; once per host
// and minute.
void PrepareAddress(const std::string& host);

// [library-thread] The numeric address; empty when the look-up failed or has not answered within a moment,
// so that an absent name server holds up no negotiation.
std::string AddressOf(const std::string& host);

}  // namespace webrtc_gstreamer
