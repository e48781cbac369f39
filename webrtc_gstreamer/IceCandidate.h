// Candidates of the other side (RFC 8839), checked before the engine sees them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "webrtc_gstreamer/SessionDescription.h"

namespace webrtc_gstreamer {

enum class CandidateKind {
    Usable,
    Ignored,  // the end-of-candidates sign, or a transport that is not used
    Bad,
};

CandidateKind Classify(std::string_view candidate);

// With "candidate:" in front and nothing else.
std::string Normalised(std::string_view candidate);

// Whether a media section of this identifier, or else of this index, exists.
bool NamesASection(const SessionDescription& description, std::string_view mid, std::int32_t lineIndex);

}  // namespace webrtc_gstreamer
