#include "webrtc_gstreamer/DescriptionRules.h"

#include <algorithm>
#include <array>
#include <set>

#include "webrtc_gstreamer/OfferCaps.h"

namespace webrtc_gstreamer {
namespace {

constexpr std::size_t kShortestUfrag = 4;  // RFC 8839, section 5.4
constexpr std::size_t kShortestPwd = 22;
constexpr std::size_t kLongestIceText = 256;

bool IsIceText(const std::string& text, std::size_t shortest) {
    return text.size() >= shortest && text.size() <= kLongestIceText &&
           std::all_of(text.begin(), text.end(), [](char character) {
               // Some peers write base64url.
               return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                      (character >= '0' && character <= '9') || character == '+' || character == '/' ||
                      character == '-' || character == '_' || character == '=';
           });
}

// "sha-256 AB:CD:..." (RFC 8122)
bool IsFingerprint(const std::string& text) {
    static constexpr std::array<std::pair<std::string_view, std::size_t>, 5> kHashes = {
        {{"sha-1", 20}, {"sha-224", 28}, {"sha-256", 32}, {"sha-384", 48}, {"sha-512", 64}}};
    const auto blank = text.find(' ');
    if (blank == std::string::npos) return false;
    std::string hash = text.substr(0, blank);
    std::transform(hash.begin(), hash.end(), hash.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
    });
    const auto known = std::find_if(kHashes.begin(), kHashes.end(),
                                    [&hash](const auto& entry) { return entry.first == hash; });
    const std::string_view digits = std::string_view(text).substr(blank + 1);
    if (known == kHashes.end() || digits.size() != known->second * 3 - 1) return false;
    for (std::size_t index = 0; index < digits.size(); ++index) {
        const char character = digits[index];
        const bool isDigit = (character >= '0' && character <= '9') ||
                             (character >= 'A' && character <= 'F') || (character >= 'a' && character <= 'f');
        if (index % 3 == 2 ? character != ':' : !isDigit) return false;
    }
    return true;
}

bool SameEncoding(const PayloadFormat& left, const PayloadFormat& right) {
    return g_ascii_strcasecmp(left.encoding.c_str(), right.encoding.c_str()) == 0 &&
           left.clockRate == right.clockRate;
}

const PayloadFormat* FormatOf(const MediaSection& section, int payload) {
    const auto found =
        std::find_if(section.formats.begin(), section.formats.end(),
                     [payload](const PayloadFormat& format) { return format.payload == payload; });
    return found == section.formats.end() ? nullptr : &*found;
}

std::string Section(std::size_t index) {
    return "media section " + std::to_string(index);
}

std::optional<std::string> WhyNoTransport(const MediaSection& section, const std::string& name) {
    if (!section.rtcpMux) return name + " does not multiplex RTCP";
    if (!IsIceText(section.iceUfrag, kShortestUfrag)) return name + " has no valid ICE user fragment";
    if (!IsIceText(section.icePwd, kShortestPwd)) return name + " has no valid ICE password";
    if (!IsFingerprint(section.fingerprint)) return name + " has no valid DTLS fingerprint";
    return std::nullopt;
}

std::optional<std::string> WhySectionIsNoAnswer(const MediaSection& offered, const MediaSection& answered,
                                                const std::string& name) {
    if (auto reason = WhyNoTransport(answered, name)) return reason;
    if (answered.setup != "active" && answered.setup != "passive")
        return name + " does not choose a DTLS role";
    if (answered.protocol != offered.protocol) return name + " changes the protocol";
    if (answered.direction == Direction::ReceiveOnly) return name + " wants to receive, but nothing is sent";
    if (answered.formats.empty()) return name + " has no payload type";
    for (const PayloadFormat& format : answered.formats) {
        const PayloadFormat* source = FormatOf(offered, format.payload);
        if (source == nullptr) return name + " has a payload type that was not offered";
        if (!SameEncoding(*source, format)) return name + " changes a payload type";
    }
    for (const HeaderExtension& extension : answered.extensions) {
        const bool known = std::any_of(offered.extensions.begin(), offered.extensions.end(),
                                       [&extension](const HeaderExtension& other) {
                                           return other.id == extension.id && other.uri == extension.uri;
                                       });
        if (!known) return name + " has a header extension that was not offered";
    }
    return std::nullopt;
}

std::optional<std::string> WhyNotBundled(const SessionDescription& description) {
    const MediaSection* tagged = nullptr;
    std::set<std::string> mids;
    std::set<std::uint32_t> ssrcs;
    for (std::size_t index = 0; index < description.media.size(); ++index) {
        const MediaSection& section = description.media[index];
        for (const std::uint32_t ssrc : section.ssrcs) {
            if (!ssrcs.insert(ssrc).second) return "a stream identifier stands twice";
        }
        if (!section.mid.empty() && !mids.insert(section.mid).second)
            return "a media identifier stands twice";
        if (section.rejected) continue;
        if (std::count(description.bundle.begin(), description.bundle.end(), section.mid) != 1)
            return Section(index) + " is not bundled";
        if (tagged == nullptr) tagged = &section;
        if (section.iceUfrag != tagged->iceUfrag || section.icePwd != tagged->icePwd ||
            section.fingerprint != tagged->fingerprint || section.setup != tagged->setup)
            return Section(index) + " names another transport than the bundle";
    }
    for (const std::string& mid : description.bundle) {
        const bool known = std::any_of(description.media.begin(), description.media.end(),
                                       [&mid](const MediaSection& section) { return section.mid == mid; });
        if (!known) return std::string("the bundle names an unknown media section");
    }
    return std::nullopt;
}

const MediaSection* FirstAccepted(const SessionDescription& description) {
    const auto found = std::find_if(description.media.begin(), description.media.end(),
                                    [](const MediaSection& section) { return !section.rejected; });
    return found == description.media.end() ? nullptr : &*found;
}

// What a rejected section says of its transport has not been checked, and means nothing.
void TakeTransport(MediaSection& rejected, const MediaSection& transport) {
    rejected.rtcpMux = transport.rtcpMux;
    rejected.setup = transport.setup;
    rejected.iceUfrag = transport.iceUfrag;
    rejected.icePwd = transport.icePwd;
    rejected.fingerprint = transport.fingerprint;
    rejected.ssrcs.clear();
    rejected.candidates.clear();
}

}  // namespace

bool WillSend(const MediaSection& section) {
    return !section.rejected &&
           (section.direction == Direction::SendOnly || section.direction == Direction::SendReceive);
}

std::optional<std::string> WhyNotAnAnswer(const SessionDescription& offer, const SessionDescription& answer) {
    if (answer.media.size() != offer.media.size())
        return "the answer has another number of media sections than the offer";
    bool anyAccepted = false;
    for (std::size_t index = 0; index < offer.media.size(); ++index) {
        const MediaSection& answered = answer.media[index];
        if (answered.kind != offer.media[index].kind)
            return Section(index) + " is of another kind than offered";
        if (answered.mid.empty() && answered.rejected) continue;
        if (answered.mid != offer.media[index].mid)
            return Section(index) + " has another identifier than offered";
        if (answered.rejected) continue;
        anyAccepted = true;
        if (auto reason = WhySectionIsNoAnswer(offer.media[index], answered, Section(index))) return reason;
    }
    if (!anyAccepted) return "the answer rejects every media section";
    return WhyNotBundled(answer);
}

std::optional<std::string> WhyNotAnOffer(const SessionDescription& offer,
                                         const SessionDescription* previous) {
    bool anyMedia = false;
    for (std::size_t index = 0; index < offer.media.size(); ++index) {
        const MediaSection& section = offer.media[index];
        const std::string name = Section(index);
        if (section.mid.empty()) return name + " has no identifier";
        if (section.rejected) continue;
        if (section.kind != "audio" && section.kind != "video") return name + " is of an unknown kind";
        if (section.protocol.find("RTP/SAVPF") == std::string::npos) return name + " has an unknown protocol";
        if (auto reason = WhyNoTransport(section, name)) return reason;
        if (section.setup != "actpass" && section.setup != "active" && section.setup != "passive")
            return name + " has no DTLS role";
        if (std::none_of(section.formats.begin(), section.formats.end(),
                         [&section](const PayloadFormat& format) {
                             return CanReceive(section.kind, format.encoding);
                         }))
            return name + " has no known codec";
        if (section.direction == Direction::ReceiveOnly)
            return name + " wants to receive, but nothing is sent";
        anyMedia = true;
    }
    if (!anyMedia) return "the offer has no media section";
    if (previous != nullptr) {
        if (offer.media.size() < previous->media.size()) return "the offer leaves out media sections";
        for (std::size_t index = 0; index < previous->media.size(); ++index) {
            if (offer.media[index].mid != previous->media[index].mid ||
                offer.media[index].kind != previous->media[index].kind)
                return Section(index) + " has changed";
        }
    }
    return WhyNotBundled(offer);
}

SessionDescription OfferForEngine(const SessionDescription& offer) {
    SessionDescription result = offer;
    result.bundle.clear();
    const MediaSection* transport = FirstAccepted(offer);
    for (MediaSection& section : result.media) {
        if (section.rejected && transport != nullptr) TakeTransport(section, *transport);
        std::erase_if(section.formats, [&section](const PayloadFormat& format) {
            return !CanReceive(section.kind, format.encoding);
        });
        std::erase_if(section.extensions,
                      [](const HeaderExtension& extension) { return extension.uri != kTransportWideCcUri; });
        if (section.direction == Direction::SendReceive) section.direction = Direction::SendOnly;
        if (!section.rejected) result.bundle.push_back(section.mid);
        section.bundleOnly = false;
    }
    return result;
}

SessionDescription AnswerForEngine(const SessionDescription& offer, const SessionDescription& answer) {
    SessionDescription result = answer;
    const MediaSection* transport = FirstAccepted(answer);
    if (transport == nullptr) return result;
    result.bundle.clear();
    for (std::size_t index = 0; index < result.media.size(); ++index) {
        MediaSection& section = result.media[index];
        if (section.rejected) {
            // The bundle's transport is that of the first offered section, even when that one is refused.
            section = offer.media[index];
            section.rejected = false;
            section.direction = Direction::Inactive;
            TakeTransport(section, *transport);
        } else if (section.direction == Direction::SendReceive) {
            section.direction = Direction::SendOnly;
        }
        section.bundleOnly = false;
        result.bundle.push_back(section.mid);
    }
    return result;
}

}  // namespace webrtc_gstreamer
