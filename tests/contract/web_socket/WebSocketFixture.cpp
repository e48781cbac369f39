#include "tests/contract/web_socket/WebSocketFixture.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "host_runtime/network/NetworkThread.h"

namespace tests {

WebSocketFixture::WebSocketFixture(Scheme toUse) : scheme(toUse) {
    settings.closingLimit = std::chrono::milliseconds(200);
    if (scheme == Scheme::Tls) {
        tlsContext = MakeServerContext({});
        settings.extraCaFile = AuthorityFile();
    }
    host_runtime::SetNetworkSettings(settings);
}

WebSocketFixture::~WebSocketFixture() {
    socket.reset();
    server.reset();
    EXPECT_TRUE(AllSocketsGone());
    host_runtime::SetNetworkSettings({});
}

RawServer& WebSocketFixture::Serve(RawServer::Script script) {
    server = std::make_unique<RawServer>(std::move(script), tlsContext.get());
    return *server;
}

std::string WebSocketFixture::Url(const std::string& target) const {
    return std::string(scheme == Scheme::Tls ? "wss" : "ws") +
           "://127.0.0.1:" + std::to_string(server->Port()) + target;
}

void WebSocketFixture::UseSettings(const host_runtime::NetworkSettings& newSettings) {
    host_runtime::SetNetworkSettings(newSettings);
}

Gate WebSocketFixture::HoldUpNetworkThread() {
    const Gate reached;
    const Gate released;
    boost::asio::post(host_runtime::NetworkContext(), [reached, released] {
        reached.Open();
        released.Wait();
    });
    reached.Wait();
    return released;
}

std::vector<std::string> WebSocketFixture::Reports(std::size_t count) const {
    log->WaitForLines(count);
    PassNetworkThread();
    return log->Lines();
}

}  // namespace tests
