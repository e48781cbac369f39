#include "apps/petrel/serve/RequestRules.h"

#include <algorithm>

#include "web_server/HttpText.h"

namespace petrel {
namespace {

using web_server::HttpAnswer;
using web_server::HttpFields;
using web_server::HttpRequest;
using web_server::Refused;

constexpr std::string_view kCookie = "petrel=";
constexpr std::size_t kLongestSecret = 128;
constexpr std::size_t kLongestTab = 64;

bool EqualIgnoringCase(std::string_view one, std::string_view other) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

bool IsJson(std::string_view contentType) {
    std::string_view type = contentType.substr(0, contentType.find(';'));
    while (!type.empty() && type.back() == ' ')
        type.remove_suffix(1);
    return EqualIgnoringCase(type, "application/json");
}

bool ComesFromOurPage(const HttpRequest& request) {
    return EqualIgnoringCase(request.Field("origin"), "https://" + std::string(request.Field("host")));
}

}  // namespace

std::optional<HttpAnswer> RefusalByRules(const HttpRequest& request, const MachineNames& machine) {
    if (!IsNameOfMachine(machine, request.Field("host")))
        return Refused(403, "wrong-origin", "This server is not known by that name.");
    if (request.method == "GET" || request.method == "HEAD") return std::nullopt;
    if (request.method != "POST") {
        HttpAnswer refused = Refused(405, "wrong-method", "Only GET, HEAD and POST are served.");
        refused.fields.emplace_back("Allow", "GET, HEAD, POST");
        return refused;
    }
    if (!ComesFromOurPage(request))
        return Refused(403, "wrong-origin", "Only this server's own page may ask for this.");
    if (!IsJson(request.Field("content-type")))
        return Refused(415, "not-json", "Only application/json is taken.");
    return std::nullopt;
}

const HttpFields& SecurityFields() {
    static const HttpFields fields = {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
         "media-src 'self' blob: mediastream:; connect-src 'self'; manifest-src 'self'; base-uri 'none'; "
         "form-action 'none'; frame-ancestors 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Permissions-Policy", "camera=(self), microphone=(self), screen-wake-lock=(self)"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
    };
    return fields;
}

std::string SecretOf(const HttpRequest& request) {
    std::string_view left = request.Field("cookie");
    while (!left.empty()) {
        const std::size_t end = left.find(';');
        std::string_view cookie = left.substr(0, end);
        left = end == std::string_view::npos ? std::string_view() : left.substr(end + 1);
        while (cookie.starts_with(' '))
            cookie.remove_prefix(1);
        if (cookie.starts_with(kCookie) && cookie.size() - kCookie.size() <= kLongestSecret)
            return std::string(cookie.substr(kCookie.size()));
    }
    return {};
}

std::string SecretCookie(const std::string& secret) {
    return std::string(kCookie) + secret + "; Path=/; Secure; HttpOnly; SameSite=Strict; Max-Age=34560000";
}

std::string ClearedSecretCookie() {
    return std::string(kCookie) + "; Path=/; Secure; HttpOnly; SameSite=Strict; Max-Age=0";
}

bool IsTabIdentifier(std::string_view text) {
    return !text.empty() && text.size() <= kLongestTab && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    });
}

}  // namespace petrel
