#include "tests/e2e/nonsense/PhoneMessages.h"

#include <nlohmann/json.hpp>
#include <sstream>

namespace nonsense {
namespace {

std::string TextOf(const std::string& message, const char* key) {
    const auto object = nlohmann::json::parse(message, nullptr, false);
    if (!object.is_object() || !object.contains(key) || !object[key].is_string()) return {};
    return object[key].get<std::string>();
}

std::vector<std::string> Lines(const std::string& sdp) {
    std::vector<std::string> lines;
    std::istringstream stream(sdp);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

// "m=video 9 UDP/TLS/RTP/SAVPF 96 97" with the first payload type only; that one in `payload`.
std::string WithFirstPayload(const std::string& mediaLine, std::string& payload) {
    std::istringstream words(mediaLine);
    std::string media;
    std::string port;
    std::string protocol;
    words >> media >> port >> protocol >> payload;
    return media + " " + port + " " + protocol + " " + payload;
}

// True for what an answer repeats of an offer's section.
bool BelongsInAnswer(const std::string& line, const std::string& payload) {
    for (const char* beginning : {"c=", "a=mid:", "a=rtcp-mux", "a=rtcp-rsize", "a=extmap:"}) {
        if (line.starts_with(beginning)) return true;
    }
    for (const char* attribute : {"a=rtpmap:", "a=fmtp:", "a=rtcp-fb:"}) {
        if (line.starts_with(attribute + payload + " ")) return true;
    }
    return false;
}

constexpr const char* kTransport =
    "a=ice-ufrag:nobd\r\n"
    "a=ice-pwd:nobodyisbehindthesecredentials\r\n"
    "a=fingerprint:sha-256 00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:"
    "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF\r\n"
    "a=setup:active\r\n"
    "a=sendonly\r\n";

}  // namespace

std::string AwaitJoin(Conversation& talk) {
    if (!talk.AcceptWebSocket()) return {};
    return TextOf(talk.AwaitText("joinMaster"), "sessionGuid");
}

Negotiation AwaitOffer(Conversation& talk) {
    Negotiation negotiation;
    negotiation.sessionGuid = AwaitJoin(talk);
    if (negotiation.sessionGuid.empty()) return negotiation;
    talk.SendText(PeerJoined(negotiation.sessionGuid));
    negotiation.offer = TextOf(talk.AwaitText("masterMadeOffer"), "sdp");
    return negotiation;
}

std::string PeerJoined(const std::string& sessionGuid, const std::string& identifier) {
    return nlohmann::json{{"action", "peerJoined"},
                          {"username", "Nonsense"},
                          {"peersIdentifier", identifier},
                          {"sessionGuid", sessionGuid}}
        .dump();
}

std::string GotAnswer(const Negotiation& negotiation, const std::string& sdp, const std::string& type) {
    return nlohmann::json{{"action", "gotAnswer"},
                          {"peersIdentifier", kPhoneIdentifier},
                          {"sessionGuid", negotiation.sessionGuid},
                          {"sdp", sdp},
                          {"type", type}}
        .dump();
}

std::string Candidate(const Negotiation& negotiation, const std::string& line, const std::string& mid,
                      int lineIndex) {
    return nlohmann::json{{"action", "ice"},
                          {"peersIdentifier", kPhoneIdentifier},
                          {"sessionGuid", negotiation.sessionGuid},
                          {"sdp", line},
                          {"sdpMid", mid},
                          {"sdpMLineIndex", lineIndex}}
        .dump();
}

std::string PlausibleAnswer(const std::string& offer) {
    std::string answer;
    std::string payload;
    bool inMedia = false;
    for (const std::string& line : Lines(offer)) {
        if (line.starts_with("m=")) {
            inMedia = true;
            answer += WithFirstPayload(line, payload) + "\r\n" + kTransport;
        } else if (inMedia ? BelongsInAnswer(line, payload)
                           : !line.starts_with("a=") || line.starts_with("a=group:")) {
            answer += line + "\r\n";
        }
    }
    return answer;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string WithoutLines(const std::string& sdp, const std::string& beginning) {
    std::string kept;
    for (const std::string& line : Lines(sdp)) {
        if (!line.starts_with(beginning)) kept += line + "\r\n";
    }
    return kept;
}

std::vector<std::string> Sections(const std::string& sdp) {
    std::vector<std::string> sections(1);
    for (const std::string& line : Lines(sdp)) {
        if (line.starts_with("m=")) sections.emplace_back();
        sections.back() += line + "\r\n";
    }
    return sections;
}

}  // namespace nonsense
