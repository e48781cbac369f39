// Checked reading of single fields of a session description (RFC 8866).
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "apps/petrel/GstHandles.h"

namespace petrel {

// Null when the text cannot be one.
GstHandle<GstSDPMessage> ParseSdp(const std::string& text);

std::string TextOf(const char* textOrNull);
bool EqualsIgnoringCase(std::string_view left, std::string_view right);
bool IsToken(std::string_view text);  // not empty, RFC 8866 section 9

// One entry of a section's format list with its "rtpmap" and "fmtp".
struct SdpFormat {
    int payloadType = -1;
    std::string encoding;
    int clockRate = 0;
    int channels = 1;
    std::string parameters;
};

// The formats that are described well enough to be used; others are left out.
std::vector<SdpFormat> Formats(const GstSDPMedia* section);
// The value of `key` in "key=value;key=value"; empty when absent.
std::string FormatParameter(std::string_view parameters, std::string_view key);
bool OffersFeedback(const GstSDPMedia* section, int payloadType, std::string_view feedback);
// The identifier under which a header extension (RFC 8285, one-byte form) is offered; -1 when it is not.
int ExtensionIdentifier(const GstSDPMedia* section, std::string_view uri);
// The identifiers in the first bundle group (RFC 9143).
std::set<std::string> BundledMids(const GstSDPMessage* message);

// How to reach a section's transport and how to trust it: ICE (RFC 8839) and DTLS (RFC 8842).
struct Transport {
    std::string iceUser;
    std::string icePassword;
    std::string fingerprint;
    std::string setup;

    // Read from the section, else from the session; nothing when a line is missing or malformed.
    static std::optional<Transport> Read(const GstSDPMessage* message, const GstSDPMedia* section);
    std::string Lines() const;
};

}  // namespace petrel
