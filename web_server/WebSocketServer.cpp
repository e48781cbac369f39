#include "web_server/WebSocketServer.h"

#include <boost/asio/ip/tcp.hpp>
#include <utility>

#include "web_server/Acceptor.h"
#include "web_server/ServerConnection.h"

namespace web_server {
namespace {

using boost::asio::ip::tcp;

constexpr std::chrono::milliseconds kStopLimit{300};

// The network thread outlives whatever a handler throws.
template <class Handler, class... Arguments>
void Call(const Handler& handler, Arguments&&... arguments) {
    if (!handler) return;
    try {
        handler(std::forward<Arguments>(arguments)...);
    } catch (...) {
    }
}

class Server final : public WebSocketServer, public ServerConnectionOwner, private AcceptorOwner {
public:
    Server(const WebSocketServerOptions& toUse, WebSocketHandlers toCall)
        : options(toUse), handlers(std::move(toCall)) {}

    ~Server() override { Stop(); }

    // The reason when the address cannot be used, otherwise an empty text.
    std::string Open() { return acceptor.Listen(options.address, options.port); }

    std::uint16_t Port() const override { return acceptor.Port(); }
    void Stop() override { acceptor.Stop(); }

    void OnOpened(const std::shared_ptr<ServerConnection>& connection) override {
        Call(handlers.onOpen, connection);
    }
    void OnMessage(const std::shared_ptr<ServerConnection>& connection, std::string text) override {
        Call(handlers.onMessage, connection, std::move(text));
    }
    void OnEnded(const std::shared_ptr<ServerConnection>& connection) override {
        Call(handlers.onClose, connection);
    }
    void OnGone(const std::shared_ptr<ServerConnection>& connection) override { acceptor.Forget(connection); }

private:
    std::shared_ptr<AcceptedConnection> MakeConnection(tcp::socket socket) override {
        return ServerConnection::Make(acceptor.Context(), std::move(socket), options, *this);
    }

    void OnTooMany(const tcp::socket&) override {}

    const WebSocketServerOptions options;
    const WebSocketHandlers handlers;
    Acceptor acceptor{{"web server", options.maximumConnections, kStopLimit}, *this};
};

}  // namespace

std::unique_ptr<WebSocketServer> WebSocketServer::Listen(const WebSocketServerOptions& options,
                                                         WebSocketHandlers handlers, std::string& error) {
    auto server = std::make_unique<Server>(options, std::move(handlers));
    error = server->Open();
    if (!error.empty()) return nullptr;
    return server;
}

}  // namespace web_server
