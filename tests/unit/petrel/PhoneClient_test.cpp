// What a phone says to a client, without any media.
#include "apps/petrel/PhoneClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/petrel/PatternSource.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordingConnection : public web_server::WebSocketConnection {
public:
    void Send(std::string text) override { sent.push_back(std::move(text)); }
    void Close() override {}
    std::string RemoteAddress() const override { return "test"; }
    std::vector<std::string> sent;
};

class PhoneClientTest : public testing::Test {
protected:
    void SetUp() override {
        petrel::SimulateOptions options;
        options.width = 256;
        options.height = 144;
        std::string error;
        encoder = petrel::SharedEncoder::Make(options, std::make_unique<petrel::PatternSource>(256, 144),
                                              nullptr, error);
        ASSERT_NE(encoder, nullptr) << error;
        client = std::make_shared<petrel::PhoneClient>(identity, petrel::Studio{loop, *encoder}, connection);
    }

    petrel::ControlLoop loop;
    std::unique_ptr<petrel::SharedEncoder> encoder;
    const petrel::PhoneIdentity identity{"127.0.0.2", "me", "Camera"};
    const std::shared_ptr<RecordingConnection> connection = std::make_shared<RecordingConnection>();
    std::shared_ptr<petrel::PhoneClient> client;
};

TEST_F(PhoneClientTest, AnnouncesItselfAfterTheJoinWithItsSession) {
    EXPECT_THAT(connection->sent, IsEmpty());
    client->OnMessage(R"({"action":"joinMaster","ownerKey":"","sessionGuid":"guid","username":"Halyard"})");
    EXPECT_THAT(
        connection->sent,
        ElementsAre(
            R"({"action":"peerJoined","peersIdentifier":"me","sessionGuid":"guid","username":"Camera"})"));
}

TEST_F(PhoneClientTest, AnnouncesItselfAtEveryJoin) {
    client->OnMessage(R"({"action":"joinMaster","sessionGuid":"one"})");
    client->OnMessage(R"({"action":"joinMaster","sessionGuid":"two"})");
    ASSERT_EQ(connection->sent.size(), 2U);
    EXPECT_THAT(connection->sent[1], testing::HasSubstr("two"));
}

TEST_F(PhoneClientTest, SaysNothingToNonsense) {
    const char* const kTexts[] = {
        "",
        "not JSON",
        "[]",
        R"({"action":"joinmaster"})",
        R"({"action":"masterMadeOffer","peersIdentifier":"me","sdp":"nonsense","type":"offer"})",
        R"({"action":"masterMadeOffer","peersIdentifier":"other","sdp":"v=0","type":"offer"})",
        R"({"action":"createdAnswer","peersIdentifier":"me","sdp":"v=0","type":"answer"})",
        R"({"action":"ice","peersIdentifier":"me","sdp":"candidate:1","sdpMid":"","sdpMLineIndex":"0"})",
        R"({"action":"broadcastToPeers","subaction":"tallyStateChanged","tallyPeerIdentifier":"me","value":"yes"})",
    };
    for (const char* text : kTexts)
        client->OnMessage(text);
    EXPECT_THAT(connection->sent, IsEmpty());
    client->OnMessage(R"({"action":"joinMaster","sessionGuid":"guid"})");
    EXPECT_EQ(connection->sent.size(), 1U);
}

TEST_F(PhoneClientTest, RejectsAnOfferThatItCannotServe) {
    client->OnMessage(
        R"({"action":"masterMadeOffer","peersIdentifier":"me","type":"offer","sdp":"v=0\r\no=- 1 1 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\nm=video 9 UDP/TLS/RTP/SAVPF 96\r\na=mid:0\r\n"})");
    ASSERT_EQ(connection->sent.size(), 1U);
    EXPECT_THAT(connection->sent[0], testing::HasSubstr("gotAnswer"));
    EXPECT_THAT(connection->sent[0], testing::HasSubstr("m=video 0 "));
}

}  // namespace
