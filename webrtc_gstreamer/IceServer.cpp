#include "webrtc_gstreamer/IceServer.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>

namespace webrtc_gstreamer {
namespace {

bool IsUnreserved(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '.' ||
           character == '_' || character == '~';
}

std::string Escaped(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (IsUnreserved(character)) {
            result += character;
            continue;
        }
        const auto value = static_cast<unsigned char>(character);
        result += '%';
        result += kDigits[value / 16];
        result += kDigits[value % 16];
    }
    return result;
}

std::string Bracketed(const std::string& address) {
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

std::string Lowered(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
    }
    return result;
}

// Splits "host", "host:port", "[v6]" or "[v6]:port"; false when it is none of them.
bool SplitHost(std::string_view text, IceServerUrl& url) {
    std::string_view port;
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string_view::npos) return false;
        url.host = text.substr(1, end - 1);
        in6_addr ignored{};
        if (inet_pton(AF_INET6, url.host.c_str(), &ignored) != 1) return false;
        port = text.substr(end + 1);
        if (!port.empty() && !port.starts_with(':')) return false;
        if (!port.empty()) port.remove_prefix(1);
        if (port.empty() && text.size() > end + 1) return false;
    } else {
        const auto colon = text.find(':');
        url.host = text.substr(0, colon);
        for (const char character : url.host) {
            if (!IsUnreserved(character)) return false;
        }
        if (colon != std::string_view::npos) {
            port = text.substr(colon + 1);
            if (port.empty()) return false;
        }
    }
    if (url.host.empty() || url.host.size() > 255) return false;
    if (port.empty()) return true;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), url.port);
    return error == std::errc() && end == port.data() + port.size() && url.port > 0 && url.port < 65536;
}

}  // namespace

std::optional<IceServerUrl> ParseIceServerUrl(std::string_view url) {
    const auto colon = url.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    IceServerUrl result;
    result.scheme = Lowered(url.substr(0, colon));
    const bool secure = result.scheme == "stuns" || result.scheme == "turns";
    const bool relay = result.scheme == "turn" || result.scheme == "turns";
    if (!secure && result.scheme != "stun" && result.scheme != "turn") return std::nullopt;
    result.port = secure ? 5349 : 3478;
    std::string_view rest = url.substr(colon + 1);
    const auto question = rest.find('?');
    if (question != std::string_view::npos) {
        const std::string query = Lowered(rest.substr(question + 1));
        if (!relay || (query != "transport=udp" && query != "transport=tcp")) return std::nullopt;
        result.transport = query.substr(query.size() - 3);
        rest = rest.substr(0, question);
    }
    if (!SplitHost(rest, result)) return std::nullopt;
    return result;
}

std::string StunUri(const IceServerUrl& url, const std::string& address) {
    return "stun://" + Bracketed(address) + ":" + std::to_string(url.port);
}

std::string TurnUri(const IceServerUrl& url, const std::string& address, const IceServer& server) {
    std::string result = url.scheme + "://" + Escaped(server.username) + ":" + Escaped(server.password) +
                         "@" + Bracketed(address) + ":" + std::to_string(url.port);
    if (!url.transport.empty()) result += "?transport=" + url.transport;
    return result;
}

}  // namespace webrtc_gstreamer
