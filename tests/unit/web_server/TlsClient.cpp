#include "tests/unit/web_server/TlsClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <utility>

namespace tests {
namespace {

constexpr int kPatienceSeconds = 8;

// TLS writes through write(2), which signals a broken pipe to the thread.
void IgnoreBrokenPipeHere() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void Trust(SSL_CTX* context, const std::string& authority) {
    BIO* const text = BIO_new_mem_buf(authority.data(), static_cast<int>(authority.size()));
    X509* const certificate = PEM_read_bio_X509(text, nullptr, nullptr, nullptr);
    BIO_free(text);
    X509_STORE_add_cert(SSL_CTX_get_cert_store(context), certificate);
    X509_free(certificate);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
}

SSL* BeginTls(int socket, const std::string& authority, const std::string& expectedName) {
    IgnoreBrokenPipeHere();
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    if (!authority.empty()) Trust(context, authority);
    SSL* const tls = SSL_new(context);
    SSL_CTX_free(context);
    if (!expectedName.empty()) {
        X509_VERIFY_PARAM* const parameters = SSL_get0_param(tls);
        if (X509_VERIFY_PARAM_set1_ip_asc(parameters, expectedName.c_str()) != 1)
            X509_VERIFY_PARAM_set1_host(parameters, expectedName.c_str(), 0);
    }
    SSL_set_fd(tls, socket);
    return tls;
}

}  // namespace

std::unique_ptr<TlsClient> TlsClient::Connect(std::uint16_t port, Speaks speaks, const std::string& from,
                                              const std::string& authority, const std::string& expectedName) {
    std::unique_ptr<TlsClient> client(new TlsClient);
    client->socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval patience{kPatienceSeconds, 0};
    setsockopt(client->socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(client->socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const int on = 1;
    setsockopt(client->socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    if (!from.empty()) {
        inet_pton(AF_INET, from.c_str(), &address.sin_addr);
        if (bind(client->socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
            return nullptr;
    }
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(client->socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return nullptr;
    if (speaks == Speaks::NothingYet) return client;
    client->tls = BeginTls(client->socket, authority, expectedName);
    return SSL_connect(client->tls) == 1 ? std::move(client) : nullptr;
}

TlsClient::~TlsClient() {
    SSL_free(tls);
    if (socket >= 0) ::close(socket);
}

bool TlsClient::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent =
            tls != nullptr
                ? static_cast<ssize_t>(SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())))
                : ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool TlsClient::Fill() {
    std::array<char, 65536> chunk;
    const auto count = tls != nullptr
                           ? static_cast<ssize_t>(SSL_read(tls, chunk.data(), static_cast<int>(chunk.size())))
                           : recv(socket, chunk.data(), chunk.size(), 0);
    if (count <= 0) return false;
    received.append(chunk.data(), static_cast<std::size_t>(count));
    return true;
}

std::string TlsClient::ReadUntil(std::string_view end) {
    std::size_t at = std::string::npos;
    while ((at = received.find(end)) == std::string::npos) {
        if (!Fill()) return std::exchange(received, {});
    }
    std::string text = received.substr(0, at + end.size());
    received.erase(0, at + end.size());
    return text;
}

std::string TlsClient::ReadAnswer() {
    std::string answer = ReadUntil("\r\n\r\n");
    std::size_t length = 0;
    const std::string text = FieldOf(answer, "Content-Length");
    std::from_chars(text.data(), text.data() + text.size(), length);
    while (received.size() < length) {
        if (!Fill()) break;
    }
    answer += received.substr(0, length);
    received.erase(0, length);
    return answer;
}

bool TlsClient::WaitForEnd() {
    do {
        received.clear();
        errno = 0;
    } while (Fill());
    return errno != EAGAIN;
}

void TlsClient::Reset() {
    const linger abrupt{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof(abrupt));
    ::close(socket);
    socket = -1;
}

std::string TlsClient::PeerCertificate() const {
    X509* const certificate = SSL_get0_peer_certificate(tls);
    BIO* const text = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(text, certificate);
    char* data = nullptr;
    const long size = BIO_get_mem_data(text, &data);
    std::string pem(data, static_cast<std::size_t>(size));
    BIO_free(text);
    return pem;
}

std::string Ask(TlsClient& client, std::string_view method, std::string_view target, std::string_view fields,
                std::string_view body) {
    std::string request(method);
    request += ' ';
    request += target;
    request += " HTTP/1.1\r\n";
    if (fields.find("Host:") == std::string_view::npos) request += "Host: 127.0.0.1\r\n";
    request += fields;
    if (method == "POST") request += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    request += "\r\n";
    request += body;
    client.Send(request);
    return client.ReadAnswer();
}

int StatusOf(std::string_view answer) {
    int status = 0;
    constexpr std::string_view kBegin = "HTTP/1.1 ";
    if (answer.starts_with(kBegin))
        std::from_chars(answer.data() + kBegin.size(), answer.data() + 12, status);
    return status;
}

std::string FieldOf(std::string_view answer, std::string_view name) {
    const std::string line = "\r\n" + std::string(name) + ": ";
    const std::size_t at = answer.substr(0, answer.find("\r\n\r\n")).find(line);
    if (at == std::string_view::npos) return {};
    const std::size_t begin = at + line.size();
    return std::string(answer.substr(begin, answer.find("\r\n", begin) - begin));
}

std::string BodyOf(std::string_view answer) {
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string_view::npos ? std::string() : std::string(answer.substr(end + 4));
}

}  // namespace tests
