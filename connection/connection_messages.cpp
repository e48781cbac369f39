#include "connection/connection_messages.h"

#include <nlohmann/json.hpp>

namespace connection_messages {
namespace {

nlohmann::json Message(const char* action, const Addressing& addressing) {
    return {{"action", action},
            {"sessionGuid", addressing.sessionGuid},
            {"peersIdentifier", addressing.peersIdentifier}};
}

std::string Description(const char* action, const Addressing& addressing, const char* sdp, const char* type) {
    nlohmann::json message = Message(action, addressing);
    message["sdp"] = sdp;
    message["type"] = type;
    return message.dump();
}

}  // namespace

std::string Offer(const Addressing& addressing, const char* sdp, const char* type) {
    return Description("masterMadeOffer", addressing, sdp, type);
}

std::string Answer(const Addressing& addressing, const char* sdp, const char* type) {
    return Description("createdAnswer", addressing, sdp, type);
}

std::string Candidate(const Addressing& addressing, const char* sdp, const char* sdpMid,
                      const char* sdpMLineIndex) {
    nlohmann::json message = Message("ice", addressing);
    message["sdp"] = sdp;
    message["sdpMid"] = sdpMid;
    message["sdpMLineIndex"] = sdpMLineIndex;
    return message.dump();
}

}  // namespace connection_messages
