#include "host_runtime/network/WebSocketUrl.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

namespace host_runtime {
namespace {

constexpr std::uint16_t kPlainPort = 80;
constexpr std::uint16_t kSecurePort = 443;
constexpr std::size_t kMaximumUrlBytes = 8192;

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
    result.port = url.port().empty() ? ownPort : url.port_number();
    if (result.port == 0) return std::nullopt;  // also when the digits do not fit

    result.target = url.encoded_target();
    if (result.target.empty() || result.target.front() != '/') result.target.insert(0, 1, '/');
    result.hostHeader = url.encoded_host();
    if (result.port != ownPort) result.hostHeader += ":" + std::to_string(result.port);
    return result;
}

}  // namespace host_runtime
