#include "web_server/Acceptor.h"

#include <pthread.h>

#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <utility>

namespace web_server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kAcceptRetry{100};

}  // namespace

std::string Acceptor::Listen(const std::string& address, std::uint16_t wantedPort) {
    error_code error;
    const auto parsed = asio::ip::make_address(address, error);
    if (error) return "\"" + address + "\" is not an IP address.";
    const tcp::endpoint endpoint(parsed, wantedPort);
    acceptor.open(endpoint.protocol(), error);
    // A server that is started again must not wait for the connections of its predecessor to time out.
    if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    error_code ignored;
    if (parsed.is_v6()) acceptor.set_option(asio::ip::v6_only(false), ignored);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error) port = acceptor.local_endpoint(error).port();
    if (error) {
        return "The address " + (parsed.is_v6() ? "[" + address + "]" : address) + ":" +
               std::to_string(wantedPort) + " cannot be used: " + error.message() + ".";
    }
    Accept();
    thread = std::thread([this] {
        pthread_setname_np(pthread_self(), options.threadName);
        context->run();
    });
    return {};
}

void Acceptor::Stop() {
    if (!thread.joinable()) return;
    asio::post(*context, [this] { BeginStop(); });
    thread.join();
}

bool Acceptor::Forget(const std::shared_ptr<AcceptedConnection>& connection) {
    if (connections.erase(connection) == 0) return false;
    if (stopping && connections.empty()) timer.cancel();
    return true;
}

void Acceptor::Accept() {
    acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (stopping) return;
        if (error) {
            RetryLater();  // out of file descriptors, for example
            return;
        }
        Take(std::move(socket));
        Accept();
    });
}

void Acceptor::Take(tcp::socket socket) {
    if (connections.size() >= options.maximumConnections) {
        owner.OnTooMany(socket);
        return;
    }
    const auto connection = owner.MakeConnection(std::move(socket));
    if (connection == nullptr) return;
    connections.insert(connection);
    connection->Start();
}

void Acceptor::RetryLater() {
    timer.expires_after(kAcceptRetry);
    timer.async_wait([this](const error_code&) {
        if (!stopping) Accept();
    });
}

// The context's run() returns when nothing is left to do.
void Acceptor::BeginStop() {
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    timer.cancel();
    const auto toClose = connections;
    for (const auto& connection : toClose)
        connection->GoAway();
    if (connections.empty()) return;
    timer.expires_after(options.stopLimit);
    timer.async_wait([this](const error_code& error) {
        if (error) return;
        const auto left = connections;
        for (const auto& connection : left)
            connection->Drop();
    });
}

}  // namespace web_server
