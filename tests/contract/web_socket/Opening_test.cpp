// How a connection comes about, or does not: error 1 for what may work later, error 3 for what will not.
#include <limits>
#include <tuple>
#include <utility>

#include "tests/contract/web_socket/Box.h"
#include "tests/contract/web_socket/WebSocketFixture.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class WebSocketOpening : public WebSocketContract {};

INSTANTIATE_TEST_SUITE_P(Over, WebSocketOpening, testing::Values(Scheme::Plain, Scheme::Tls), SchemeName);

void Accept(RawPeer& peer) {
    peer.AcceptWebSocket();
    peer.WaitForEnd();
}

TEST_P(WebSocketOpening, AsksForPathAndQueryUnderANeutralName) {
    const Box<std::string> asked;
    Serve([asked](RawPeer& peer) {
        peer.AcceptWebSocket();
        asked.Put(peer.Request());
        peer.SendFrame({kText, true, "hello"});
        peer.WaitForEnd();
    });
    socket->open(Url("/live/one?key=a%20b").c_str(), kLongEnough);
    EXPECT_THAT(Reports(2), ElementsAre("open", "message hello"));
    const std::string request = asked.Take();
    EXPECT_THAT(request, HasSubstr("GET /live/one?key=a%20b HTTP/1.1\r\n"));
    EXPECT_THAT(request, HasSubstr("Host: 127.0.0.1:" + std::to_string(server->Port()) + "\r\n"));
    EXPECT_THAT(request, HasSubstr("Sec-WebSocket-Version: 13\r\n"));
    EXPECT_THAT(request, HasSubstr("User-Agent: Halyard\r\n"));
}

TEST_P(WebSocketOpening, PassesItselfToTheOpenHandler) {
    Serve(Accept);
    const Box<bool> isItself;
    socket->onOpen = [this, isItself](const std::shared_ptr<cWebSocket>& passed) {
        isItself.Put(passed == socket);
    };
    Open();
    EXPECT_TRUE(isItself.Take());
}

TEST_P(WebSocketOpening, LooksNamesUp) {
    Serve(Accept);
    socket->open(
        ((scheme == Scheme::Tls ? "wss://localhost:" : "ws://localhost:") + std::to_string(server->Port()))
            .c_str(),
        kLongEnough);
    EXPECT_THAT(Reports(1), ElementsAre("open"));
}

TEST_P(WebSocketOpening, UnderstandsAnAnswerInSingleBytes) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.SendSlowly(peer.Acceptance());
        peer.SendSlowly(EncodeFrame({kText, true, "slow"}));
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message slow"));
}

TEST_P(WebSocketOpening, KeepsAMessageThatComesWithTheAnswer) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Send(peer.Acceptance() + EncodeFrame({kText, true, "at once"}));
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(2), ElementsAre("open", "message at once"));
}

// Failures that may pass: error 1.

TEST_P(WebSocketOpening, ReportsARefusal) {
    const std::string url = scheme == Scheme::Tls ? "wss://127.0.0.1:" : "ws://127.0.0.1:";
    socket->open((url + std::to_string(UnusedPort()) + "/").c_str(), kLongEnough);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, ReportsAnUnknownName) {
    // Longer than a label may be, so that no name server is asked.
    const std::string name(64, 'x');
    socket->open(((scheme == Scheme::Tls ? "wss://" : "ws://") + name + "/").c_str(), kLongEnough);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, TimesOutWithoutATcpConnection) {
    const FullListener listener;
    const std::string url = scheme == Scheme::Tls ? "wss://127.0.0.1:" : "ws://127.0.0.1:";
    socket->open((url + std::to_string(listener.Port())).c_str(), 0.05);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, TimesOutOnASilentServer) {
    Serve([](RawPeer& peer) { peer.WaitForEnd(); });
    Open(0.05);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, TimesOutOnAnUnfinishedAnswer) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Send("HTTP/1.1 101 Switching Protocols\r\nUpgrade: ");
        peer.WaitForEnd();
    });
    Open(0.3);
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, TimesOutAtOnceWithoutTime) {
    Serve([](RawPeer& peer) { peer.WaitForEnd(); });
    std::size_t count = 0;
    for (const double none : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        Open(none);
        Reports(++count);
    }
    EXPECT_THAT(Reports(3), ElementsAre("error 1", "error 1", "error 1"));
}

TEST_P(WebSocketOpening, ReportsADropBeforeTheAnswer) {
    Serve([](RawPeer& peer) { peer.ReadRequest(); });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, ReportsADropInTheMiddleOfTheAnswer) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Send("HTTP/1.1 101 Switching Pro");
    });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

TEST_P(WebSocketOpening, ReportsAReset) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Reset();
    });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 1"));
}

// Failures that will not pass: error 3.

class WebSocketRefusal : public WebSocketFixture,
                         public testing::WithParamInterface<std::tuple<Scheme, const char*>> {
protected:
    WebSocketRefusal() : WebSocketFixture(std::get<Scheme>(GetParam())) {}
};

// The answers are told from slow ones although the connection stays open.
INSTANTIATE_TEST_SUITE_P(
    Of, WebSocketRefusal,
    testing::Combine(
        testing::Values(Scheme::Plain, Scheme::Tls),
        testing::Values("HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\n\r\nnot found",
                        "HTTP/1.1 200 OK\r\n\r\n<html>without an end",
                        "HTTP/1.1 503 Service Unavailable\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello",
                        "HTTP/1.1 301 Moved Permanently\r\nLocation: ws://127.0.0.1/\r\n\r\n",
                        "HTTP/1.0 101 Switching Protocols\r\n\r\n", "SSH-2.0-OpenSSH_9.2\r\n", "garbage",
                        "\x15\x03\x01", "HTTP/1.1 101 Switching Protocols\r\n\r\n",
                        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n",
                        "HTTP/1.1 101 Switching Protocols\r\nno colon\r\n\r\n")));

TEST_P(WebSocketRefusal, IsPermanent) {
    Serve([](RawPeer& peer) {
        peer.ReadRequest();
        peer.Send(std::get<const char*>(GetParam()));
        peer.WaitForEnd();
    });
    Open();
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

class WebSocketUrlRefusal : public WebSocketFixture, public testing::WithParamInterface<const char*> {
protected:
    WebSocketUrlRefusal() : WebSocketFixture(Scheme::Plain) {}
};

INSTANTIATE_TEST_SUITE_P(Of, WebSocketUrlRefusal,
                         testing::Values(static_cast<const char*>(nullptr), "", "127.0.0.1",
                                         "http://127.0.0.1/", "ws://", "ws://:9001/", "ws://a b/",
                                         "ws://127.0.0.1:99999/", "ws://127.0.0.1:0/", "ws://[::1/", "wss://",
                                         "wss://:9001/", "wss://127.0.0.1:0/"));

TEST_P(WebSocketUrlRefusal, IsPermanent) {
    socket->open(GetParam(), kLongEnough);
    EXPECT_THAT(Reports(1), ElementsAre("error 3"));
}

}  // namespace
}  // namespace tests
