#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <utility>

#include "host_runtime/network/ByteStream.h"
#include "host_runtime/network/NetworkThread.h"
#include "host_runtime/network/TcpConnect.h"
#include "support/annotated_mutex.h"

namespace host_runtime {
namespace {

namespace ssl = boost::asio::ssl;

// At least 112 bits: no SHA-1 in a certificate's signature, whatever the system is configured to allow.
constexpr int kSecurityLevel = 2;

std::shared_ptr<ssl::context> MakeContext(const std::string& extraCaFile) {
    auto context = std::make_shared<ssl::context>(ssl::context::tls_client);
    boost::system::error_code ignored;  // without the authorities no certificate is accepted
    SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
    SSL_CTX_set_security_level(context->native_handle(), kSecurityLevel);
    context->set_default_verify_paths(ignored);
    if (!extraCaFile.empty()) context->load_verify_file(extraCaFile, ignored);
    context->set_verify_mode(ssl::verify_peer, ignored);
    return context;
}

// Reading the system's trust store takes tens of milliseconds, so it is kept; another extra file makes
// it anew.
std::shared_ptr<ssl::context> SharedContext(const std::string& extraCaFile) {
    struct Cache {
        support::Mutex mutex;
        std::shared_ptr<ssl::context> context GUARDED_BY(mutex);
        std::string extraCaFile GUARDED_BY(mutex);
    };
    static Cache* const cache = new Cache;
    const support::MutexLock lock(cache->mutex);
    if (cache->context == nullptr || cache->extraCaFile != extraCaFile) {
        cache->context = MakeContext(extraCaFile);
        cache->extraCaFile = extraCaFile;
    }
    return cache->context;
}

// A connection that broke may work next time; a refused certificate or a peer that does not speak TLS
// will not.
ConnectFailure HandshakeFailure(const boost::system::error_code& error, long verifyResult) {
    const bool brokeOff =
        error.category() != boost::asio::error::get_ssl_category() ||
        ERR_GET_REASON(static_cast<unsigned long>(error.value())) == SSL_R_UNEXPECTED_EOF_WHILE_READING;
    if (brokeOff) return {};
    if (verifyResult == X509_V_OK) return {cWebSocket::Error::Permanent, "no TLS: " + error.message()};
    return {cWebSocket::Error::Permanent,
            std::string("its certificate is refused: ") + X509_verify_cert_error_string(verifyResult)};
}

// Besides the chain, the certificate must be for this name or address.
void ExpectHost(SSL* tls, const std::string& host) {
    boost::system::error_code notNumeric;
    boost::asio::ip::make_address(host, notNumeric);
    if (!notNumeric) {
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls), host.c_str());
        return;
    }
    SSL_set_hostflags(tls, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    SSL_set1_host(tls, host.c_str());
    // Server name indication is for names only (RFC 6066 section 3).
    SSL_set_tlsext_host_name(tls, host.c_str());
}

class TlsStream final : public ByteStream, public std::enable_shared_from_this<TlsStream> {
public:
    explicit TlsStream(std::string extraCaFile) : extraCas(std::move(extraCaFile)) {}

    void Connect(const WebSocketUrl& url, Connected connected) override {
        ConnectTcp(shared_from_this(), tcp, url,
                   [this, host = url.host, connected = std::move(connected)](bool success) {
                       if (success) {
                           Handshake(host, connected);
                       } else {
                           connected(ConnectFailure{});
                       }
                   });
    }

    void ReadSome(boost::asio::mutable_buffer into, Done done) override {
        tls->async_read_some(
            into, [self = shared_from_this(), done = std::move(done)](
                      const boost::system::error_code& error, std::size_t bytes) { done(error, bytes); });
    }

    void WriteAll(boost::asio::const_buffer bytes, Done done) override {
        boost::asio::async_write(
            *tls, bytes,
            [self = shared_from_this(), done = std::move(done)](
                const boost::system::error_code& error, std::size_t written) { done(error, written); });
    }

    void Close() override { tcp.Close(); }

private:
    void Handshake(const std::string& host, const Connected& connected) {
        context = SharedContext(extraCas);
        tls.emplace(socket, *context);
        ExpectHost(tls->native_handle(), host);
        tls->async_handshake(ssl::stream_base::client, [self = shared_from_this(),
                                                        connected](const boost::system::error_code& error) {
            if (error) {
                connected(HandshakeFailure(error, SSL_get_verify_result(self->tls->native_handle())));
            } else {
                connected(std::nullopt);
            }
        });
    }

    const std::string extraCas;
    std::shared_ptr<ssl::context> context;
    boost::asio::ip::tcp::socket socket{NetworkContext()};
    std::optional<ssl::stream<boost::asio::ip::tcp::socket&>> tls;  // once TCP is connected
    TcpEnd tcp{socket};
};

}  // namespace

std::shared_ptr<ByteStream> MakeTlsStream(const std::string& extraCaFile) {
    return std::make_shared<TlsStream>(extraCaFile);
}

}  // namespace host_runtime
