// Reads a client's offer and decides, section by section, what the phone answers. Nothing that the client
// wrote reaches the engine unchecked: it gets an offer written anew from the parts that were understood.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/petrel/GstHandles.h"
#include "apps/petrel/SimulateOptions.h"

namespace petrel {

inline constexpr const char* kTransportSequenceUri =
    "http://www.ietf.org/id/draft-holmer-rmcat-transport-wide-cc-extensions-01";

// One "m=" section.
struct OfferedMedia {
    enum class Kind { Video, Audio, Other };
    enum class Reply {
        Send,      // the phone's picture or sound
        Inactive,  // accepted, nothing flows
        Reject,
    };
    Kind kind = Kind::Other;
    Reply reply = Reply::Reject;
    std::string refusal;  // why it is rejected, one sentence
    std::string mid;
    std::string mediaName;  // as offered: "video", "audio", "application"
    std::string protocol;
    std::string firstFormat;
    int payloadType = -1;         // of the codec that is sent
    int twccExtension = -1;       // identifier of the transport-wide sequence number, if offered
    bool retransmission = false;  // the client asks for lost packets again
};

struct OfferedCandidate {
    std::string candidate;
    std::string mid;
};

struct OfferPlan {
    std::vector<OfferedMedia> media;  // in the order of the offer
    std::string engineOffer;          // only what is not rejected; empty when everything is
    std::vector<OfferedCandidate> candidates;

    // The place of a section among those the engine knows; -1 for a rejected one.
    int EngineIndex(std::size_t mediaIndex) const;
    std::size_t MediaIndex(int engineIndex) const;
};

struct WantedMedia {
    VideoCodec codec = VideoCodec::H264;
    bool audio = true;
};

// Nothing, with a sentence in `problem`, when the text is no offer that can be answered.
std::optional<OfferPlan> PlanAnswer(const std::string& sdp, const WantedMedia& wanted, std::string& problem);

// The answer to the whole offer, made of the engine's answer (null when all is rejected) to what it was
// shown.
std::string ComposeAnswer(const OfferPlan& plan, const GstSDPMessage* engineAnswer);

// "candidate:..." with or without "a=" before it; a malformed one gives nothing.
std::optional<std::string> CleanCandidate(std::string_view text);

}  // namespace petrel
