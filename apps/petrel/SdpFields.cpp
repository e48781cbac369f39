#include "apps/petrel/SdpFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace petrel {
namespace {

constexpr std::size_t kMaximumSdpBytes = 200'000;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool IsIceCharacter(char c) {
    return IsLetter(c) || IsDigit(c) || c == '+' || c == '/';
}
bool IsPrintable(char c) {
    return c >= 0x20 && c < 0x7F;
}

template <class Test>
bool ConsistsOf(std::string_view text, std::size_t minimum, std::size_t maximum, Test test) {
    return text.size() >= minimum && text.size() <= maximum && std::all_of(text.begin(), text.end(), test);
}

std::optional<int> Number(std::string_view text, int maximum) {
    int value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size() || value < 0 || value > maximum) {
        return std::nullopt;
    }
    return value;
}

// Takes the text up to the separator off the front.
std::string_view TakeUntil(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return taken;
}

// The rest of the first attribute `key` whose value begins with "<payload type> ".
std::string AttributeFor(const GstSDPMedia* section, const char* key, int payloadType) {
    const std::string prefix = std::to_string(payloadType) + " ";
    for (unsigned index = 0;; ++index) {
        const char* value = gst_sdp_media_get_attribute_val_n(section, key, index);
        if (value == nullptr) return {};
        const std::string_view text(value);
        if (text.starts_with(prefix)) return std::string(text.substr(prefix.size()));
    }
}

bool IsFingerprint(std::string_view text) {
    const std::string_view algorithm = TakeUntil(text, ' ');
    if (!ConsistsOf(algorithm, 3, 16, [](char c) { return IsLetter(c) || IsDigit(c) || c == '-'; }))
        return false;
    return ConsistsOf(text, 2, 3 * 64, [](char c) { return IsHexDigit(c) || c == ':'; });
}

}  // namespace

GstHandle<GstSDPMessage> ParseSdp(const std::string& text) {
    if (text.empty() || text.size() > kMaximumSdpBytes || !text.starts_with("v=")) return nullptr;
    GstSDPMessage* parsed = nullptr;
    if (gst_sdp_message_new(&parsed) != GST_SDP_OK) return nullptr;
    GstHandle<GstSDPMessage> message(parsed);
    const GstSDPResult result = gst_sdp_message_parse_buffer(reinterpret_cast<const guint8*>(text.data()),
                                                             static_cast<guint>(text.size()), message.get());
    return result == GST_SDP_OK ? std::move(message) : nullptr;
}

std::string TextOf(const char* textOrNull) {
    return textOrNull == nullptr ? "" : textOrNull;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && g_ascii_strncasecmp(left.data(), right.data(), left.size()) == 0;
}

bool IsToken(std::string_view text) {
    static constexpr std::string_view kMarks = "!#$%&'*+-.^_`{|}~";
    return ConsistsOf(text, 1, 64, [](char c) {
        return IsLetter(c) || IsDigit(c) || kMarks.find(c) != std::string_view::npos;
    });
}

std::vector<SdpFormat> Formats(const GstSDPMedia* section) {
    std::vector<SdpFormat> formats;
    for (unsigned index = 0; index < gst_sdp_media_formats_len(section); ++index) {
        const std::optional<int> payloadType = Number(TextOf(gst_sdp_media_get_format(section, index)), 127);
        if (!payloadType) continue;
        const std::string mapping = AttributeFor(section, "rtpmap", *payloadType);
        std::string_view rest = mapping;
        SdpFormat format;
        format.payloadType = *payloadType;
        format.encoding = TakeUntil(rest, '/');
        const std::optional<int> clockRate = Number(TakeUntil(rest, '/'), 1'000'000);
        const std::optional<int> channels = rest.empty() ? 1 : Number(rest, 8);
        if (!IsToken(format.encoding) || !clockRate || *clockRate == 0 || !channels) continue;
        format.clockRate = *clockRate;
        format.channels = *channels;
        format.parameters = AttributeFor(section, "fmtp", *payloadType);
        if (!ConsistsOf(format.parameters, 0, 1000, IsPrintable)) continue;
        formats.push_back(std::move(format));
    }
    return formats;
}

std::string FormatParameter(std::string_view parameters, std::string_view key) {
    while (!parameters.empty()) {
        std::string_view entry = TakeUntil(parameters, ';');
        while (entry.starts_with(' '))
            entry.remove_prefix(1);
        const std::string_view name = TakeUntil(entry, '=');
        if (EqualsIgnoringCase(name, key)) return std::string(entry);
    }
    return {};
}

bool OffersFeedback(const GstSDPMedia* section, int payloadType, std::string_view feedback) {
    const std::string exact = fmt::format("{} {}", payloadType, feedback);
    const std::string forAll = fmt::format("* {}", feedback);
    for (unsigned index = 0;; ++index) {
        const char* value = gst_sdp_media_get_attribute_val_n(section, "rtcp-fb", index);
        if (value == nullptr) return false;
        if (exact == value || forAll == value) return true;
    }
}

int ExtensionIdentifier(const GstSDPMedia* section, std::string_view uri) {
    for (unsigned index = 0;; ++index) {
        const char* value = gst_sdp_media_get_attribute_val_n(section, "extmap", index);
        if (value == nullptr) return -1;
        std::string_view rest(value);
        std::string_view identifier = TakeUntil(rest, ' ');
        identifier = TakeUntil(identifier, '/');  // a direction may follow
        const std::optional<int> number = Number(identifier, 14);
        if (number && *number > 0 && TakeUntil(rest, ' ') == uri) return *number;
    }
}

std::set<std::string> BundledMids(const GstSDPMessage* message) {
    for (unsigned index = 0;; ++index) {
        const char* value = gst_sdp_message_get_attribute_val_n(message, "group", index);
        if (value == nullptr) return {};
        std::string_view rest(value);
        if (TakeUntil(rest, ' ') != "BUNDLE") continue;
        std::set<std::string> mids;
        while (!rest.empty())
            mids.emplace(TakeUntil(rest, ' '));
        return mids;
    }
}

std::optional<Transport> Transport::Read(const GstSDPMessage* message, const GstSDPMedia* section) {
    const auto read = [message, section](const char* key) {
        const char* value = gst_sdp_media_get_attribute_val(section, key);
        return TextOf(value != nullptr ? value : gst_sdp_message_get_attribute_val(message, key));
    };
    Transport transport{read("ice-ufrag"), read("ice-pwd"), read("fingerprint"), read("setup")};
    if (!ConsistsOf(transport.iceUser, 4, 256, IsIceCharacter)) return std::nullopt;
    if (!ConsistsOf(transport.icePassword, 22, 256, IsIceCharacter)) return std::nullopt;
    if (!IsFingerprint(transport.fingerprint)) return std::nullopt;
    if (transport.setup != "actpass" && transport.setup != "active" && transport.setup != "passive") {
        return std::nullopt;
    }
    return transport;
}

std::string Transport::Lines() const {
    return fmt::format("a=ice-ufrag:{}\r\na=ice-pwd:{}\r\na=fingerprint:{}\r\na=setup:{}\r\n", iceUser,
                       icePassword, fingerprint, setup);
}

}  // namespace petrel
