// Session descriptions (RFC 8866, JSEP RFC 8829): what the library reads of a foreign one, and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {

enum class Direction { SendReceive, SendOnly, ReceiveOnly, Inactive };

struct PayloadFormat {
    int payload = 0;
    std::string encoding;  // as written
    int clockRate = 0;
    std::string encodingParameters;
    // Only parameters and feedback that the engine knows what to do with.
    std::vector<std::string> parameters;
    std::vector<std::string> feedback;
};

struct HeaderExtension {
    int id = 0;
    std::string uri;
};

struct MediaSection {
    std::string kind;  // audio, video or another
    bool rejected = false;
    bool bundleOnly = false;
    bool rtcpMux = false;
    std::string protocol;
    std::string mid;
    Direction direction = Direction::SendReceive;
    // Of the section, else of the session.
    std::string setup;
    std::string iceUfrag;
    std::string icePwd;
    std::string fingerprint;
    std::vector<PayloadFormat> formats;
    std::vector<HeaderExtension> extensions;
    std::vector<std::uint32_t> ssrcs;
    std::vector<std::string> candidates;  // beginning "candidate:"
};

struct SessionDescription {
    std::vector<MediaSection> media;
    std::vector<std::string> bundle;  // mids; the first is the tag
};

struct ParsedDescription {
    std::optional<SessionDescription> description;
    std::string error;  // a sentence, when there is no description
};

// Accepts any text.
ParsedDescription ParseDescription(std::string_view text);

// The same for the engine, written anew from what was read.
SdpMessagePointer ToMessage(const SessionDescription& description);

}  // namespace webrtc_gstreamer
