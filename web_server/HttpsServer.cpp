#include "web_server/HttpsServer.h"

#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <map>
#include <utility>

#include "web_server/Acceptor.h"
#include "web_server/HttpsConnection.h"
#include "web_server/PeerAddress.h"

namespace web_server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kStopLimit{500};

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

class Server final : public HttpsServer, public HttpsConnectionOwner, private AcceptorOwner {
public:
    Server(const HttpsServerOptions& toUse, HttpsHandlers toCall)
        : options(toUse), handlers(std::move(toCall)) {}

    ~Server() override { Stop(); }

    // The reason when it cannot be done, otherwise an empty text.
    std::string Open(const ServerCertificate& certificate) {
        tls = MakeContext(certificate);
        if (tls == nullptr) return "The certificate and its key cannot be used.";
        return acceptor.Listen(options.address, options.port);
    }

    std::uint16_t Port() const override { return acceptor.Port(); }

    bool Replace(const ServerCertificate& certificate) override {
        std::shared_ptr<asio::ssl::context> made = MakeContext(certificate);
        if (made == nullptr) return false;
        asio::post(*acceptor.Context(), [this, made = std::move(made)] { tls = made; });
        return true;
    }

    void Stop() override { acceptor.Stop(); }

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
        if (!acceptor.Forget(connection)) return;
        const auto counted = countOf.find(connection->RemoteAddress());
        if (counted != countOf.end() && --counted->second == 0) countOf.erase(counted);
    }

private:
    std::shared_ptr<AcceptedConnection> MakeConnection(tcp::socket socket) override {
        auto connection = HttpsConnection::Make(acceptor.Context(), tls, std::move(socket), *this);
        const std::string& address = connection->RemoteAddress();
        std::size_t& count = countOf[address];
        const bool isLimited = options.limitsThisMachineToo || !connection->IsFromThisMachine();
        if (isLimited && count >= options.maximumConnectionsOfAnAddress) {
            if (count == 0) countOf.erase(address);
            OnRefused(address, "too many connections from one address");
            return nullptr;
        }
        ++count;
        return connection;
    }

    void OnTooMany(const tcp::socket& socket) override {
        OnRefused(RemoteAddressOf(socket), "too many connections");
    }

    const HttpsServerOptions options;
    const HttpsHandlers handlers;
    std::shared_ptr<asio::ssl::context> tls;     // network thread only, once it runs
    std::map<std::string, std::size_t> countOf;  // connections of an address
    Acceptor acceptor{{"https server", options.maximumConnections, kStopLimit}, *this};
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
