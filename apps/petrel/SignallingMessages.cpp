#include "apps/petrel/SignallingMessages.h"

#include <fmt/format.h>

#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

namespace petrel {
namespace {

using nlohmann::json;

constexpr int kMaximumLineIndex = 1000;

// Reads the texts of one object and remembers the first thing that was wrong.
class Reader {
public:
    explicit Reader(const json& toRead) : object(toRead) {}

    std::string Text(const char* key) {
        const auto found = object.find(key);
        if (found == object.end()) return {};
        if (!found->is_string()) {
            Complain(fmt::format("\"{}\" is not a text", key));
            return {};
        }
        std::string text = found->get<std::string>();
        if (text.find('\0') != std::string::npos) Complain(fmt::format("\"{}\" has a zero in it", key));
        return text;
    }

    bool Flag(const char* key) {
        const auto found = object.find(key);
        if (found == object.end() || !found->is_boolean()) {
            Complain(fmt::format("\"{}\" is not true or false", key));
            return false;
        }
        return found->get<bool>();
    }

    // Clients send the line index as a text; a number is understood too.
    int LineIndex(const char* key) {
        const auto found = object.find(key);
        if (found == object.end()) return 0;
        std::optional<std::int64_t> value;
        if (found->is_number_integer()) {
            value = found->get<std::int64_t>();
        } else if (found->is_string()) {
            value = Number(found->get_ref<const std::string&>());
        }
        if (!value || *value < 0 || *value > kMaximumLineIndex) {
            Complain(fmt::format("\"{}\" is not a line index", key));
            return 0;
        }
        return static_cast<int>(*value);
    }

    const std::string& Problem() const { return problem; }

private:
    static std::optional<std::int64_t> Number(const std::string& text) {
        std::int64_t value = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc() || stop != end) return std::nullopt;
        return value;
    }

    void Complain(std::string sentence) {
        if (problem.empty()) problem = std::move(sentence);
    }

    const json& object;
    std::string problem;
};

std::string Write(const json& object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

IncomingMessage ReadAction(const std::string& action, Reader& reader) {
    if (action == "joinMaster") return JoinMaster{reader.Text("sessionGuid"), reader.Text("username")};
    if (action == "masterMadeOffer") {
        MasterMadeOffer offer{reader.Text("peersIdentifier"), reader.Text("sdp")};
        const std::string type = reader.Text("type");
        if (!type.empty() && type != "offer")
            return MalformedMessage{"an offer calls itself \"" + type + "\""};
        return offer;
    }
    if (action == "createdAnswer") return CreatedAnswer{reader.Text("peersIdentifier")};
    if (action == "ice") {
        return RemoteCandidate{reader.Text("peersIdentifier"), reader.Text("sdp"), reader.Text("sdpMid"),
                               reader.LineIndex("sdpMLineIndex")};
    }
    if (action == "broadcastToPeers" && reader.Text("subaction") == "tallyStateChanged") {
        return TallyStateChanged{reader.Text("tallyPeerIdentifier"), reader.Flag("value")};
    }
    return UnknownMessage{action};
}

}  // namespace

IncomingMessage ReadMessage(std::string_view text) {
    const json object = json::parse(text, nullptr, false);
    if (object.is_discarded()) return MalformedMessage{"a message is not JSON"};
    if (!object.is_object()) return MalformedMessage{"a message is not a JSON object"};
    Reader reader(object);
    const std::string action = reader.Text("action");
    IncomingMessage message = ReadAction(action, reader);
    if (!reader.Problem().empty()) {
        return MalformedMessage{fmt::format("in a message \"{}\", {}", action, reader.Problem())};
    }
    return message;
}

std::string PeerJoinedMessage(const std::string& userName, const std::string& peersIdentifier,
                              const std::string& sessionGuid) {
    return Write({{"action", "peerJoined"},
                  {"username", userName},
                  {"peersIdentifier", peersIdentifier},
                  {"sessionGuid", sessionGuid}});
}

std::string GotAnswerMessage(const std::string& peersIdentifier, const std::string& sessionGuid,
                             const std::string& sdp) {
    return Write({{"action", "gotAnswer"},
                  {"peersIdentifier", peersIdentifier},
                  {"sessionGuid", sessionGuid},
                  {"sdp", sdp},
                  {"type", "answer"}});
}

std::string JoinAcceptedMessage() {
    return Write(
        {{"action", "joinMasterResponse"}, {"chatUrl", ""}, {"iceServers", json::array()}, {"result", "OK"}});
}

std::string IceMessage(const std::string& peersIdentifier, const std::string& sessionGuid,
                       const std::string& candidate, const std::string& mid, int lineIndex) {
    return Write({{"action", "ice"},
                  {"peersIdentifier", peersIdentifier},
                  {"sessionGuid", sessionGuid},
                  {"sdp", candidate},
                  {"sdpMid", mid},
                  {"sdpMLineIndex", lineIndex}});
}

}  // namespace petrel
