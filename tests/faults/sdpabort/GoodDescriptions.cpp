#include <algorithm>
#include <sstream>

#include "tests/faults/sdpabort/Descriptions.h"

namespace sdpabort {
namespace {

struct Section {
    std::string kind;
    std::string mid;
    std::vector<std::string> payloads;
    std::vector<std::string> extensions;
    std::vector<std::string> formats;  // rtpmap, fmtp and rtcp-fb lines
};

std::vector<Section> ReadSections(const std::string& offer) {
    std::vector<Section> sections;
    std::istringstream lines(offer);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.starts_with("m=")) {
            Section section;
            std::istringstream words(line.substr(2));
            std::string port, protocol;
            words >> section.kind >> port >> protocol;
            for (std::string payload; words >> payload;)
                section.payloads.push_back(payload);
            sections.push_back(section);
        } else if (!sections.empty()) {
            Section& section = sections.back();
            if (line.starts_with("a=mid:")) section.mid = line.substr(6);
            if (line.starts_with("a=extmap:")) section.extensions.push_back(line);
            if (line.starts_with("a=rtpmap:") || line.starts_with("a=fmtp:") ||
                line.starts_with("a=rtcp-fb:"))
                section.formats.push_back(line);
        }
    }
    return sections;
}

bool IsOf(const std::string& formatLine, const std::string& payload) {
    const std::size_t colon = formatLine.find(':');
    return formatLine.substr(colon + 1, formatLine.find(' ') - colon - 1) == payload;
}

std::string Fingerprint(Dice& dice) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "a=fingerprint:sha-256 ";
    for (int index = 0; index < 32; ++index) {
        if (index > 0) text += ':';
        text += kDigits[dice.Below(16)];
        text += kDigits[dice.Below(16)];
    }
    return text;
}

enum class Manner { Browser, Terse, SessionWide };

std::vector<std::string> Transport(const std::string& role, Dice& dice) {
    return {"a=ice-ufrag:abcd" + std::to_string(dice.Below(1000)), "a=ice-pwd:abcdefghijklmnopqrstuvwx",
            Fingerprint(dice), "a=setup:" + role};
}

void AddSection(std::vector<std::string>& lines, const Section& section, Manner manner,
                const std::vector<std::string>& transport, bool offers, Dice& dice) {
    std::vector<std::string> payloads = section.payloads;
    const std::size_t kept = 1 + dice.Below(payloads.size());
    if (!offers) payloads.resize(kept);
    std::string head = "m=" + section.kind + " 9 UDP/TLS/RTP/SAVPF";
    for (const std::string& payload : payloads)
        head += " " + payload;
    lines.push_back(head);
    lines.emplace_back("c=IN IP4 0.0.0.0");
    if (manner == Manner::Browser) lines.emplace_back("a=rtcp:9 IN IP4 0.0.0.0");
    if (manner != Manner::SessionWide) lines.insert(lines.end(), transport.begin(), transport.end());
    if (manner == Manner::Browser) lines.emplace_back("a=ice-options:trickle");
    lines.push_back("a=mid:" + section.mid);
    for (const std::string& extension : section.extensions) {
        if (!dice.OneIn(4)) lines.push_back(extension);
    }
    lines.emplace_back(dice.OneIn(3) && !offers ? "a=sendrecv" : "a=sendonly");
    if (manner == Manner::Browser) lines.emplace_back("a=msid:stream " + section.kind);
    lines.emplace_back("a=rtcp-mux");
    if (manner == Manner::Browser) lines.emplace_back("a=rtcp-rsize");
    for (const std::string& line : section.formats) {
        const bool isKept = std::any_of(payloads.begin(), payloads.end(),
                                        [&line](const std::string& payload) { return IsOf(line, payload); });
        if (isKept) lines.push_back(line);
    }
    if (!dice.OneIn(3)) {
        const std::string ssrc = std::to_string(1 + dice.Below(4'000'000'000));
        lines.push_back("a=ssrc:" + ssrc + " cname:phone");
        if (manner == Manner::Browser) lines.push_back("a=ssrc:" + ssrc + " msid:stream " + section.kind);
    }
    if (dice.OneIn(3)) lines.emplace_back("a=candidate:1 1 udp 2122260223 127.0.0.1 9 typ host generation 0");
}

std::string Describe(const std::string& offer, bool offers, Dice& dice) {
    const std::vector<Section> sections = ReadSections(offer);
    const auto manner = static_cast<Manner>(dice.Below(3));
    const std::string role = offers ? "actpass" : dice.OneIn(2) ? "active" : "passive";
    const std::vector<std::string> transport = Transport(role, dice);
    std::vector<std::string> lines = {"v=0", "o=- 4611731400430051336 2 IN IP4 127.0.0.1", "s=-", "t=0 0"};
    std::string bundle = "a=group:BUNDLE";
    for (const Section& section : sections)
        bundle += " " + section.mid;
    lines.push_back(bundle);
    if (manner == Manner::Browser) lines.emplace_back("a=msid-semantic: WMS stream");
    if (manner == Manner::SessionWide) lines.insert(lines.end(), transport.begin(), transport.end());
    for (const Section& section : sections)
        AddSection(lines, section, manner, transport, offers, dice);
    std::string text;
    for (const std::string& line : lines)
        text += line + "\r\n";
    return text;
}

}  // namespace

std::string GoodAnswer(const std::string& offer, Dice& dice) {
    return Describe(offer, false, dice);
}

std::string GoodOffer(const std::string& offer, Dice& dice) {
    return Describe(offer, true, dice);
}

}  // namespace sdpabort
