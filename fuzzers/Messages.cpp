#include "fuzzers/Messages.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "fuzzers/Harness.h"

namespace fuzzing {
namespace {

constexpr const char* kActions[] = {"peerJoined",
                                    "joinMasterResponse",
                                    "peerDisconnected",
                                    "gotChatMessages",
                                    "gotAnswer",
                                    "createAnswer",
                                    "ice",
                                    "unknown"};
constexpr const char* kKeys[] = {"sessionGuid", "username", "sdp",     "type",    "sdpMid",
                                 "iceServers",  "result",   "chatUrl", "messages"};
constexpr const char* kWords[] = {"phone-1", "guid",   "Phone", "Halyard", "OK",
                                  "refused", "answer", "offer", "0"};
constexpr const char* kNumbers[] = {"0",
                                    "1",
                                    "-1",
                                    "2147483648",
                                    "-9223372036854775808",
                                    "0.5",
                                    "1e19",
                                    "-1e19",
                                    "18446744073709551615",
                                    "1e400",
                                    "false",
                                    "true",
                                    "null",
                                    "[]",
                                    "{}"};

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string IceServers(FuzzedDataProvider& bytes) {
    std::string list = "[";
    for (int count = bytes.ConsumeIntegralInRange(0, 3); count > 0; --count) {
        if (list.size() > 1) list += ",";
        list += R"({"url":"turn:192.0.2.1:3478?transport=udp","turnUsername":)" +
                Quoted(bytes.ConsumeRandomLengthString(8)) + R"(,"turnPassword":"secret"})";
    }
    return list + "]";
}

std::string AnyValue(FuzzedDataProvider& bytes) {
    switch (bytes.ConsumeIntegralInRange(0, 7)) {
        case 0:
            return Quoted(bytes.ConsumeRandomLengthString(48));
        case 1:
            return bytes.PickValueInArray(kNumbers);
        case 2: {
            const auto depth = bytes.ConsumeIntegralInRange<std::size_t>(1, 64);
            return std::string(depth, '[') + std::string(depth, ']');
        }
        case 3:
            return IceServers(bytes);
        case 4:
            return bytes.ConsumeRandomLengthString(16);
        default:
            return Quoted(bytes.PickValueInArray(kWords));
    }
}

}  // namespace

std::string AnyMessage(FuzzedDataProvider& bytes) {
    if (bytes.ConsumeIntegralInRange(0, 15) == 0) return bytes.ConsumeRandomLengthString(256);
    std::string text = "{\"action\":" + Quoted(bytes.PickValueInArray(kActions));
    if (bytes.ConsumeIntegralInRange(0, 7) != 0)
        text += ",\"peersIdentifier\":" + Quoted(bytes.PickValueInArray(kPeers));
    if (bytes.ConsumeBool()) text += R"(,"sessionGuid":"guid","username":"Phone","result":"OK")";
    const auto members = bytes.ConsumeIntegral<std::uint16_t>();
    for (std::size_t index = 0; index < std::size(kKeys); ++index) {
        if ((members >> index) & 1U) text += "," + Quoted(kKeys[index]) + ":" + AnyValue(bytes);
    }
    if (bytes.ConsumeBool()) text += std::string(",\"sdpMLineIndex\":") + bytes.PickValueInArray(kNumbers);
    return text + "}";
}

void RequireProtocolMessage(const std::string& text) {
    static const std::string kSent[] = {"joinMaster", "masterMadeOffer", "createdAnswer", "ice",
                                        "broadcastToPeers"};
    const auto message = nlohmann::json::parse(text, nullptr, false);
    Require(message.is_object(), "what is sent is one JSON object");
    const std::string action = message.value("action", "");
    Require(std::find(std::begin(kSent), std::end(kSent), action) != std::end(kSent),
            "what is sent has an action of the protocol");
}

}  // namespace fuzzing
