// Whether a foreign description fits, before the engine sees it: the engine aborts the process on some that
// do not.
#pragma once

#include <optional>
#include <string>

#include "webrtc_gstreamer/SessionDescription.h"

namespace webrtc_gstreamer {

// The reason why `answer` does not answer `offer`, or nothing.
std::optional<std::string> WhyNotAnAnswer(const SessionDescription& offer, const SessionDescription& answer);

// The reason why a foreign offer cannot be taken, or nothing. `previous` is the foreign description that
// stands, if any: a later offer may add sections but not change what is there.
std::optional<std::string> WhyNotAnOffer(const SessionDescription& offer, const SessionDescription* previous);

// Whether the other side will send this section's stream.
bool WillSend(const MediaSection& section);

// A valid answer as the engine can take it: rejected sections stay in the bundle as inactive ones, every
// section names its transport, and only what was offered is kept.
SessionDescription AnswerForEngine(const SessionDescription& offer, const SessionDescription& answer);

// A valid offer with only the formats and header extensions that can be received; rejected sections name the
// transport of the others.
SessionDescription OfferForEngine(const SessionDescription& offer);

}  // namespace webrtc_gstreamer
