#include <optional>

#include "tests/contract/web_server/ServerFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using web_server::WebSocketServerOptions;

class WebSocketServerContract : public ServerFixture {
protected:
    static bool SendMasked(RawPeer& peer, const Frame& frame) {
        return peer.Send(EncodeFrame(frame, Masking::Masked));
    }
};

TEST_F(WebSocketServerContract, AnswersMessagesInOrder) {
    onMessage = [](const auto& connection, const std::string& text) {
        connection->Send(text + " 1");
        connection->Send(text + " 2");
    };
    Listen();
    const auto peer = Join();
    SendMasked(*peer, {kText, true, "one"});
    SendMasked(*peer, {kText, true, "two"});
    EXPECT_EQ(peer->ReadMessage()->payload, "one 1");
    EXPECT_EQ(peer->ReadMessage()->payload, "one 2");
    EXPECT_EQ(peer->ReadMessage()->payload, "two 1");
    EXPECT_EQ(peer->ReadMessage()->payload, "two 2");
    EXPECT_THAT(Lines(), ElementsAre("open", "message one", "message two"));
    EXPECT_THAT(LatestConnection()->RemoteAddress(), StartsWith("127.0.0.1:"));
}

TEST_F(WebSocketServerContract, ReassemblesFragmentsAndIgnoresBinary) {
    Listen();
    const auto peer = Join();
    SendMasked(*peer, {kBinary, true, "ignored"});
    SendMasked(*peer, {kText, false, "a"});
    SendMasked(*peer, {kPing, true, "in between"});
    SendMasked(*peer, {kContinuation, true, "b"});
    EXPECT_THAT(WaitForLines(2), ElementsAre("open", "message ab"));
    const auto pong = peer->ReadFrame();
    ASSERT_TRUE(pong);
    EXPECT_EQ(pong->opcode, kPong);
    EXPECT_EQ(pong->payload, "in between");
}

TEST_F(WebSocketServerContract, AnswersOtherPathsWith404) {
    Listen();
    const auto peer = Dial();
    EXPECT_THAT(peer->RequestWebSocket("/elsewhere"), StartsWith("HTTP/1.1 404 "));
    EXPECT_TRUE(peer->WaitForEnd());
}

TEST_F(WebSocketServerContract, AcceptsItsPathWithAnyQuery) {
    Listen();
    EXPECT_THAT(Dial()->RequestWebSocket("/?a=b"), StartsWith("HTTP/1.1 101 "));
}

TEST_F(WebSocketServerContract, AsksAPlainRequestToUpgrade) {
    Listen();
    const auto peer = Dial();
    peer->Send("GET / HTTP/1.1\r\nHost: test\r\n\r\n");
    const std::string answer = peer->ReadHeader();
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 426 "));
    EXPECT_THAT(answer, HasSubstr("Upgrade: websocket\r\n"));
    EXPECT_TRUE(peer->WaitForEnd());
}

TEST_F(WebSocketServerContract, RefusesGarbage) {
    Listen();
    const auto peer = Dial();
    peer->Send("\x16\x03\x01\x02\x00 this is no request\r\n\r\n");
    EXPECT_THAT(peer->ReadHeader(), StartsWith("HTTP/1.1 400 "));
    EXPECT_TRUE(peer->WaitForEnd());
    const auto next = Join();  // the server lives on
    EXPECT_THAT(WaitForLines(1), ElementsAre("open"));
}

TEST_F(WebSocketServerContract, RefusesAnEndlessHeader) {
    Listen();
    const auto peer = Dial();
    peer->Send("GET / HTTP/1.1\r\n");
    peer->SendLongHeader();
    EXPECT_THAT(peer->ReadHeader(), StartsWith("HTTP/1.1 400 "));
    EXPECT_TRUE(peer->WaitForEnd());
}

TEST_F(WebSocketServerContract, DropsAClientThatStaysSilent) {
    WebSocketServerOptions options;
    options.handshakeLimit = std::chrono::milliseconds(50);
    Listen(options);
    EXPECT_TRUE(Dial()->WaitForEnd());
    const auto halfWay = Dial();
    halfWay->Send("GET / HTTP/1.1\r\nHost:");
    EXPECT_TRUE(halfWay->WaitForEnd());
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(WebSocketServerContract, DropsAClientWhoseMessageGoesOnForEver) {
    WebSocketServerOptions options;
    options.messageLimit = std::chrono::milliseconds(100);
    Listen(options);
    const auto peer = Join();
    SendMasked(*peer, {kText, true, "whole"});
    SendMasked(*peer, {kText, false, "more to come"});
    EXPECT_THAT(WaitForLines(3), ElementsAre("open", "message whole", "close"));
    EXPECT_TRUE(peer->WaitForEnd());
}

TEST_F(WebSocketServerContract, KeepsAClientBetweenItsMessages) {
    WebSocketServerOptions options;
    options.messageLimit = std::chrono::milliseconds(20);
    options.silenceLimit = std::chrono::milliseconds(400);
    Listen(options);
    const auto peer = Join();
    SendMasked(*peer, {kText, true, "first"});
    // The server's own ping says that many looks have passed.
    const auto ping = peer->ReadFrame();
    ASSERT_TRUE(ping);
    EXPECT_EQ(ping->opcode, kPing);
    SendMasked(*peer, {kText, true, "second"});
    EXPECT_THAT(WaitForLines(3), ElementsAre("open", "message first", "message second"));
}

TEST_F(WebSocketServerContract, DropsAClientThatFallsSilentLater) {
    WebSocketServerOptions options;
    options.silenceLimit = std::chrono::milliseconds(100);
    Listen(options);
    const auto peer = Join();
    EXPECT_TRUE(peer->WaitForEnd());
    EXPECT_THAT(WaitForLines(2), ElementsAre("open", "close"));
}

TEST_F(WebSocketServerContract, KeepsAClientThatAnswersPings) {
    WebSocketServerOptions options;
    options.silenceLimit = std::chrono::milliseconds(400);
    Listen(options);
    const auto peer = Join();
    for (int i = 0; i < 4; ++i) {
        const auto ping = peer->ReadFrame();
        ASSERT_TRUE(ping);
        ASSERT_EQ(ping->opcode, kPing);
        SendMasked(*peer, {kPong, true, ping->payload});
    }
    EXPECT_THAT(Lines(), ElementsAre("open"));
}

TEST_F(WebSocketServerContract, TurnsAwayMoreThanTheMaximum) {
    WebSocketServerOptions options;
    options.maximumConnections = 2;
    Listen(options);
    auto first = Join();
    const auto second = Join();
    EXPECT_EQ(Dial()->RequestWebSocket("/"), "");
    SendMasked(*first, {kClose, true, ""});
    EXPECT_TRUE(first->WaitForEnd());
    first.reset();
    // The place is free once the server has seen the end.
    std::string answer;
    for (int i = 0; i < 1000 && answer.empty(); ++i)
        answer = Dial()->RequestWebSocket("/");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 101 "));
}

TEST_F(WebSocketServerContract, LimitsTheSizeOfAMessage) {
    WebSocketServerOptions options;
    options.maximumMessageBytes = 1000;
    Listen(options);
    const auto peer = Join();
    SendMasked(*peer, {kText, true, std::string(1000, 'x')});
    SendMasked(*peer, {kText, true, std::string(1001, 'x')});
    EXPECT_THAT(WaitForLines(3), ElementsAre("open", "message " + std::string(1000, 'x'), "close"));
    const auto close = peer->ReadMessage();
    ASSERT_TRUE(close);
    EXPECT_EQ(close->opcode, kClose);
    EXPECT_TRUE(peer->WaitForEnd());
}

TEST_F(WebSocketServerContract, DropsAClientThatNeverReads) {
    WebSocketServerOptions options;
    options.maximumQueuedBytes = 1 << 20;
    Listen(options);
    const auto peer = Join();
    WaitForLines(1);
    const auto connection = LatestConnection();
    for (int i = 0; i < 10000 && Lines().size() < 2; ++i)
        connection->Send(std::string(100000, 'x'));
    EXPECT_THAT(WaitForLines(2), ElementsAre("open", "close"));
}

TEST_F(WebSocketServerContract, ReportsEachEndOnce) {
    Listen();
    {
        const auto clean = Join();
        SendMasked(*clean, {kClose, true, "\x03\xE8"});
        EXPECT_EQ(clean->ReadMessage()->payload, "\x03\xE8");
        EXPECT_THAT(WaitForLines(2), ElementsAre("open", "close"));
    }
    Join()->Reset();
    EXPECT_THAT(WaitForLines(4), ElementsAre("open", "close", "open", "close"));
    {
        const auto rude = Join();
        rude->Send(EncodeFrame({kText, true, "a client has to mask"}));
        EXPECT_THAT(WaitForLines(6), ElementsAre("open", "close", "open", "close", "open", "close"));
        EXPECT_TRUE(rude->WaitForEnd());
    }
    server->Stop();
    EXPECT_EQ(Lines().size(), 6U);
}

TEST_F(WebSocketServerContract, ClosesWithACloseFrameAndSilently) {
    onMessage = [](const auto& connection, const std::string&) {
        connection->Send("last");
        connection->Close();
        connection->Send("too late");
    };
    Listen();
    const auto peer = Join();
    SendMasked(*peer, {kText, true, "one"});
    SendMasked(*peer, {kText, true, "two"});
    EXPECT_EQ(peer->ReadMessage()->payload, "last");
    const auto close = peer->ReadMessage();
    ASSERT_TRUE(close);
    EXPECT_EQ(close->opcode, kClose);
    EXPECT_EQ(close->payload, "\x03\xE8");
    SendMasked(*peer, *close);
    EXPECT_TRUE(peer->WaitForEnd());
    server->Stop();
    EXPECT_THAT(Lines(), ElementsAre("open", "message one"));
}

TEST_F(WebSocketServerContract, DropsAClientThatIgnoresTheCloseFrame) {
    Listen();
    const auto peer = Join();
    WaitForLines(1);
    LatestConnection()->Close();
    EXPECT_TRUE(peer->WaitForEnd());
    EXPECT_THAT(Lines(), ElementsAre("open"));
}

TEST_F(WebSocketServerContract, SaysGoodbyeWhenItStops) {
    Listen();
    const auto idle = Dial();
    const auto peer = Join();
    WaitForLines(1);
    const auto connection = LatestConnection();
    server->Stop();
    server->Stop();
    const auto close = peer->ReadMessage();
    ASSERT_TRUE(close);
    EXPECT_EQ(close->opcode, kClose);
    EXPECT_EQ(close->payload, "\x03\xE9");
    EXPECT_TRUE(peer->WaitForEnd());
    EXPECT_TRUE(idle->WaitForEnd());
    connection->Send("into the void");
    connection->Close();
    EXPECT_EQ(Dial(), nullptr);
    server.reset();
    EXPECT_THAT(connection->RemoteAddress(), StartsWith("127.0.0.1:"));
    EXPECT_THAT(Lines(), ElementsAre("open"));
}

TEST_F(WebSocketServerContract, ListensAgainAtOnceOnTheSamePort) {
    Listen();
    WebSocketServerOptions options;
    options.port = server->Port();
    const auto left = Join();
    WaitForLines(1);
    server.reset();
    Listen(options);
    EXPECT_EQ(server->Port(), options.port);
    const auto peer = Join();
    EXPECT_THAT(WaitForLines(2), ElementsAre("open", "open"));
}

TEST_F(WebSocketServerContract, SaysInOneSentenceWhyItCannotListen) {
    Listen();
    WebSocketServerOptions options;
    options.port = server->Port();
    std::string error;
    EXPECT_EQ(web_server::WebSocketServer::Listen(options, {}, error), nullptr);
    EXPECT_EQ(error, "The address 127.0.0.1:" + std::to_string(options.port) +
                         " cannot be used: Address already in use.");
    options.address = "somewhere";
    EXPECT_EQ(web_server::WebSocketServer::Listen(options, {}, error), nullptr);
    EXPECT_EQ(error, "\"somewhere\" is not an IP address.");
}

TEST_F(WebSocketServerContract, OutlivesAHandlerThatThrows) {
    onMessage = [](const auto&, const std::string& text) {
        if (text == "throw") throw 1;
    };
    Listen();
    const auto peer = Join();
    SendMasked(*peer, {kText, true, "throw"});
    SendMasked(*peer, {kText, true, "after"});
    EXPECT_THAT(WaitForLines(3), ElementsAre("open", "message throw", "message after"));
}

}  // namespace
}  // namespace tests
