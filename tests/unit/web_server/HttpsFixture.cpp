#include "tests/unit/web_server/HttpsFixture.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <chrono>
#include <utility>

namespace tests {
namespace {

std::string TakeText(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    std::string text(data, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

}  // namespace

web_server::ServerCertificate MakeCertificate(const std::string& name) {
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    X509_sign(certificate, key, EVP_sha256());
    BIO* const chain = BIO_new(BIO_s_mem());
    BIO* const keyText = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(chain, certificate);
    PEM_write_bio_PKCS8PrivateKey(keyText, key, nullptr, nullptr, 0, nullptr, nullptr);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return {TakeText(chain), TakeText(keyText)};
}

HttpsFixture::~HttpsFixture() {
    server.reset();
    const support::MutexLock lock(mutex);
    begunStream.reset();
}

void HttpsFixture::Listen(const web_server::HttpsServerOptions& options) {
    if (!onRequest) {
        onRequest = [](const auto& exchange) { exchange->Answer({200, "text/plain", "done", {}}); };
    }
    handlers.onRequest = [this](std::shared_ptr<web_server::HttpExchange> exchange) {
        const web_server::HttpRequest& request = exchange->Request();
        std::string line = "request " + request.method + " " + request.path;
        if (!request.query.empty()) line += "?" + request.query;
        if (!request.body.empty()) line += " " + request.body;
        Write(std::move(line));
        onRequest(exchange);
    };
    handlers.onRefused = [this](const std::string& address, const std::string& reason) {
        Write("refused " + address + " " + reason);
    };
    static const web_server::ServerCertificate certificate = MakeCertificate("first");
    std::string error;
    server = web_server::HttpsServer::Listen(options, certificate, handlers, error);
    ASSERT_NE(server, nullptr) << error;
}

void HttpsFixture::BeginStream(const std::shared_ptr<web_server::HttpExchange>& exchange) {
    auto begun = exchange->AnswerWithEvents([this] { Write("end"); });
    const support::MutexLock lock(mutex);
    begunStream = std::move(begun);
    changed.NotifyAll();
}

std::shared_ptr<web_server::EventStream> HttpsFixture::WaitForStream() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
    const support::MutexLock lock(mutex);
    while (begunStream == nullptr) {
        if (!changed.WaitUntil(mutex, deadline)) break;
    }
    return begunStream;
}

}  // namespace tests
