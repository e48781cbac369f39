#include "apps/petrel/OfferPlan.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "apps/petrel/SdpFields.h"

namespace petrel {
namespace {

constexpr unsigned kMaximumSections = 16;

struct Codec {
    const char* name;
    int clockRate;
};

Codec VideoCodecName(VideoCodec codec) {
    return {EncodingName(codec), 90'000};
}
constexpr Codec kOpus{"opus", 48'000};

// How well an offered format suits what the phone sends; 0 when not at all. The H264 encoder makes
// constrained baseline, and its packets need mode 1 (RFC 6184 section 6.3). The VP9 encoder makes profile 0,
// which a format without a profile means (RFC 9628 section 6).
int Suitability(const SdpFormat& format, const Codec& codec) {
    if (!EqualsIgnoringCase(format.encoding, codec.name) || format.clockRate != codec.clockRate) return 0;
    if (EqualsIgnoringCase(codec.name, "VP9")) {
        const std::string profile = FormatParameter(format.parameters, "profile-id");
        return profile.empty() || profile == "0" ? 1 : 0;
    }
    if (!EqualsIgnoringCase(codec.name, "H264")) return 1;
    if (FormatParameter(format.parameters, "packetization-mode") != "1") return 0;
    const std::string profile = FormatParameter(format.parameters, "profile-level-id");
    return profile.empty() || EqualsIgnoringCase(profile.substr(0, 2), "42") ? 2 : 1;
}

const SdpFormat* BestFormat(const std::vector<SdpFormat>& formats, const Codec& codec) {
    const SdpFormat* best = nullptr;
    int bestSuitability = 0;
    for (const SdpFormat& format : formats) {
        const int suitability = Suitability(format, codec);
        if (suitability > bestSuitability) {
            bestSuitability = suitability;
            best = &format;
        }
    }
    return best;
}

const SdpFormat* RetransmissionOf(const std::vector<SdpFormat>& formats, int payloadType) {
    for (const SdpFormat& format : formats) {
        if (EqualsIgnoringCase(format.encoding, "rtx") &&
            FormatParameter(format.parameters, "apt") == std::to_string(payloadType)) {
            return &format;
        }
    }
    return nullptr;
}

void AppendFormat(std::string& text, const SdpFormat& format) {
    text += fmt::format("a=rtpmap:{} {}/{}{}\r\n", format.payloadType, format.encoding, format.clockRate,
                        format.channels > 1 ? fmt::format("/{}", format.channels) : "");
    if (!format.parameters.empty()) {
        text += fmt::format("a=fmtp:{} {}\r\n", format.payloadType, format.parameters);
    }
}

// Works through the sections of one offer.
class Planner {
public:
    Planner(const GstSDPMessage* offer, const WantedMedia& wantedMedia)
        : message(offer), wanted(wantedMedia), bundled(BundledMids(offer)) {}

    std::optional<OfferPlan> Plan(std::string& problem) {
        const unsigned count = gst_sdp_message_medias_len(message);
        if (count == 0 || count > kMaximumSections) {
            problem = fmt::format("the offer has {} sections", count);
            return std::nullopt;
        }
        for (unsigned index = 0; index < count; ++index) {
            OfferedMedia media = Describe(gst_sdp_message_get_media(message, index));
            if (!IsToken(media.mid) || !mids.insert(media.mid).second) {
                problem = fmt::format("section {} of the offer has no identifier of its own", index);
                return std::nullopt;
            }
            Decide(gst_sdp_message_get_media(message, index), media);
            plan.media.push_back(std::move(media));
        }
        if (!sections.empty()) plan.engineOffer = Head() + sections;
        return std::move(plan);
    }

private:
    static OfferedMedia Describe(const GstSDPMedia* section) {
        OfferedMedia media;
        media.mediaName = TextOf(gst_sdp_media_get_media(section));
        media.protocol = TextOf(gst_sdp_media_get_proto(section));
        if (media.mediaName == "video") media.kind = OfferedMedia::Kind::Video;
        if (media.mediaName == "audio") media.kind = OfferedMedia::Kind::Audio;
        media.mid = TextOf(gst_sdp_media_get_attribute_val(section, "mid"));
        media.firstFormat =
            gst_sdp_media_formats_len(section) > 0 ? TextOf(gst_sdp_media_get_format(section, 0)) : "0";
        return media;
    }

    void Decide(const GstSDPMedia* section, OfferedMedia& media) {
        media.refusal = ReasonToReject(section, media);
        if (!media.refusal.empty()) return;
        const bool video = media.kind == OfferedMedia::Kind::Video;
        const std::vector<SdpFormat> formats = Formats(section);
        const SdpFormat* format = BestFormat(formats, video ? VideoCodecName(wanted.codec) : kOpus);
        if (format == nullptr) {
            media.refusal =
                fmt::format("it offers no {}", video ? VideoCodecName(wanted.codec).name : "opus");
            return;
        }
        media.payloadType = format->payloadType;
        const bool sends = ClientReceives(section) && (video || wanted.audio);
        media.reply = sends ? OfferedMedia::Reply::Send : OfferedMedia::Reply::Inactive;
        (video ? videoTaken : audioTaken) = true;
        AppendSection(section, media, formats, *format);
        CollectCandidates(section, media.mid);
    }

    std::string ReasonToReject(const GstSDPMedia* section, const OfferedMedia& media) const {
        if (media.kind == OfferedMedia::Kind::Other) return "a phone sends only picture and sound";
        if (IsSwitchedOff(section)) return "it is switched off in the offer";
        if (media.kind == OfferedMedia::Kind::Video ? videoTaken : audioTaken) return "one is sent already";
        if (!media.protocol.ends_with("RTP/SAVPF")) return "its protocol is not RTP/SAVPF";
        if (gst_sdp_media_get_attribute_val(section, "rtcp-mux") == nullptr)
            return "it does not multiplex RTCP";
        if (!bundled.empty() && !bundled.contains(media.mid)) return "it is not in the bundle";
        if (bundled.empty() && !sections.empty()) return "it is not in a bundle";
        if (!Transport::Read(message, section)) return "its ICE or DTLS lines are missing or malformed";
        return {};
    }

    // Port 0 means that, unless the section is meant for the bundle only (RFC 9143 section 6).
    static bool IsSwitchedOff(const GstSDPMedia* section) {
        return gst_sdp_media_get_port(section) == 0 &&
               gst_sdp_media_get_attribute_val(section, "bundle-only") == nullptr;
    }

    static bool ClientReceives(const GstSDPMedia* section) {
        return gst_sdp_media_get_attribute_val(section, "sendonly") == nullptr &&
               gst_sdp_media_get_attribute_val(section, "inactive") == nullptr;
    }

    void AppendSection(const GstSDPMedia* section, OfferedMedia& media, const std::vector<SdpFormat>& formats,
                       const SdpFormat& format) {
        const bool sends = media.reply == OfferedMedia::Reply::Send;
        const SdpFormat* retransmission = RetransmissionOf(formats, format.payloadType);
        media.retransmission = sends && retransmission != nullptr;
        media.twccExtension = ExtensionIdentifier(section, kTransportSequenceUri);

        sections += fmt::format("m={} 9 UDP/TLS/RTP/SAVPF {}", media.mediaName, format.payloadType);
        if (retransmission != nullptr) sections += fmt::format(" {}", retransmission->payloadType);
        sections += fmt::format("\r\nc=IN IP4 0.0.0.0\r\na=mid:{}\r\na=rtcp-mux\r\n", media.mid);
        sections += Transport::Read(message, section)->Lines();
        sections += sends ? "a=recvonly\r\n" : "a=inactive\r\n";
        if (media.twccExtension > 0)
            sections += fmt::format("a=extmap:{} {}\r\n", media.twccExtension, kTransportSequenceUri);
        AppendFormat(sections, format);
        if (retransmission != nullptr) AppendFormat(sections, *retransmission);
        for (const char* feedback : {"nack", "nack pli", "ccm fir", "transport-cc"}) {
            if (OffersFeedback(section, format.payloadType, feedback)) {
                sections += fmt::format("a=rtcp-fb:{} {}\r\n", format.payloadType, feedback);
            }
        }
    }

    void CollectCandidates(const GstSDPMedia* section, const std::string& mid) {
        for (unsigned index = 0;; ++index) {
            const char* value = gst_sdp_media_get_attribute_val_n(section, "candidate", index);
            if (value == nullptr) return;
            if (auto candidate = CleanCandidate(fmt::format("candidate:{}", value))) {
                plan.candidates.push_back({std::move(*candidate), mid});
            }
        }
    }

    std::string Head() const {
        std::string head = "v=0\r\no=- 1 1 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\n";
        if (!bundled.empty()) {
            head += "a=group:BUNDLE";
            for (const OfferedMedia& media : plan.media) {
                if (media.reply != OfferedMedia::Reply::Reject) head += " " + media.mid;
            }
            head += "\r\n";
        }
        return head;
    }

    const GstSDPMessage* message;
    const WantedMedia wanted;
    const std::set<std::string> bundled;  // empty when the offer has no bundle
    std::set<std::string> mids;
    std::string sections;
    bool videoTaken = false;
    bool audioTaken = false;
    OfferPlan plan;
};

}  // namespace

int OfferPlan::EngineIndex(std::size_t mediaIndex) const {
    if (mediaIndex >= media.size() || media[mediaIndex].reply == OfferedMedia::Reply::Reject) return -1;
    return static_cast<int>(std::count_if(
        media.begin(), media.begin() + static_cast<std::ptrdiff_t>(mediaIndex),
        [](const OfferedMedia& section) { return section.reply != OfferedMedia::Reply::Reject; }));
}

std::size_t OfferPlan::MediaIndex(int engineIndex) const {
    for (std::size_t index = 0; index < media.size(); ++index) {
        if (EngineIndex(index) == engineIndex) return index;
    }
    return 0;
}

std::optional<OfferPlan> PlanAnswer(const std::string& sdp, const WantedMedia& wanted, std::string& problem) {
    const GstHandle<GstSDPMessage> message = ParseSdp(sdp);
    if (message == nullptr) {
        problem = "the offer is not a session description";
        return std::nullopt;
    }
    return Planner(message.get(), wanted).Plan(problem);
}

}  // namespace petrel
