// Offers, answers and candidates, on the worker.
#include <algorithm>
#include <utility>

#include "webrtc_gstreamer/DescriptionRules.h"
#include "webrtc_gstreamer/IceCandidate.h"
#include "webrtc_gstreamer/IceCandidateBody.h"
#include "webrtc_gstreamer/OfferCaps.h"
#include "webrtc_gstreamer/PeerConnection.h"
#include "webrtc_gstreamer/SteadyTime.h"
#include "webrtc_gstreamer/TrackBodies.h"

namespace webrtc_gstreamer {
namespace {

using vo_webrtc::voAudioTrackInterface;
using vo_webrtc::voIceCandidateInterface;
using vo_webrtc::voMediaStreamInterface;
using vo_webrtc::voPointer;
using vo_webrtc::voVideoTrackInterface;

constexpr std::size_t kMostWaitingCandidates = 256;
constexpr std::size_t kMostCandidates = 512;  // for one description

SessionDescriptionPointer ToEngine(GstWebRTCSDPType type, const SessionDescription& description) {
    return SessionDescriptionPointer(
        gst_webrtc_session_description_new(type, ToMessage(description).release()));
}

// The section whose transport carries the whole bundle.
unsigned int TransportLine(const SessionDescription& description) {
    for (std::size_t index = 0; index < description.media.size(); ++index) {
        if (!description.bundle.empty() && description.media[index].mid == description.bundle.front())
            return static_cast<unsigned int>(index);
    }
    return 0;
}

}  // namespace

void PeerConnection::DoCreateOffer() {
    if (!HasPipeline()) return;
    if (negotiation == Negotiation::HaveRemoteOffer)
        return Fail("an offer cannot be made while one is to be answered");
    if (!transceiversMade) {
        const auto receive = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
        pipeline->AddTransceiver(receive, OfferedVideoCaps().get());
        pipeline->AddTransceiver(receive, OfferedAudioCaps().get());
        transceiversMade = true;
    }
    if (!SetLocalDescription(pipeline->CreateOffer(), "offer")) return;
    negotiation = Negotiation::HaveLocalOffer;
    offeredAtUs = SteadyTimeUs();
}

void PeerConnection::DoCreateAnswer() {
    if (!HasPipeline()) return;
    if (negotiation != Negotiation::HaveRemoteOffer) return Fail("there is no offer to answer");
    if (SetLocalDescription(pipeline->CreateAnswer(), "answer")) negotiation = Negotiation::Stable;
}

bool PeerConnection::SetLocalDescription(Pipeline::Made made, const char* type) {
    if (!made.description) {
        Fail("no " + std::string(type) + ": " + made.error);
        return false;
    }
    CompleteFeedback(*made.description->sdp);
    const TextPointer text(gst_sdp_message_as_text(made.description->sdp));
    auto parsed = ParseDescription(text.get());
    if (!parsed.description) {
        Fail("no " + std::string(type) + ": " + parsed.error);
        return false;
    }
    localDescription = std::move(parsed.description);
    localCandidates.clear();
    // Before gathering starts, so that the description precedes its candidates.
    CallObserver("OnOfferCreated", [&text, type](Observer& target) {
        if (std::string_view(type) == "offer") {
            target.OnOfferCreated(text.get(), type);
        } else {
            target.OnAnswerCreated(text.get(), type);
        }
    });
    if (const auto error = pipeline->SetLocalDescription(*made.description)) {
        Fail("the local description cannot be set: " + *error);
        return false;
    }
    return true;
}

void PeerConnection::DoSetRemoteDescription(const std::string& sdp, const std::string& type) {
    if (!HasPipeline()) return;
    if (type != "offer" && type != "answer")
        return Fail("a description of the type \"" + type + "\" is not known");
    const auto parsed = ParseDescription(sdp);
    if (!parsed.description) return Fail(parsed.error);
    if (type == "answer") {
        TakeRemoteAnswer(*parsed.description);
    } else {
        TakeRemoteOffer(*parsed.description);
    }
}

void PeerConnection::TakeRemoteAnswer(const SessionDescription& answer) {
    if (negotiation != Negotiation::HaveLocalOffer) return Fail("no offer is waiting for an answer");
    if (const auto reason = WhyNotAnAnswer(*localDescription, answer)) return Fail(*reason);
    const SessionDescription fitted = AnswerForEngine(*localDescription, answer);
    if (const auto error = pipeline->SetRemoteDescription(*ToEngine(GST_WEBRTC_SDP_TYPE_ANSWER, fitted)))
        return Fail("the answer cannot be set: " + *error);
    negotiation = Negotiation::Stable;
    transportLine = TransportLine(fitted);
    if (answer.media.front().rejected) {
        // The other side keeps the bundle in its first accepted section and knows no other any more.
        for (const Pipeline::Candidate& candidate : localCandidates)
            DeliverCandidate(candidate, answer);
    }
    OnRemoteDescriptionStands(answer);
}

void PeerConnection::TakeRemoteOffer(const SessionDescription& offer) {
    if (negotiation == Negotiation::HaveRemoteOffer) return Fail("an earlier offer is not answered yet");
    const SessionDescription* previous = remoteDescription ? &*remoteDescription : nullptr;
    if (const auto reason = WhyNotAnOffer(offer, previous)) return Fail(*reason);
    // The other side's offer wins over one of ours that is not answered yet.
    if (negotiation == Negotiation::HaveLocalOffer && remoteDescription)
        return Fail("both sides change a running connection at once");
    if (negotiation == Negotiation::HaveLocalOffer && !MakePipeline())
        return Fail("the engine cannot be renewed");
    const SessionDescription fitted = OfferForEngine(offer);
    for (std::size_t index = previous != nullptr ? previous->media.size() : 0; index < fitted.media.size();
         ++index) {
        if (fitted.media[index].rejected) continue;
        pipeline->AddTransceiver(GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY,
                                 CapsFor(fitted.media[index]).get());
    }
    transceiversMade = true;
    if (const auto error = pipeline->SetRemoteDescription(*ToEngine(GST_WEBRTC_SDP_TYPE_OFFER, fitted)))
        return Fail("the offer cannot be set: " + *error);
    negotiation = Negotiation::HaveRemoteOffer;
    transportLine = TransportLine(fitted);
    OnRemoteDescriptionStands(offer);
}

void PeerConnection::OnRemoteDescriptionStands(const SessionDescription& description) {
    remoteDescription = description;
    candidatesPassedOn = 0;
    previousPipeline.reset();
    const auto sends = [&description](std::string_view kind) {
        return std::any_of(
            description.media.begin(), description.media.end(),
            [kind](const MediaSection& section) { return section.kind == kind && WillSend(section); });
    };
    watchdog.Expect(MediaWatchdog::Kind::Picture, sends("video"));
    watchdog.Expect(MediaWatchdog::Kind::Sound, sends("audio"));
    DeliverStream(description);
    for (const MediaSection& section : description.media) {
        for (const std::string& candidate : section.candidates)
            DoAddIceCandidate({candidate, section.mid, 0});
    }
    for (const RemoteCandidate& candidate : std::exchange(waitingCandidates, {}))
        PassOn(candidate);
}

void PeerConnection::DeliverStream(const SessionDescription& description) {
    if (streamDelivered) return;
    voPointer<voVideoTrackInterface> video;
    voPointer<voAudioTrackInterface> audio;
    for (const MediaSection& section : description.media) {
        if (!WillSend(section)) continue;
        if (section.kind == "video" && !video)
            video = MakeObject<voVideoTrackInterface, VideoTrackBody>(tracks.video);
        if (section.kind == "audio" && !audio)
            audio = MakeObject<voAudioTrackInterface, AudioTrackBody>(tracks.audio);
    }
    if (!video && !audio) return;
    streamDelivered = true;
    const auto stream = MakeObject<voMediaStreamInterface, MediaStreamBody>(video, audio);
    CallObserver("OnAddStream", [&stream](Observer& target) { target.OnAddStream(stream); });
}

void PeerConnection::DoAddIceCandidate(const RemoteCandidate& candidate) {
    const CandidateKind kind = Classify(candidate.text);
    if (kind == CandidateKind::Bad) return Fail("an ICE candidate is malformed");
    if (kind == CandidateKind::Ignored) return;
    if (remoteDescription) return PassOn(candidate);
    if (waitingCandidates.size() >= kMostWaitingCandidates)
        return Fail("too many ICE candidates before a description");
    waitingCandidates.push_back(candidate);
}

void PeerConnection::PassOn(const RemoteCandidate& candidate) {
    if (!NamesASection(*remoteDescription, candidate.mid, candidate.lineIndex))
        return Fail("an ICE candidate belongs to no media section");
    // Each costs the engine memory for as long as the connection lives.
    if (candidatesPassedOn > kMostCandidates) return;
    if (++candidatesPassedOn > kMostCandidates) return Fail("too many ICE candidates");
    if (!pipeline) return;
    pipeline->AddIceCandidate({transportLine, Normalised(candidate.text)});
}

void PeerConnection::OnLocalCandidate(const Pipeline::Candidate& candidate) {
    if (!localDescription || candidate.lineIndex >= localDescription->media.size()) return;
    localCandidates.push_back(candidate);
    const bool moved = remoteDescription && remoteDescription->media.front().rejected;
    DeliverCandidate(candidate, moved ? *remoteDescription : *localDescription);
}

void PeerConnection::DeliverCandidate(const Pipeline::Candidate& candidate, const SessionDescription& named) {
    const auto& media = named.media;
    std::size_t index = candidate.lineIndex;
    while (index + 1 < media.size() && media[index].rejected)
        ++index;
    const auto object = MakeObject<voIceCandidateInterface, IceCandidateBody>(
        candidate.text, media[index].mid, std::to_string(index));
    CallObserver("OnIceCandidate", [&object](Observer& target) { target.OnIceCandidate(object); });
}

}  // namespace webrtc_gstreamer
