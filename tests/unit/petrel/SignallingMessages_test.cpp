#include "apps/petrel/SignallingMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace {

using nlohmann::json;
using petrel::ReadMessage;

template <class Message>
Message ReadAs(std::string_view text) {
    const petrel::IncomingMessage message = ReadMessage(text);
    EXPECT_TRUE(std::holds_alternative<Message>(message)) << text;
    return std::holds_alternative<Message>(message) ? std::get<Message>(message) : Message{};
}

TEST(SignallingMessages, ReadAJoin) {
    const auto join = ReadAs<petrel::JoinMaster>(
        R"({"action":"joinMaster","ownerKey":"key","sessionGuid":"guid","username":"Halyard"})");
    EXPECT_EQ(join.sessionGuid, "guid");
}

TEST(SignallingMessages, ReadAnOffer) {
    const auto offer = ReadAs<petrel::MasterMadeOffer>(
        R"({"action":"masterMadeOffer","peersIdentifier":"me","sdp":"v=0","sessionGuid":"guid","type":"offer"})");
    EXPECT_EQ(offer.peersIdentifier, "me");
    EXPECT_EQ(offer.sdp, "v=0");
}

TEST(SignallingMessages, TakeTheLineIndexAsTextOrNumber) {
    const auto asText = ReadAs<petrel::RemoteCandidate>(
        R"({"action":"ice","peersIdentifier":"me","sdp":"candidate:1","sdpMid":"video0","sdpMLineIndex":"1"})");
    EXPECT_EQ(asText.lineIndex, 1);
    EXPECT_EQ(asText.candidate, "candidate:1");
    EXPECT_EQ(asText.mid, "video0");
    EXPECT_EQ(ReadAs<petrel::RemoteCandidate>(R"({"action":"ice","sdpMLineIndex":2})").lineIndex, 2);
    EXPECT_EQ(ReadAs<petrel::RemoteCandidate>(R"({"action":"ice"})").lineIndex, 0);
}

TEST(SignallingMessages, ReadATally) {
    const auto tally = ReadAs<petrel::TallyStateChanged>(
        R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":"me","value":true})");
    EXPECT_EQ(tally.peersIdentifier, "me");
    EXPECT_TRUE(tally.onAir);
}

TEST(SignallingMessages, KeepUnknownActionsApartFromMalformedOnes) {
    EXPECT_EQ(ReadAs<petrel::UnknownMessage>(R"({"action":"JoinMaster"})").action, "JoinMaster");
    EXPECT_EQ(ReadAs<petrel::UnknownMessage>("{}").action, "");
    ReadAs<petrel::UnknownMessage>(R"({"action":"broadcastToPeers","subaction":"chat"})");
}

TEST(SignallingMessages, CallTheseMalformed) {
    const char* const kTexts[] = {
        "",
        "{",
        "null",
        "[1,2]",
        "\"joinMaster\"",
        R"({"action":5})",
        R"({"action":"joinMaster","sessionGuid":null})",
        R"({"action":"masterMadeOffer","sdp":{}})",
        R"({"action":"masterMadeOffer","sdp":"v=0","type":"answer"})",
        R"({"action":"masterMadeOffer","sdp":"v=0\u0000"})",
        R"({"action":"ice","sdpMLineIndex":"one"})",
        R"({"action":"ice","sdpMLineIndex":-1})",
        R"({"action":"ice","sdpMLineIndex":"99999999999999999999"})",
        R"({"action":"ice","sdpMLineIndex":1.5})",
        R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":"me"})",
        "{\"action\":\"\xff\"}",
    };
    for (const char* text : kTexts) {
        EXPECT_FALSE(ReadAs<petrel::MalformedMessage>(text).problem.empty()) << text;
    }
}

TEST(SignallingMessages, SurviveDeepNesting) {
    const std::string deep = "{\"action\":" + std::string(200'000, '[') + std::string(200'000, ']') + "}";
    ReadAs<petrel::MalformedMessage>(deep);
}

TEST(SignallingMessages, AnnounceThePhone) {
    EXPECT_EQ(petrel::PeerJoinedMessage("Camera", "me", "guid"),
              R"({"action":"peerJoined","peersIdentifier":"me","sessionGuid":"guid","username":"Camera"})");
}

TEST(SignallingMessages, SendTheAnswer) {
    EXPECT_EQ(
        petrel::GotAnswerMessage("me", "guid", "v=0\r\n"),
        R"({"action":"gotAnswer","peersIdentifier":"me","sdp":"v=0\r\n","sessionGuid":"guid","type":"answer"})");
}

TEST(SignallingMessages, SendTheLineIndexAsANumber) {
    const json message = json::parse(petrel::IceMessage("me", "guid", "candidate:1", "video0", 1));
    EXPECT_EQ(message.at("action"), "ice");
    EXPECT_TRUE(message.at("sdpMLineIndex").is_number_integer());
    EXPECT_EQ(message.at("sdpMLineIndex"), 1);
    EXPECT_EQ(message.at("sdpMid"), "video0");
    EXPECT_EQ(message.at("sdp"), "candidate:1");
}

TEST(SignallingMessages, StayValidWithForeignBytes) {
    EXPECT_FALSE(
        json::parse(petrel::PeerJoinedMessage("Camera", "me", "\xff\xfe"), nullptr, false).is_discarded());
}

}  // namespace
