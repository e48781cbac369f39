// Addresses as operators type and phones announce them, one per line.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzzers/Harness.h"
#include "host/core/zURLString.h"
#include "host_runtime/network/WebSocketUrl.h"
#include "plugin/address_in_use.h"
#include "plugin/direct_url.h"
#include "session/session_url.h"

namespace {

using fuzzing::Require;

constexpr std::size_t kMostAddresses = 6;

// As the host passes texts, an address ends at its first zero byte.
std::vector<std::string> AddressesIn(std::string_view text) {
    std::vector<std::string> addresses;
    while (addresses.size() < kMostAddresses) {
        const std::size_t end = text.find('\n');
        addresses.emplace_back(std::string(text.substr(0, end)).c_str());
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return addresses;
}

void CheckUrlParts(const std::string& url) {
    zString scheme;
    zString host;
    zString port;
    zString path;
    const bool split = zURLString::Get(url.c_str(), &scheme, &host, &port, &path);
    for (const zString* part : {&scheme, &host, &port, &path}) {
        Require(part->Text() != nullptr, "every part is assigned");
        Require(split || part->ToStdString().empty(), "what is no URL has no parts");
        Require(url.find(part->ToStdString()) != std::string::npos || part == &scheme,
                "parts stand in the URL");
    }
    Require(zURLString::Get(url.c_str(), nullptr, nullptr, nullptr, nullptr) == split, "parts are optional");
    if (!split) return;
    Require(!scheme.ToStdString().empty() && !host.ToStdString().empty(), "a URL has a scheme and a host");
    const std::string digits = port.ToStdString();
    Require(digits.find_first_not_of("0123456789") == std::string::npos, "a port is a number");
    Require(path.ToStdString().empty() || path.ToStdString().front() == '/', "a path is rooted");
}

void CheckSocketUrl(const std::string& url) {
    const auto parsed = host_runtime::ParseWebSocketUrl(url);
    if (!parsed) return;
    Require(!parsed->host.empty() && parsed->port != 0, "an address to dial has a host and a port");
    Require(parsed->target.starts_with('/'), "the target of a request is rooted");
    // They become lines of the handshake.
    for (const std::string& line : {parsed->target, parsed->hostHeader})
        Require(
            std::all_of(line.begin(), line.end(), [](char letter) { return letter > ' ' && letter < 0x7F; }),
            "nothing breaks out of a line of the handshake");
}

std::string DirectUrlByHand(const std::string& address) {
    const std::string whole = address.substr(0, 5) == "ws://" ? address : "ws://" + address;
    std::string kept = "ws://";
    for (std::size_t index = 5; index < whole.size() && whole[index] != ':'; ++index)
        kept += whole[index];
    if (kept.back() == '/') kept.erase(kept.size() - 1);
    return kept + ":9001/";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto addresses = AddressesIn({reinterpret_cast<const char*>(data), size});
    std::vector<std::string> urls;
    for (const std::string& address : addresses) {
        const std::string url = DirectUrl(address);
        Require(url == DirectUrlByHand(address), "a direct URL is the address without its port");
        urls.push_back(SessionUrl(url));
        Require(urls.back() == url || urls.back() == "wss://" + url, "a session opens the direct URL");
        for (const std::string& text : {address, url, SessionUrl(address)}) {
            CheckUrlParts(text);
            CheckSocketUrl(text);
        }
    }

    std::size_t lookups = 0;
    const HostResolver toItself = [&lookups](const std::string& host) {
        Require(!host.empty(), "only hosts are looked up");
        ++lookups;
        return host;
    };
    const HostResolver toNothing = [](const std::string&) { return std::string(); };
    const HostResolver toOne = [](const std::string&) { return std::string("192.0.2.1"); };
    const std::string& asked = addresses.front();
    const std::vector<std::string> others(urls.begin() + 1, urls.end());

    Require(IsAddressInUse(asked, {DirectUrl(asked)}, toNothing), "the same URL is in use");
    Require(!IsAddressInUse(asked, {}, toOne), "without sessions nothing is in use");
    const bool used = IsAddressInUse(asked, others, toNothing);
    Require(IsAddressInUse(asked, others, toItself) == used,
            "hosts that are their own addresses change nothing");
    Require(lookups <= others.size() + 1, "each host is looked up once");
    Require(!used || IsAddressInUse(asked, others, toOne), "a look-up frees no address");
    return 0;
}
