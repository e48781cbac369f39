#include "web_server/HttpsServer.h"

#include <openssl/ssl.h>
#include <pthread.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <map>
#include <set>
#include <thread>
#include <utility>

#include "web_server/HttpsConnection.h"

namespace web_server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kStopLimit{500};
constexpr std::chrono::milliseconds kAcceptRetry{100};

// Null when certificate and key cannot be used together.
std::shared_ptr<asio::ssl::context> MakeContext(const ServerCertificate& certificate) {
    auto context = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
    SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
    SSL_CTX_set_options(context->native_handle(), SSL_OP_NO_RENEGOTIATION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    error_code error;
    context->use_certificate_chain(asio::buffer(certificate.chain), error);
    if (!error) context->use_private_key(asio::buffer(certificate.key), asio::ssl::context::pem, error);
    if (error || SSL_CTX_check_private_key(context->native_handle()) != 1) return nullptr;
    return context;
}

class Server final : public HttpsServer, public HttpsConnectionOwner {
public:
    Server(const HttpsServerOptions& toUse, HttpsHandlers toCall)
        : options(toUse), handlers(std::move(toCall)) {}

    ~Server() override { Stop(); }

    // The reason when it cannot be done, otherwise an empty text.
    std::string Open(const ServerCertificate& certificate) {
        tls = MakeContext(certificate);
        if (tls == nullptr) return "The certificate and its key cannot be used.";
        error_code error;
        const auto address = asio::ip::make_address(options.address, error);
        if (error) return "\"" + options.address + "\" is not an IP address.";
        const tcp::endpoint endpoint(address, options.port);
        acceptor.open(endpoint.protocol(), error);
        // A server that is started again must not wait for the connections of its predecessor to time out.
        if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        error_code ignored;
        if (address.is_v6()) acceptor.set_option(asio::ip::v6_only(false), ignored);
        if (!error) acceptor.bind(endpoint, error);
        if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
        if (!error) port = acceptor.local_endpoint(error).port();
        if (error) {
            return "The address " + (address.is_v6() ? "[" + options.address + "]" : options.address) + ":" +
                   std::to_string(options.port) + " cannot be used: " + error.message() + ".";
        }
        Accept();
        thread = std::thread([this] {
            pthread_setname_np(pthread_self(), "https server");
            context->run();
        });
        return {};
    }

    std::uint16_t Port() const override { return port; }

    bool Replace(const ServerCertificate& certificate) override {
        std::shared_ptr<asio::ssl::context> made = MakeContext(certificate);
        if (made == nullptr) return false;
        asio::post(*context, [this, made = std::move(made)] { tls = made; });
        return true;
    }

    void Stop() override {
        if (!thread.joinable()) return;
        asio::post(*context, [this] { BeginStop(); });
        thread.join();
    }

    const HttpsServerOptions& Options() const override { return options; }
    const HttpsHandlers& Handlers() const override { return handlers; }

    void OnRefused(const std::string& address, const std::string& reason) override {
        if (!handlers.onRefused) return;
        try {
            handlers.onRefused(address, reason);
        } catch (...) {  // the network thread outlives whatever a handler throws
        }
    }

    void OnGone(const std::shared_ptr<HttpsConnection>& connection) override {
        if (connections.erase(connection) == 0) return;
        const auto counted = countOf.find(connection->RemoteAddress());
        if (counted != countOf.end() && --counted->second == 0) countOf.erase(counted);
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
            Take(std::move(socket));
            Accept();
        });
    }

    void Take(tcp::socket socket) {
        const auto connection = HttpsConnection::Make(context, tls, std::move(socket), *this);
        const std::string& address = connection->RemoteAddress();
        std::size_t& count = countOf[address];
        const bool isLimited = options.limitsThisMachineToo || !connection->IsFromThisMachine();
        const bool tooMany = connections.size() >= options.maximumConnections;
        if (tooMany || (isLimited && count >= options.maximumConnectionsOfAnAddress)) {
            if (count == 0) countOf.erase(address);
            OnRefused(address, tooMany ? "too many connections" : "too many connections from one address");
            return;
        }
        ++count;
        connections.insert(connection);
        connection->Start();
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

    const HttpsServerOptions options;
    const HttpsHandlers handlers;
    const std::shared_ptr<asio::io_context> context = std::make_shared<asio::io_context>(1);
    std::shared_ptr<asio::ssl::context> tls;  // network thread only, once it runs
    tcp::acceptor acceptor{*context};
    asio::steady_timer timer{*context};
    std::set<std::shared_ptr<HttpsConnection>> connections;
    std::map<std::string, std::size_t> countOf;  // connections of an address
    std::uint16_t port = 0;
    bool stopping = false;
    std::thread thread;
};

}  // namespace

std::unique_ptr<HttpsServer> HttpsServer::Listen(const HttpsServerOptions& options,
                                                 const ServerCertificate& certificate, HttpsHandlers handlers,
                                                 std::string& error) {
    auto server = std::make_unique<Server>(options, std::move(handlers));
    error = server->Open(certificate);
    if (!error.empty()) return nullptr;
    return server;
}

}  // namespace web_server
