// The list of ICE servers, from the text in a join answer to the addresses for the engine.
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "connection/ice_servers.h"
#include "fuzzers/Harness.h"
#include "webrtc_gstreamer/IceServer.h"

namespace {

using fuzzing::Require;

bool IsReadable(const nlohmann::json& list) {
    for (const nlohmann::json& element : list) {
        if (!element.is_object()) return false;
        for (const char* key : {"url", "turnUsername", "turnPassword"})
            if (element.contains(key) && !element[key].is_string()) return false;
    }
    return true;
}

void CheckUrl(const IceServerEntry& entry) {
    const auto url = webrtc_gstreamer::ParseIceServerUrl(entry.url);
    if (!url) return;
    Require(!url->host.empty() && url->host.size() <= 255, "a server has a host");
    Require(url->port > 0 && url->port < 65536, "a server has a port");
    Require(url->transport.empty() || url->transport == "udp" || url->transport == "tcp",
            "transports are known");
    const webrtc_gstreamer::IceServer server = {entry.url, entry.turnUsername, entry.turnPassword};
    const std::string uri = url->scheme.starts_with("turn")
                                ? webrtc_gstreamer::TurnUri(*url, url->host, server)
                                : webrtc_gstreamer::StunUri(*url, url->host);
    // Credentials are escaped: they can neither end the user part nor add a query.
    const auto count = [&uri](char character) { return std::count(uri.begin(), uri.end(), character); };
    Require(count('@') == (url->scheme.starts_with("turn") ? 1 : 0), "credentials stay in their place");
    Require(count('?') == (url->transport.empty() ? 0 : 1), "only the transport makes a query");
    for (const char character : uri)
        Require(character > ' ' && character < 0x7F, "the engine's URI is plain");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<IceServerEntry> entries = ParseIceServers(text);

    const auto list = nlohmann::json::parse(text, nullptr, false);
    if (!list.is_discarded() && IsReadable(list)) {
        Require(entries.size() == list.size(), "every element of a readable list counts");
        std::size_t index = 0;
        for (const nlohmann::json& element : list) {
            const IceServerEntry expected = {element.value("url", ""), element.value("turnUsername", ""),
                                             element.value("turnPassword", "")};
            Require(entries[index++] == expected, "elements are read in order");
        }
    } else {
        const std::vector<IceServerEntry> fallback = {{kFallbackStunUrl, "", ""}};
        Require(entries == fallback, "a list that cannot be read gives the public server alone");
    }
    for (const IceServerEntry& entry : entries)
        CheckUrl(entry);
    return 0;
}
