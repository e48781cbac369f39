#include "host_runtime/network/WebSocketUrl.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <charconv>
#include <system_error>

namespace host_runtime {
namespace {

constexpr std::uint16_t kPlainPort = 80;
constexpr std::uint16_t kSecurePort = 443;
constexpr std::size_t kMaximumUrlBytes = 8192;

// Nothing when the digits are no port that can be dialled.
std::optional<std::uint16_t> PortOf(std::string_view digits) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || port == 0) return std::nullopt;
    return port;
}

}  // namespace

std::optional<WebSocketUrl> ParseWebSocketUrl(std::string_view text) {
    if (text.size() > kMaximumUrlBytes) return std::nullopt;
    const auto parsed = boost::urls::parse_uri(boost::urls::string_view(text.data(), text.size()));
    if (!parsed) return std::nullopt;
    const boost::urls::url_view& url = *parsed;

    WebSocketUrl result;
    result.secure = url.scheme_id() == boost::urls::scheme::wss;
    if (!result.secure && url.scheme_id() != boost::urls::scheme::ws) return std::nullopt;
    if (url.has_userinfo() || url.has_fragment()) return std::nullopt;

    result.host = url.host_address();
    if (result.host.empty() || result.host.find('\0') != std::string::npos) return std::nullopt;

    const std::uint16_t ownPort = result.secure ? kSecurePort : kPlainPort;
    const auto digits = url.port();
    const auto port = digits.empty() ? ownPort : PortOf({digits.data(), digits.size()});
    if (!port) return std::nullopt;
    result.port = *port;

    // RFC 3986 section 3.3: after an authority a path is empty or begins with a slash; the parser also
    // takes "host:90a1" for a port and a path.
    const bool isRooted = url.encoded_path().starts_with('/');
    if (!isRooted && !url.encoded_path().empty()) return std::nullopt;
    result.target = url.encoded_target();
    if (!isRooted) result.target.insert(0, 1, '/');
    result.hostHeader = url.encoded_host();
    if (result.port != ownPort) result.hostHeader += ":" + std::to_string(result.port);
    return result;
}

}  // namespace host_runtime
