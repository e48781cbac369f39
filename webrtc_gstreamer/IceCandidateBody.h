#pragma once

#include <string>

#include "webrtc_gstreamer/ObjectBody.h"

namespace webrtc_gstreamer {

class IceCandidateBody : public ObjectBody {
public:
    IceCandidateBody(std::string sdpText, std::string midText, std::string lineIndexText)
        : sdp(std::move(sdpText)), mid(std::move(midText)), lineIndex(std::move(lineIndexText)) {}
    const std::string sdp;
    const std::string mid;
    const std::string lineIndex;
};

}  // namespace webrtc_gstreamer
