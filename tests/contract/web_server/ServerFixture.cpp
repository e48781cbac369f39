#include "tests/contract/web_server/ServerFixture.h"

#include <utility>

namespace tests {

using web_server::WebSocketConnection;

ServerFixture::~ServerFixture() {
    server.reset();
    ForgetConnections();
}

void ServerFixture::Listen(const web_server::WebSocketServerOptions& options) {
    web_server::WebSocketHandlers handlers;
    handlers.onOpen = [this](std::shared_ptr<WebSocketConnection> connection) {
        {
            const support::MutexLock lock(mutex);
            connections.push_back(std::move(connection));
        }
        Write("open");
    };
    handlers.onMessage = [this](const std::shared_ptr<WebSocketConnection>& connection,
                                const std::string& text) {
        Write("message " + text);
        if (onMessage) onMessage(connection, text);
    };
    handlers.onClose = [this](const std::shared_ptr<WebSocketConnection>&) { Write("close"); };
    std::string error;
    server = web_server::WebSocketServer::Listen(options, std::move(handlers), error);
    ASSERT_NE(server, nullptr) << error;
}

std::unique_ptr<RawPeer> ServerFixture::Join() {
    auto peer = Dial();
    EXPECT_THAT(peer->RequestWebSocket("/"), testing::StartsWith("HTTP/1.1 101 "));
    return peer;
}

std::shared_ptr<WebSocketConnection> ServerFixture::LatestConnection() {
    const support::MutexLock lock(mutex);
    return connections.empty() ? nullptr : connections.back();
}

void ServerFixture::ForgetConnections() {
    const support::MutexLock lock(mutex);
    connections.clear();
}

}  // namespace tests
