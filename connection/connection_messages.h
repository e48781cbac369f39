// The texts that a connection sends: compact JSON objects with sorted keys, all values strings. Texts that
// are not valid UTF-8 raise the JSON library's error.
#pragma once

#include <string>

namespace connection_messages {

// Who a message is from and for.
struct Addressing {
    std::string sessionGuid;
    std::string peersIdentifier;
};

std::string Offer(const Addressing& addressing, const char* sdp, const char* type);
std::string Answer(const Addressing& addressing, const char* sdp, const char* type);
// The line index is sent as text, although received ones are numbers: the phone's protocol wants it so.
std::string Candidate(const Addressing& addressing, const char* sdp, const char* sdpMid,
                      const char* sdpMLineIndex);

}  // namespace connection_messages
