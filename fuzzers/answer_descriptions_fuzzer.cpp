// Session descriptions of the other side: parsed, judged, fitted for the engine and written anew.
#include <fuzzer/FuzzedDataProvider.h>
#include <gst/gst.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "fuzzers/Harness.h"
#include "tests/unit/webrtc_gstreamer/OfferText.h"
#include "webrtc_gstreamer/DescriptionRules.h"
#include "webrtc_gstreamer/IceCandidate.h"
#include "webrtc_gstreamer/OfferCaps.h"

namespace {

using fuzzing::Require;
using namespace webrtc_gstreamer;

void RequireEqual(const MediaSection& left, const MediaSection& right) {
    Require(left.kind == right.kind && left.protocol == right.protocol && left.mid == right.mid,
            "a written section keeps its name");
    Require(left.rejected == right.rejected && left.direction == right.direction,
            "a written section keeps its use");
    Require(left.setup == right.setup && left.iceUfrag == right.iceUfrag && left.icePwd == right.icePwd &&
                left.fingerprint == right.fingerprint,
            "a written section keeps its transport");
    Require(left.ssrcs == right.ssrcs, "a written section keeps its streams");
    Require(left.formats.size() == right.formats.size(), "a written section keeps its formats");
    for (std::size_t index = 0; index < left.formats.size(); ++index) {
        const PayloadFormat& before = left.formats[index];
        const PayloadFormat& after = right.formats[index];
        Require(before.payload == after.payload && before.encoding == after.encoding &&
                    before.clockRate == after.clockRate && before.parameters == after.parameters,
                "a written format is the same");
    }
    Require(left.extensions.size() == right.extensions.size(), "a written section keeps its extensions");
}

// What goes to the engine is written by GStreamer and must say the same when it is read again.
void RequireWrittenTheSame(const SessionDescription& description) {
    const SdpMessagePointer message = ToMessage(description);
    const TextPointer text(gst_sdp_message_as_text(message.get()));
    const ParsedDescription again = ParseDescription(text.get());
    Require(again.description.has_value(), "a written description can be read");
    Require(again.description->bundle == description.bundle, "a written description keeps its bundle");
    Require(again.description->media.size() == description.media.size(),
            "a written description keeps its sections");
    for (std::size_t index = 0; index < description.media.size(); ++index)
        RequireEqual(description.media[index], again.description->media[index]);
}

void CheckAsAnswer(const SessionDescription& offer, const SessionDescription& answer) {
    const auto reason = WhyNotAnAnswer(offer, answer);
    if (reason) {
        Require(!reason->empty(), "a refused answer has a reason");
        return;
    }
    const SessionDescription fitted = AnswerForEngine(offer, answer);
    Require(fitted.media.size() == offer.media.size() && fitted.bundle.size() == offer.media.size(),
            "the engine gets every offered section, bundled");
    Require(!WhyNotAnAnswer(offer, fitted), "a fitted answer is an answer");
    for (std::size_t index = 0; index < fitted.media.size(); ++index) {
        Require(!fitted.media[index].rejected, "the engine's sections are all there");
        Require(WillSend(fitted.media[index]) == WillSend(answer.media[index]), "who sends does not change");
    }
    RequireWrittenTheSame(fitted);
}

// What is answered was made by the engine, which writes the sections that it refuses as completely as others.
bool IsLikeTheEngines(SessionDescription offer) {
    offer.bundle.clear();
    for (MediaSection& section : offer.media) {
        section.rejected = false;
        offer.bundle.push_back(section.mid);
    }
    return !WhyNotAnOffer(offer, nullptr);
}

void CheckAsOffer(const SessionDescription& offer, const SessionDescription* previous) {
    if (WhyNotAnOffer(offer, previous)) return;
    const SessionDescription fitted = OfferForEngine(offer);
    Require(!WhyNotAnOffer(fitted, previous), "a fitted offer is an offer");
    RequireWrittenTheSame(fitted);
    for (const MediaSection& section : fitted.media) {
        if (section.rejected) continue;
        const CapsPointer caps = CapsFor(section);
        Require(caps && !gst_caps_is_empty(caps.get()), "a fitted offer's section can be received");
        const TextPointer text(gst_caps_to_string(caps.get()));
        const CapsPointer again(gst_caps_from_string(text.get()));
        Require(again != nullptr, "the caps of a section can be written");
    }
}

void CheckCandidates(const SessionDescription& description) {
    for (const MediaSection& section : description.media) {
        Require(section.formats.size() <= 128 && section.candidates.size() <= 256,
                "a section's lists are bounded");
        for (const std::string& candidate : section.candidates) {
            if (Classify(candidate) != CandidateKind::Usable) continue;
            const std::string normalised = Normalised(candidate);
            Require(
                normalised.starts_with("candidate:") && normalised.find_first_of("\r\n") == std::string::npos,
                "a usable candidate is one line");
            Require(Classify(normalised) == CandidateKind::Usable, "a usable candidate stays usable");
        }
    }
}

}  // namespace

// Types and their names are enough; plug-ins would fill GLib's tables, which grow without being freed.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("GST_REGISTRY_DISABLE", "yes", 1);
    gst_init(nullptr, nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const SessionDescription ownOffer = *ParseDescription(OfferText()).description;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // A second description may stand behind a line of dashes.
    const std::size_t cut = text.find("\n---\n");
    const ParsedDescription first = ParseDescription(text.substr(0, cut));
    Require(first.description.has_value() == first.error.empty(), "a description or a reason");
    if (!first.description) return 0;

    Require(first.description->media.size() <= 16, "sections are bounded");
    CheckCandidates(*first.description);
    CheckAsAnswer(ownOffer, *first.description);
    CheckAsOffer(*first.description, nullptr);
    if (cut == std::string_view::npos) return 0;
    const ParsedDescription second = ParseDescription(text.substr(cut + 5));
    if (!second.description) return 0;
    CheckAsOffer(*second.description, &*first.description);
    if (IsLikeTheEngines(*first.description)) CheckAsAnswer(*first.description, *second.description);
    return 0;
}
