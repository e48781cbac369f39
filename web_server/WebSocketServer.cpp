#include "web_server/WebSocketServer.h"

#include <pthread.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <set>
#include <thread>
#include <utility>

#include "web_server/ServerConnection.h"

namespace web_server {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kStopLimit{300};
constexpr std::chrono::milliseconds kAcceptRetry{100};

// The network thread outlives whatever a handler throws.
template <class Handler, class... Arguments>
void Call(const Handler& handler, Arguments&&... arguments) {
    if (!handler) return;
    try {
        handler(std::forward<Arguments>(arguments)...);
    } catch (...) {
    }
}

class Server final : public WebSocketServer, public ServerConnectionOwner {
public:
    Server(const WebSocketServerOptions& toUse, WebSocketHandlers toCall)
        : options(toUse), handlers(std::move(toCall)) {}

    ~Server() override { Stop(); }

    // The reason when the address cannot be used, otherwise an empty text.
    std::string Open() {
        error_code error;
        const auto address = boost::asio::ip::make_address(options.address, error);
        if (error) return "\"" + options.address + "\" is not an IP address.";
        const tcp::endpoint endpoint(address, options.port);
        acceptor.open(endpoint.protocol(), error);
        // A server that is started again must not wait for the connections of its predecessor to time out.
        if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        error_code ignored;
        if (address.is_v6()) acceptor.set_option(boost::asio::ip::v6_only(false), ignored);
        if (!error) acceptor.bind(endpoint, error);
        if (!error) acceptor.listen(boost::asio::socket_base::max_listen_connections, error);
        if (!error) port = acceptor.local_endpoint(error).port();
        if (error) {
            return "The address " + options.address + ":" + std::to_string(options.port) +
                   " cannot be used: " + error.message() + ".";
        }
        Accept();
        thread = std::thread([this] {
            pthread_setname_np(pthread_self(), "web server");
            context->run();
        });
        return {};
    }

    std::uint16_t Port() const override { return port; }

    void Stop() override {
        if (!thread.joinable()) return;
        boost::asio::post(*context, [this] { BeginStop(); });
        thread.join();
    }

    void OnOpened(const std::shared_ptr<ServerConnection>& connection) override {
        Call(handlers.onOpen, connection);
    }
    void OnMessage(const std::shared_ptr<ServerConnection>& connection, std::string text) override {
        Call(handlers.onMessage, connection, std::move(text));
    }
    void OnEnded(const std::shared_ptr<ServerConnection>& connection) override {
        Call(handlers.onClose, connection);
    }
    void OnGone(const std::shared_ptr<ServerConnection>& connection) override {
        connections.erase(connection);
        if (stopping && connections.empty()) timer.cancel();
    }

private:
    void Accept() {
        acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
            if (stopping) return;
            if (error) {
                RetryLater();  // out of file descriptors, for example
                return;
            }
            if (connections.size() < options.maximumConnections) {
                const auto connection = ServerConnection::Make(context, std::move(socket), options, *this);
                connections.insert(connection);
                connection->Start();
            }
            Accept();
        });
    }

    void RetryLater() {
        timer.expires_after(kAcceptRetry);
        timer.async_wait([this](const error_code&) {
            if (!stopping) Accept();
        });
    }

    // The context's run() returns when nothing is left to do.
    void BeginStop() {
        stopping = true;
        error_code ignored;
        acceptor.close(ignored);
        timer.cancel();
        const auto toClose = connections;
        for (const auto& connection : toClose)
            connection->GoAway();
        if (connections.empty()) return;
        timer.expires_after(kStopLimit);
        timer.async_wait([this](const error_code& error) {
            if (error) return;
            const auto left = connections;
            for (const auto& connection : left)
                connection->Drop();
        });
    }

    const WebSocketServerOptions options;
    const WebSocketHandlers handlers;
    const std::shared_ptr<boost::asio::io_context> context = std::make_shared<boost::asio::io_context>(1);
    tcp::acceptor acceptor{*context};
    boost::asio::steady_timer timer{*context};
    std::set<std::shared_ptr<ServerConnection>> connections;
    std::uint16_t port = 0;
    bool stopping = false;
    std::thread thread;
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
