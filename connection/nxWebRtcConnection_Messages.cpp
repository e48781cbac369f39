// The signalling messages of a connection, both ways.

#include <cmath>
#include <nlohmann/json.hpp>

#include "connection/connection_messages.h"
#include "connection/nxWebRtcConnection.h"
#include "host/network/cWebSocket.h"

using vo_webrtc::voIceCandidateInterface;
using vo_webrtc::voPeerConnectionInterface;
using vo_webrtc::voPointer;

namespace {

std::string TextOf(const nlohmann::json& message, const char* key) {
    return message.value(key, std::string());
}

// A number, 0 when absent; anything else, a boolean too, raises. The low 32 bits count.
std::int32_t LineIndexOf(const nlohmann::json& message) {
    constexpr const char* kKey = "sdpMLineIndex";
    const auto found = message.find(kKey);
    const bool outOfRange =
        found != message.end() && found->is_number_float() && !(std::fabs(found->get<double>()) < 0x1p63);
    if (outOfRange) return 0;
    return static_cast<std::int32_t>(message.value(kKey, std::int64_t{0}));
}

}  // namespace

void nxWebRtcConnection::OnMessage(const char* text) {
    const nlohmann::json message = nlohmann::json::parse(text != nullptr ? text : "");
    const std::string action = TextOf(message, "action");
    const voPointer<voPeerConnectionInterface> current = CurrentPeerConnection();
    if (!current) return;

    if (action == "createAnswer") {
        const std::string sdp = TextOf(message, "sdp");
        const std::string type = TextOf(message, "type");
        current->SetRemoteDescription(sdp.c_str(), type.c_str());
        current->CreateAnswer();
    } else if (action == "gotAnswer") {
        const std::string sdp = TextOf(message, "sdp");
        const std::string type = TextOf(message, "type");
        current->SetRemoteDescription(sdp.c_str(), type.c_str());
    } else if (action == "ice") {
        const std::string sdp = TextOf(message, "sdp");
        const std::string sdpMid = TextOf(message, "sdpMid");
        const std::int32_t sdpMLineIndex = LineIndexOf(message);
        current->AddIceCandidate(sdp.c_str(), sdpMid.c_str(), sdpMLineIndex);
    }
}

void nxWebRtcConnection::SendOffer(const char* sdp, const char* type) {
    SendText(connection_messages::Offer({GetSessionGuid(), GetPeersIdentifier()}, sdp, type));
}

void nxWebRtcConnection::SendAnswer(const char* sdp, const char* type) {
    SendText(connection_messages::Answer({GetSessionGuid(), GetPeersIdentifier()}, sdp, type));
}

void nxWebRtcConnection::SendIceCandidate(voPointer<voIceCandidateInterface> candidate) {
    SendText(connection_messages::Candidate({GetSessionGuid(), GetPeersIdentifier()}, candidate->Sdp(),
                                            candidate->SdpMid(), candidate->SdpMLineIndex()));
}

void nxWebRtcConnection::SendText(const std::string& text) {
    if (const std::shared_ptr<cWebSocket> current = GetSocket()) current->send(text.c_str());
}
