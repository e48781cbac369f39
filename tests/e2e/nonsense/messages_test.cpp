// A phone whose messages make no sense: each ends alone, and the same connection still joins afterwards.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/nonsense/NonsenseTest.h"

namespace nonsense {
namespace {

using nlohmann::json;

// Says all of it after the host's join, then joins as a good phone does.
NonsensePhone::Script Saying(std::vector<std::string> texts, Milestone& offerCame) {
    return [texts = std::move(texts), &offerCame](Conversation& talk) {
        Negotiation negotiation;
        negotiation.sessionGuid = AwaitJoin(talk);
        for (const std::string& text : texts)
            talk.SendText(text);
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) offerCame.Reach();
        talk.StayUntilHostLeaves();
    };
}

// Joins first, then says all of it, then joins again: the phone of the source is known by then.
NonsensePhone::Script SayingAfterJoin(std::vector<std::string> texts, Milestone& offerCame) {
    return [texts = std::move(texts), &offerCame](Conversation& talk) {
        const Negotiation negotiation = AwaitOffer(talk);
        for (const std::string& text : texts)
            talk.SendText(text);
        talk.SendText(PeerJoined(negotiation.sessionGuid));
        if (!talk.AwaitText("masterMadeOffer").empty()) offerCame.Reach();
        talk.StayUntilHostLeaves();
    };
}

std::string FromPhone(json message) {
    message["peersIdentifier"] = kPhoneIdentifier;
    return message.dump();
}

class NonsenseMessages : public NonsenseTest {};

TEST_F(NonsenseMessages, TextThatIsNoJsonEndsAlone) {
    const std::vector<std::string> texts = {
        "{",
        "{\"action\":",
        "nul",
        "",
        " ",
        "{\"action\":\"peerJoined\",}",
        "{\"a\":1}{\"b\":2}",
        "{\"sdpMLineIndex\":NaN}",
        "{\"action\":\"\\ud800\"}",
        std::string("{\"action\":\0\"ice\"}", 17),
    };
    PlayUntil(Saying(texts, milestone), [this, &texts] {
        return trace.Count("OnSocketMessage failed: [json.exception.parse_error") == texts.size();
    });
}

TEST_F(NonsenseMessages, JsonThatIsNoObjectEndsAlone) {
    const std::vector<std::string> texts = {"[]",   "[1,2,[3]]",     "5", "-0.5e3", "null",
                                            "true", "\"peerJoined\""};
    PlayUntil(Saying(texts, milestone), [this, &texts] {
        return trace.Count("OnSocketMessage failed: [json.exception.type_error.306]") == texts.size();
    });
}

TEST_F(NonsenseMessages, KeysOfTheWrongTypeEndAlone) {
    const std::vector<std::string> texts = {
        R"({"action":5})",
        R"({"action":null})",
        R"({"action":{"action":"peerJoined"}})",
        R"({"action":"peerJoined","username":7,"peersIdentifier":"x","sessionGuid":"y"})",
        R"({"action":"peerJoined","username":"x","peersIdentifier":["y"],"sessionGuid":"z"})",
        R"({"action":"peerJoined","username":"x","peersIdentifier":"y","sessionGuid":{}})",
        R"({"action":"peerDisconnected","peersIdentifier":1e99})",
        R"({"action":"joinMasterResponse","iceServers":[],"result":false})",
    };
    PlayUntil(Saying(texts, milestone), [this, &texts] {
        return trace.Count("OnSocketMessage failed: [json.exception.type_error.302]") == texts.size();
    });
}

TEST_F(NonsenseMessages, NegotiationKeysOfTheWrongTypeEndAlone) {
    const std::vector<std::string> texts = {
        FromPhone({{"action", "gotAnswer"}, {"sdp", 5}, {"type", "answer"}}),
        FromPhone({{"action", "gotAnswer"}, {"sdp", "v=0"}, {"type", nullptr}}),
        FromPhone({{"action", "createAnswer"}, {"sdp", json::array()}, {"type", "offer"}}),
        FromPhone({{"action", "ice"}, {"sdp", "candidate"}, {"sdpMid", 0}, {"sdpMLineIndex", 0}}),
        FromPhone({{"action", "ice"}, {"sdp", "candidate"}, {"sdpMid", "0"}, {"sdpMLineIndex", "0"}}),
        FromPhone(
            {{"action", "ice"}, {"sdp", "candidate"}, {"sdpMid", "0"}, {"sdpMLineIndex", json::object()}}),
    };
    PlayUntil(SayingAfterJoin(texts, milestone), [this, &texts] {
        return trace.Count("OnSocketMessage failed: [json.exception.type_error.302]") == texts.size();
    });
}

TEST_F(NonsenseMessages, MissingValuesEndAlone) {
    const std::vector<std::string> texts = {
        R"({"action":"joinMasterResponse","result":"OK"})",
        R"({"action":"joinMasterResponse"})",
    };
    PlayUntil(Saying(texts, milestone), [this, &texts] {
        return trace.Count(
                   "OnSocketMessage failed: [json.exception.invalid_iterator.214] cannot get value") ==
               texts.size();
    });
}

// They are dropped without a word, as the protocol has it; what shows is that the join behind them works.
TEST_F(NonsenseMessages, UnknownActionsAreDropped) {
    const std::vector<std::string> texts = {
        "{}",
        R"({"action":""})",
        R"({"action":"PEERJOINED","username":"x","peersIdentifier":"y","sessionGuid":"z"})",
        R"({"action":"selfDestruct","peersIdentifier":"nobody"})",
        R"({"action":"peerDisconnected","peersIdentifier":"nobody"})",
        R"({"action":"peerJoined"})",
        R"({"action":"peerJoined","username":"Halyard","peersIdentifier":"echo"})",
        R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})",
        FromPhone({{"action", "selfDestruct"}}),
        FromPhone({{"action", "GOTANSWER"}, {"sdp", "v=0"}, {"type", "answer"}}),
    };
    PlayUntil(SayingAfterJoin(texts, milestone), [] { return true; });
}

TEST_F(NonsenseMessages, DeepNestingDoesNotExhaustTheStack) {
    constexpr std::size_t kDepth = 100'000;
    const std::string opening(kDepth, '[');
    const std::string closing(kDepth, ']');
    std::string objects;
    for (std::size_t level = 0; level < kDepth; ++level)
        objects += "{\"a\":";
    const std::vector<std::string> texts = {
        opening,
        opening + closing,
        R"({"action":"joinMasterResponse","result":"OK","iceServers":)" + opening + closing + "}",
        R"({"action":"gotChatMessages","messages":)" + opening + closing + "}",
        FromPhone({{"action", "ice"}}).insert(1, "\"sdp\":" + opening + closing + ","),
        objects + "1" + std::string(kDepth, '}'),
    };
    PlayUntil(Saying(texts, milestone),
              [this, &texts] { return trace.Count("nested too deeply, dropped") == texts.size(); });
}

// Quotes, format marks and lengths that a careless host would paste into a text of its own.
TEST_F(NonsenseMessages, StrangeIdentifiersAreOnlyTexts) {
    const std::vector<std::string> identifiers = {"a\"b",
                                                  "a\\b",
                                                  "\",\"ownerKey\":\"evil",
                                                  "%s%n%d{}{0}",
                                                  std::string("nul\0inside", 10),
                                                  "line\nfeed\r\n",
                                                  "",
                                                  std::string(100'000, 'x'),
                                                  "\xF0\x9F\x93\xB1"};
    const auto script = [this, &identifiers](Conversation& talk) {
        const std::string guid = AwaitJoin(talk);
        for (const std::string& strange : identifiers)
            talk.SendText(PeerJoined(guid, strange));
        talk.SendText(PeerJoined(guid));
        std::string offer;
        do {
            offer = talk.AwaitText("masterMadeOffer");
        } while (!offer.empty() && json::parse(offer)["peersIdentifier"] != kPhoneIdentifier);
        if (!offer.empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script,
              [this] { return trace.Contains("peerId:a\"b\n") && trace.Contains("peerId:%s%n%d{}{0}\n"); });
}

TEST_F(NonsenseMessages, StrangeUserNamesAreOnlyTexts) {
    const auto script = [this](Conversation& talk) {
        Negotiation negotiation;
        negotiation.sessionGuid = AwaitJoin(talk);
        const std::string joined = PeerJoined(negotiation.sessionGuid);
        for (const char* name : {"%s%s%n", "{}{}{:>99999999}", "\\u0000", "\\\"", "name\\nwith\\nlines"}) {
            talk.SendText(Replaced(joined, "Nonsense", name));
        }
        talk.SendText(joined);
        if (!talk.AwaitText("masterMadeOffer").empty()) milestone.Reach();
        talk.StayUntilHostLeaves();
    };
    PlayUntil(script, [this] { return trace.Contains("name:{}{}{:>99999999} peerId:"); });
}

}  // namespace
}  // namespace nonsense
