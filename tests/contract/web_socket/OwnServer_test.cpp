// The client and the server of this house with each other.
#include "tests/contract/web_socket/WebSocketFixture.h"
#include "web_server/WebSocketServer.h"

namespace tests {
namespace {

using testing::ElementsAre;
using web_server::WebSocketConnection;
using web_server::WebSocketServer;

class OwnServer : public WebSocketFixture {
protected:
    OwnServer() : WebSocketFixture(Scheme::Plain) {}

    void Listen(std::uint16_t port = 0) {
        web_server::WebSocketServerOptions options;
        options.port = port;
        web_server::WebSocketHandlers handlers;
        handlers.onMessage = [](const std::shared_ptr<WebSocketConnection>& connection, std::string text) {
            connection->Send(std::move(text));
        };
        std::string error;
        own = WebSocketServer::Listen(options, std::move(handlers), error);
        ASSERT_NE(own, nullptr) << error;
    }
    void Dial() {
        socket->open(("ws://127.0.0.1:" + std::to_string(own->Port()) + "/").c_str(), kLongEnough);
    }

    std::unique_ptr<WebSocketServer> own;
};

TEST_F(OwnServer, EchoesEverySize) {
    Listen();
    Dial();
    Reports(1);
    std::size_t count = 1;
    for (const std::size_t size : {0U, 1U, 125U, 126U, 4096U, 65535U, 65536U, 1U << 20}) {
        const std::string text(size, 'x');
        socket->send(text.c_str());
        EXPECT_EQ(Reports(++count).back(), "message " + text);
    }
}

TEST_F(OwnServer, EndsCleanlyAndIsFoundAgainOnTheSamePort) {
    Listen();
    const std::uint16_t port = own->Port();
    Dial();
    Reports(1);
    own.reset();
    EXPECT_THAT(Reports(2), ElementsAre("open", "close clean"));
    Listen(port);
    Dial();
    Reports(3);
    socket->send("again");
    EXPECT_THAT(Reports(4), ElementsAre("open", "close clean", "open", "message again"));
}

}  // namespace
}  // namespace tests
