#include "webrtc_gstreamer/SessionDescription.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace webrtc_gstreamer {
namespace {

constexpr std::size_t kLongestText = 256 * 1024;
constexpr std::size_t kMostSections = 16;
constexpr std::size_t kMostFormats = 128;
constexpr std::size_t kMostCandidates = 256;

// Other parameters would become fields of the stream's caps under any name that the sender likes.
constexpr std::array<std::string_view, 12> kKnownParameters = {"profile-level-id",
                                                               "packetization-mode",
                                                               "level-asymmetry-allowed",
                                                               "sprop-parameter-sets",
                                                               "profile-id",
                                                               "sprop-stereo",
                                                               "stereo",
                                                               "useinbandfec",
                                                               "usedtx",
                                                               "minptime",
                                                               "maxptime",
                                                               "maxplaybackrate"};
constexpr std::array<std::string_view, 4> kKnownFeedback = {"nack", "nack pli", "ccm fir", "transport-cc"};

template <class Number>
bool ToNumber(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

std::string_view TakeWord(std::string_view& text, char separator = ' ') {
    const auto end = text.find(separator);
    const std::string_view word = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return word;
}

constexpr std::string_view kPunctuation = "-_.+/=,:!#$%&'*^`|~{}";

bool IsToken(std::string_view text) {
    return !text.empty() && text.size() <= 256 && std::all_of(text.begin(), text.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') ||
               kPunctuation.find(character) != std::string_view::npos;
    });
}

// The attributes that may stand in the session part and hold for every section.
struct Transport {
    std::string setup;
    std::string iceUfrag;
    std::string icePwd;
    std::string fingerprint;
    bool contradictory = false;

    bool Take(std::string_view key, std::string_view value) {
        std::string* field = key == "setup"         ? &setup
                             : key == "ice-ufrag"   ? &iceUfrag
                             : key == "ice-pwd"     ? &icePwd
                             : key == "fingerprint" ? &fingerprint
                                                    : nullptr;
        if (field == nullptr) return false;
        // One fingerprint of several suffices; anything else may stand only once.
        if (!field->empty() && *field != value && key != "fingerprint") contradictory = true;
        if (field->empty()) *field = value;
        return true;
    }
};

class Parser {
public:
    ParsedDescription Parse(std::string_view text) {
        if (text.size() > kLongestText) return {std::nullopt, "the description is too long"};
        bool first = true;
        while (!text.empty()) {
            std::string_view line = TakeWord(text, '\n');
            if (line.ends_with('\r')) line.remove_suffix(1);
            if (line.empty()) continue;
            if (first && line != "v=0") return {std::nullopt, "the text is not a session description"};
            first = false;
            if (line.size() < 2 || line[1] != '=')
                return {std::nullopt, "a line of the description is malformed"};
            if (!TakeLine(line[0], line.substr(2))) return {std::nullopt, error};
        }
        if (first) return {std::nullopt, "the description is empty"};
        if (!Finish()) return {std::nullopt, error};
        return {std::move(description), {}};
    }

private:
    bool Fail(const char* reason) {
        error = reason;
        return false;
    }

    bool TakeLine(char type, std::string_view value) {
        if (type == 'm') return TakeMediaLine(value);
        if (type != 'a') return true;
        const auto colon = value.find(':');
        const std::string_view key = value.substr(0, colon);
        const std::string_view content =
            colon == std::string_view::npos ? std::string_view() : value.substr(colon + 1);
        if (description.media.empty()) return TakeSessionAttribute(key, content);
        return TakeMediaAttribute(description.media.back(), key, content);
    }

    bool TakeMediaLine(std::string_view value) {
        if (description.media.size() >= kMostSections)
            return Fail("the description has too many media sections");
        MediaSection section;
        section.kind = TakeWord(value);
        std::string_view port = TakeWord(value);
        port = port.substr(0, port.find('/'));
        unsigned int number = 0;
        if (!IsToken(section.kind) || !ToNumber(port, number) || number > 65535)
            return Fail("a media line is malformed");
        section.rejected = number == 0;
        section.protocol = TakeWord(value);
        if (!IsToken(section.protocol)) return Fail("a media line is malformed");
        while (!value.empty() && section.formats.size() < kMostFormats) {
            PayloadFormat format;
            const std::string_view word = TakeWord(value);
            if (word.empty()) continue;
            // Sections of other protocols name their formats by words; they are refused later.
            if (!ToNumber(word, format.payload)) continue;
            if (FormatOf(section, word) != nullptr) continue;  // named twice, it counts once
            if (format.payload < 0 || format.payload > 127) return Fail("a payload type is out of range");
            section.formats.push_back(std::move(format));
        }
        description.media.push_back(std::move(section));
        transports.emplace_back();
        return true;
    }

    bool TakeSessionAttribute(std::string_view key, std::string_view value) {
        if (session.Take(key, value) || key != "group") return true;
        if (TakeWord(value) != "BUNDLE") return true;
        if (!description.bundle.empty()) return Fail("the description has more than one bundle group");
        while (!value.empty()) {
            const std::string_view mid = TakeWord(value);
            if (!mid.empty()) description.bundle.emplace_back(mid);
        }
        return true;
    }

    bool TakeMediaAttribute(MediaSection& section, std::string_view key, std::string_view value) {
        if (transports.back().Take(key, value)) return true;
        if (key == "mid") {
            if (!section.mid.empty() || !IsToken(value)) return Fail("a media identifier is malformed");
            section.mid = value;
        } else if (key == "sendrecv") {
            section.direction = Direction::SendReceive;
        } else if (key == "sendonly") {
            section.direction = Direction::SendOnly;
        } else if (key == "recvonly") {
            section.direction = Direction::ReceiveOnly;
        } else if (key == "inactive") {
            section.direction = Direction::Inactive;
        } else if (key == "bundle-only") {
            section.bundleOnly = true;
        } else if (key == "rtcp-mux") {
            section.rtcpMux = true;
        } else if (key == "rtpmap") {
            return TakeRtpMap(section, value);
        } else if (key == "fmtp") {
            TakeParameters(section, value);
        } else if (key == "rtcp-fb") {
            TakeFeedback(section, value);
        } else if (key == "extmap") {
            TakeExtension(section, value);
        } else if (key == "ssrc") {
            std::uint32_t ssrc = 0;
            const bool isNumber = ToNumber(TakeWord(value), ssrc);
            // The engine takes 0 for none.
            if (isNumber && ssrc != 0 && value.starts_with("cname:") && section.ssrcs.size() < 64)
                section.ssrcs.push_back(ssrc);
        } else if (key == "candidate" && section.candidates.size() < kMostCandidates) {
            section.candidates.push_back("candidate:" + std::string(value));
        }
        return true;
    }

    PayloadFormat* FormatOf(MediaSection& section, std::string_view payloadText) {
        int payload = 0;
        if (!ToNumber(payloadText, payload)) return nullptr;
        const auto found =
            std::find_if(section.formats.begin(), section.formats.end(),
                         [payload](const PayloadFormat& format) { return format.payload == payload; });
        return found == section.formats.end() ? nullptr : &*found;
    }

    bool TakeRtpMap(MediaSection& section, std::string_view value) {
        PayloadFormat* format = FormatOf(section, TakeWord(value));
        if (format == nullptr) return true;
        if (!format->encoding.empty()) return Fail("a payload type is described twice");
        const std::string_view encoding = TakeWord(value, '/');
        const std::string_view rate = TakeWord(value, '/');
        if (!IsToken(encoding) || !ToNumber(rate, format->clockRate) || format->clockRate <= 0)
            return Fail("a payload type is malformed");
        if (!value.empty() && !IsToken(value)) return Fail("a payload type is malformed");
        format->encoding = encoding;
        format->encodingParameters = value;
        return true;
    }

    void TakeParameters(MediaSection& section, std::string_view value) {
        PayloadFormat* format = FormatOf(section, TakeWord(value));
        while (format != nullptr && !value.empty()) {
            std::string_view parameter = TakeWord(value, ';');
            while (parameter.starts_with(' '))
                parameter.remove_prefix(1);
            const auto equals = parameter.find('=');
            if (equals == std::string_view::npos || format->parameters.size() >= 32) continue;
            const std::string_view name = parameter.substr(0, equals);
            const std::string_view content = parameter.substr(equals + 1);
            const bool known =
                std::find(kKnownParameters.begin(), kKnownParameters.end(), name) != kKnownParameters.end();
            if (known && content.size() <= 1024 &&
                std::all_of(content.begin(), content.end(),
                            [](char character) { return IsToken(std::string_view(&character, 1)); }))
                format->parameters.emplace_back(parameter);
        }
    }

    void TakeFeedback(MediaSection& section, std::string_view value) {
        const std::string_view payload = TakeWord(value);
        if (std::find(kKnownFeedback.begin(), kKnownFeedback.end(), value) == kKnownFeedback.end()) return;
        for (PayloadFormat& format : section.formats) {
            if (payload == "*" || payload == std::to_string(format.payload))
                format.feedback.emplace_back(value);
        }
    }

    void TakeExtension(MediaSection& section, std::string_view value) {
        HeaderExtension extension;
        std::string_view id = TakeWord(value);
        id = id.substr(0, id.find('/'));
        const std::string_view uri = TakeWord(value);
        if (!ToNumber(id, extension.id) || extension.id < 1 || extension.id > 14 || !IsToken(uri)) return;
        extension.uri = uri;
        section.extensions.push_back(std::move(extension));
    }

    // Applies what the session part says to the sections.
    bool Finish() {
        if (session.contradictory) return Fail("a session attribute stands twice");
        for (std::size_t index = 0; index < description.media.size(); ++index) {
            MediaSection& section = description.media[index];
            const Transport& own = transports[index];
            if (own.contradictory) return Fail("a media attribute stands twice");
            const auto pick = [](const std::string& first, const std::string& second) {
                return first.empty() ? second : first;
            };
            section.setup = pick(own.setup, session.setup);
            section.iceUfrag = pick(own.iceUfrag, session.iceUfrag);
            section.icePwd = pick(own.icePwd, session.icePwd);
            section.fingerprint = pick(own.fingerprint, session.fingerprint);
            if (section.bundleOnly) section.rejected = false;
        }
        InheritFromBundle();
        return true;
    }

    // Only the bundle's first section has to name the transport (RFC 9143, section 7.1.3).
    void InheritFromBundle() {
        if (description.bundle.empty()) return;
        const auto tagged =
            std::find_if(description.media.begin(), description.media.end(),
                         [this](const auto& section) { return section.mid == description.bundle.front(); });
        if (tagged == description.media.end()) return;
        for (MediaSection& section : description.media) {
            const auto& mids = description.bundle;
            if (std::find(mids.begin(), mids.end(), section.mid) == mids.end()) continue;
            if (section.setup.empty()) section.setup = tagged->setup;
            if (section.iceUfrag.empty() && section.icePwd.empty()) {
                section.iceUfrag = tagged->iceUfrag;
                section.icePwd = tagged->icePwd;
            }
            if (section.fingerprint.empty()) section.fingerprint = tagged->fingerprint;
            section.rtcpMux = section.rtcpMux || tagged->rtcpMux;
        }
    }

    SessionDescription description;
    Transport session;
    std::vector<Transport> transports;  // one per section
    std::string error;
};

}  // namespace

ParsedDescription ParseDescription(std::string_view text) {
    return Parser().Parse(text);
}

}  // namespace webrtc_gstreamer
