#include <nlohmann/json.hpp>
#include <thread>

#include "tests/unit/connection/ConnectionTest.h"

namespace {

using fakes::FakeCandidate;
using fakes::FakeDescription;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

using ConnectionMessages = tests::ConnectionTest;

TEST_F(ConnectionMessages, OfferIsOneCompactObjectWithSortedKeys) {
    const auto connection = MakeStarted();
    Peer()->OfferCreated("v=0\r\no=- 1", "offer");
    EXPECT_THAT(
        socket->Sent(),
        ElementsAre(
            R"({"action":"masterMadeOffer","peersIdentifier":"phone-1","sdp":"v=0\r\no=- 1","sessionGuid":"guid-1","type":"offer"})"));
}

TEST_F(ConnectionMessages, AnswerIsOneCompactObjectWithSortedKeys) {
    const auto connection = MakeStarted();
    Peer()->AnswerCreated("v=0", "answer");
    EXPECT_THAT(
        socket->Sent(),
        ElementsAre(
            R"({"action":"createdAnswer","peersIdentifier":"phone-1","sdp":"v=0","sessionGuid":"guid-1","type":"answer"})"));
}

TEST_F(ConnectionMessages, CandidateIsSentWithItsLineIndexAsText) {
    const auto connection = MakeStarted();
    Peer()->CandidateGathered("candidate:1 1 UDP 1 127.0.0.1 9 typ host", "0", "0");
    EXPECT_THAT(
        socket->Sent(),
        ElementsAre(
            R"({"action":"ice","peersIdentifier":"phone-1","sdp":"candidate:1 1 UDP 1 127.0.0.1 9 typ host","sdpMLineIndex":"0","sdpMid":"0","sessionGuid":"guid-1"})"));
}

TEST_F(ConnectionMessages, PeerIsEmptyUntilItJoinedAndCopiedWhenSending) {
    const auto connection = Make("[]", "");
    connection->SendOffer("v=0", "offer");
    connection->SetPeersIdentifier("phone-2");
    connection->SetSessionGuid("guid-2");
    connection->SendOffer("v=0", "offer");
    const json first = json::parse(socket->Sent().at(0));
    const json second = json::parse(socket->Sent().at(1));
    EXPECT_EQ(first.at("peersIdentifier"), "");
    EXPECT_EQ(second.at("peersIdentifier"), "phone-2");
    EXPECT_EQ(second.at("sessionGuid"), "guid-2");
}

TEST_F(ConnectionMessages, NonAsciiTextIsSentAsUtf8) {
    const auto connection = Make("[]", "Büro");
    connection->SendOffer("s=ä", "offer");
    EXPECT_THAT(socket->Sent().at(0), testing::HasSubstr(R"("peersIdentifier":"Büro","sdp":"s=ä")"));
}

TEST_F(ConnectionMessages, TextThatIsNotUtf8RaisesInTheSendingCallbackAndSendsNothing) {
    const auto connection = MakeStarted();
    EXPECT_THROW(Peer()->OfferCreated("\xFF", "offer"), json::type_error);
    EXPECT_THROW(Peer()->AnswerCreated("v=0", "\xC3"), json::type_error);
    EXPECT_THROW(Peer()->CandidateGathered("a", "\xFF", "0"), json::type_error);
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(ConnectionMessages, SendsGoToTheNewestSocket) {
    const auto connection = MakeStarted();
    const auto next = std::make_shared<fakes::FakeWebSocket>();
    connection->SetSocket(next);
    Peer()->OfferCreated("v=0", "offer");
    EXPECT_THAT(socket->Sent(), IsEmpty());
    EXPECT_EQ(next->Sent().size(), 1U);
}

TEST_F(ConnectionMessages, AreSentOnTheThreadOfTheCallback) {
    const auto connection = MakeStarted();
    std::vector<std::thread::id> sendingThreads;
    socket->whenSending = [&sendingThreads] { sendingThreads.push_back(std::this_thread::get_id()); };
    std::thread library([] {
        Peer()->OfferCreated("v=0", "offer");
        Peer()->AnswerCreated("v=0", "answer");
        Peer()->CandidateGathered("a", "0", "0");
    });
    const std::thread::id expected = library.get_id();
    library.join();
    EXPECT_THAT(sendingThreads, ElementsAre(expected, expected, expected));
}

TEST_F(ConnectionMessages, NothingIsSentWithoutASocket) {
    const auto connection = MakeStarted();
    connection->SetSocket(nullptr);
    Peer()->OfferCreated("v=0", "offer");
    Peer()->AnswerCreated("v=0", "answer");
    Peer()->CandidateGathered("a", "0", "0");
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(ConnectionMessages, ValidMessageBeforeStartIsIgnored) {
    const auto connection = Make();
    connection->OnMessage(R"({"action":"createAnswer","sdp":"v=0","type":"offer"})");
    connection->OnMessage(R"({"action":"ice","sdpMLineIndex":"0"})");  // not even looked at
    EXPECT_THAT(fakes::FakeWebRtc::PeerConnections(), IsEmpty());
}

TEST_F(ConnectionMessages, BadTextRaisesEvenBeforeStart) {
    const auto connection = Make();
    EXPECT_THROW(connection->OnMessage("no JSON"), json::parse_error);
    EXPECT_THROW(connection->OnMessage(R"({"action":5})"), json::type_error);
    EXPECT_THROW(connection->OnMessage("[]"), json::type_error);
}

TEST_F(ConnectionMessages, PeersOfferIsSetThenAnAnswerIsMade) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"createAnswer","sdp":"v=0","type":"offer","more":[1]})");
    EXPECT_THAT(Peer()->RemoteDescriptions(), ElementsAre(FakeDescription{"v=0", "offer"}));
    EXPECT_THAT(Peer()->Calls(),
                ElementsAre("SetObserver", "CreateOffer", "SetRemoteDescription", "CreateAnswer"));
}

TEST_F(ConnectionMessages, PeersAnswerIsSet) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})");
    EXPECT_THAT(Peer()->RemoteDescriptions(), ElementsAre(FakeDescription{"v=0", "answer"}));
    EXPECT_EQ(Peer()->CountOfCalls("CreateAnswer"), 0);
}

TEST_F(ConnectionMessages, AbsentTextsAreEmpty) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"gotAnswer","sdp":"v=0"})");
    connection->OnMessage(R"({"action":"createAnswer"})");
    connection->OnMessage(R"({"action":"ice"})");
    EXPECT_THAT(Peer()->RemoteDescriptions(),
                ElementsAre(FakeDescription{"v=0", ""}, FakeDescription{"", ""}));
    EXPECT_THAT(Peer()->Candidates(), ElementsAre(FakeCandidate{"", "", 0}));
}

TEST_F(ConnectionMessages, CandidateIsAddedWithItsNumber) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"ice","sdp":"a","sdpMid":"video","sdpMLineIndex":1})");
    connection->OnMessage(R"({"action":"ice","sdp":"b","sdpMid":"0","sdpMLineIndex":0})");
    connection->OnMessage(R"({"action":"ice","sdp":"c","sdpMid":"0"})");
    EXPECT_THAT(Peer()->Candidates(), ElementsAre(FakeCandidate{"a", "video", 1}, FakeCandidate{"b", "0", 0},
                                                  FakeCandidate{"c", "0", 0}));
}

TEST_F(ConnectionMessages, LineIndexIsNarrowedTo32Bits) {
    struct Row {
        const char* number;
        std::int32_t index;
    };
    for (const Row row : {Row{"-1", -1}, Row{"1.7", 1}, Row{"4294967297", 1}, Row{"18446744073709551615", -1},
                          Row{"1e300", 0}, Row{"-1e300", 0}, Row{"9223372036854775808.0", 0}}) {
        const auto connection = MakeStarted();
        connection->OnMessage(
            (std::string(R"({"action":"ice","sdpMLineIndex":)") + row.number + "}").c_str());
        EXPECT_THAT(Peer()->Candidates(), ElementsAre(FakeCandidate{"", "", row.index})) << row.number;
    }
}

TEST_F(ConnectionMessages, LineIndexThatIsNoNumberRaises) {
    const auto connection = MakeStarted();
    for (const char* value : {R"("0")", "true", "null", "[0]", "{}"}) {
        const std::string text =
            std::string(R"({"action":"ice","sdp":"a","sdpMid":"0","sdpMLineIndex":)") + value + "}";
        EXPECT_THROW(connection->OnMessage(text.c_str()), json::type_error) << value;
    }
    EXPECT_THAT(Peer()->Candidates(), IsEmpty());
}

TEST_F(ConnectionMessages, WrongTypesAndBadTextRaiseAndChangeNothing) {
    const auto connection = MakeStarted();
    for (const char* text :
         {R"({"action":"gotAnswer","sdp":5,"type":"answer"})",
          R"({"action":"gotAnswer","sdp":"v=0","type":null})",
          R"({"action":"createAnswer","sdp":"v=0","type":{}})", R"({"action":"ice","sdp":[],"sdpMid":"0"})",
          R"({"action":"ice","sdp":"a","sdpMid":7})", R"({"action":null})", "", "{", "null", "[1]", "5",
          "{\"action\":\"\xFF\"}"}) {
        EXPECT_THROW(connection->OnMessage(text), json::exception) << text;
    }
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateOffer"));
    EXPECT_THAT(socket->Sent(), IsEmpty());
}

TEST_F(ConnectionMessages, NullTextIsBadText) {
    EXPECT_THROW(Make()->OnMessage(nullptr), json::parse_error);
}

TEST_F(ConnectionMessages, OtherActionsAreIgnored) {
    const auto connection = MakeStarted();
    for (const char* action :
         {"createanswer", "CreateAnswer", "GOTANSWER", "Ice", "ice ", "", "peerJoined"}) {
        connection->OnMessage(json{{"action", action}, {"sdp", "v=0"}}.dump().c_str());
    }
    connection->OnMessage("{}");
    EXPECT_THAT(Peer()->Calls(), ElementsAre("SetObserver", "CreateOffer"));
}

TEST_F(ConnectionMessages, SessionGuidIsNotChecked) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"gotAnswer","sdp":"v=0","type":"answer","sessionGuid":"other"})");
    EXPECT_EQ(Peer()->RemoteDescriptions().size(), 1U);
}

TEST_F(ConnectionMessages, CandidatesBeforeTheAnswerAreHandedOnAsTheyCome) {
    const auto connection = MakeStarted();
    connection->OnMessage(R"({"action":"ice","sdp":"a"})");
    connection->OnMessage(R"({"action":"gotAnswer","sdp":"v=0","type":"answer"})");
    EXPECT_THAT(Peer()->Calls(),
                ElementsAre("SetObserver", "CreateOffer", "AddIceCandidate", "SetRemoteDescription"));
}

}  // namespace
