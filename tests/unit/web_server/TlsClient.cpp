#include "tests/unit/web_server/TlsClient.h"

#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <charconv>
#include <utility>

namespace tests {
namespace {

void Trust(SSL_CTX* context, const std::string& authority) {
    BIO* const text = BIO_new_mem_buf(authority.data(), static_cast<int>(authority.size()));
    X509* const certificate = PEM_read_bio_X509(text, nullptr, nullptr, nullptr);
    BIO_free(text);
    X509_STORE_add_cert(SSL_CTX_get_cert_store(context), certificate);
    X509_free(certificate);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
}

void Expect(SSL* tls, const std::string& name) {
    X509_VERIFY_PARAM* const parameters = SSL_get0_param(tls);
    if (X509_VERIFY_PARAM_set1_ip_asc(parameters, name.c_str()) != 1)
        X509_VERIFY_PARAM_set1_host(parameters, name.c_str(), 0);
}

}  // namespace

std::unique_ptr<TlsClient> TlsClient::Connect(std::uint16_t port, Speaks speaks, const std::string& from,
                                              const std::string& authority, const std::string& expectedName) {
    const bool overIpv6 = from == "::1";
    std::unique_ptr<TlsClient> client(new TlsClient(Make(overIpv6 ? Family::Ipv6 : Family::Ipv4)));
    if (!(overIpv6 ? client->DialIpv6(port) : client->Dial(port, from))) return nullptr;
    if (speaks == Speaks::NothingYet) return client;
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    if (!authority.empty()) Trust(context, authority);
    SSL* const tls = client->UseTls(context);
    SSL_CTX_free(context);
    if (!expectedName.empty()) Expect(tls, expectedName);
    return SSL_connect(tls) == 1 ? std::move(client) : nullptr;
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

std::string TlsClient::PeerCertificate() const {
    X509* const certificate = SSL_get0_peer_certificate(Tls());
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
