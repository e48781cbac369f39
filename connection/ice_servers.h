// The list of ICE servers that a phone sends with its join answer.
#pragma once

#include <string>
#include <vector>

inline constexpr const char* kFallbackStunUrl = "stun:stun.l.google.com:19302";

struct IceServerEntry {
    std::string url;
    std::string turnUsername;
    std::string turnPassword;
    friend bool operator==(const IceServerEntry&, const IceServerEntry&) = default;
};

// Reads JSON text: the elements of an array, or the member values of an object, in order. A list that was
// read may be empty. Text that cannot be read to the end gives one public STUN server instead.
std::vector<IceServerEntry> ParseIceServers(const std::string& text);
