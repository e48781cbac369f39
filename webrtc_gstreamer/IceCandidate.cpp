#include "webrtc_gstreamer/IceCandidate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace webrtc_gstreamer {
namespace {

constexpr std::size_t kLongestCandidate = 1024;

std::string_view WithoutPrefix(std::string_view text) {
    if (text.starts_with("a=")) text.remove_prefix(2);
    if (text.starts_with("candidate:")) text.remove_prefix(10);
    while (text.ends_with('\r') || text.ends_with('\n') || text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

std::vector<std::string_view> Words(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const auto end = text.find(' ');
        if (end != 0) words.push_back(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return words;
}

bool IsNumber(std::string_view text, std::uint32_t lowest, std::uint32_t highest) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= lowest && number <= highest;
}

bool Equals(std::string_view left, std::string_view right) {
    return left.size() == right.size() && g_ascii_strncasecmp(left.data(), right.data(), left.size()) == 0;
}

bool IsAddressText(std::string_view text) {
    return !text.empty() && text.size() <= 255 && std::all_of(text.begin(), text.end(), [](char character) {
        return g_ascii_isalnum(character) || character == '.' || character == ':' || character == '-' ||
               character == '_' || character == '%';
    });
}

}  // namespace

CandidateKind Classify(std::string_view candidate) {
    if (candidate.size() > kLongestCandidate) return CandidateKind::Bad;
    const std::string_view text = WithoutPrefix(candidate);
    if (text.empty()) return CandidateKind::Ignored;
    if (std::any_of(text.begin(), text.end(),
                    [](char character) { return character < ' ' || character > '~'; }))
        return CandidateKind::Bad;
    // foundation component transport priority address port "typ" type ...
    const auto words = Words(text);
    if (words.size() < 8 || words[6] != "typ") return CandidateKind::Bad;
    if (words[0].size() > 32 || !IsNumber(words[1], 1, 256) || !IsNumber(words[3], 0, 0xFFFFFFFFU) ||
        !IsAddressText(words[4]) || !IsNumber(words[5], 0, 65535))
        return CandidateKind::Bad;
    static constexpr std::array<std::string_view, 4> kTypes = {"host", "srflx", "prflx", "relay"};
    if (std::find(kTypes.begin(), kTypes.end(), words[7]) == kTypes.end()) return CandidateKind::Bad;
    if (!Equals(words[2], "udp")) return CandidateKind::Ignored;
    return CandidateKind::Usable;
}

std::string Normalised(std::string_view candidate) {
    return "candidate:" + std::string(WithoutPrefix(candidate));
}

bool NamesASection(const SessionDescription& description, std::string_view mid, std::int32_t lineIndex) {
    if (!mid.empty()) {
        return std::any_of(description.media.begin(), description.media.end(),
                           [mid](const MediaSection& section) { return section.mid == mid; });
    }
    return lineIndex >= 0 && static_cast<std::size_t>(lineIndex) < description.media.size();
}

}  // namespace webrtc_gstreamer
