#include "tests/contract/web_socket/Certificates.h"

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace tests {
namespace {

struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Key = std::unique_ptr<EVP_PKEY, Free>;
using Certificate = std::unique_ptr<X509, Free>;

Key MakeKey() {
    return Key(EVP_EC_gen("P-256"));
}

void AddExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Certificate MakeUnsigned(const std::string& name, EVP_PKEY* key) {
    static std::atomic<long> serial{1};
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    return certificate;
}

struct Authority {
    Key key = MakeKey();
    Certificate certificate;
    std::string file = testing::TempDir() + "test_authority_" + std::to_string(getpid()) + ".pem";

    Authority() : certificate(MakeUnsigned("Test Authority", key.get())) {
        X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
        AddExtension(certificate.get(), certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
        AddExtension(certificate.get(), certificate.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
        X509_sign(certificate.get(), key.get(), EVP_sha256());
        std::FILE* out = std::fopen(file.c_str(), "w");
        PEM_write_X509(out, certificate.get());
        std::fclose(out);
    }
    ~Authority() { std::remove(file.c_str()); }
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;
};

const Authority& TheAuthority() {
    static const Authority authority;
    return authority;
}

}  // namespace

TlsContext MakeServerContext(const CertificateWish& wish) {
    const Key key = wish.rsaBits != 0 ? Key(EVP_RSA_gen(wish.rsaBits)) : MakeKey();
    const Certificate certificate = MakeUnsigned("test server", key.get());
    X509* issuer = wish.selfSigned ? certificate.get() : TheAuthority().certificate.get();
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuer));
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), wish.validFromSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), wish.validForSeconds);
    AddExtension(certificate.get(), issuer, NID_subject_alt_name, wish.subjectAltName);
    X509_sign(certificate.get(), wish.selfSigned ? key.get() : TheAuthority().key.get(),
              wish.signedWithSha1 ? EVP_sha1() : EVP_sha256());

    TlsContext context(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_set_security_level(context.get(), 0);  // so that the server itself is willing
    if (wish.maximumTlsVersion != 0) {
        SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context.get(), wish.maximumTlsVersion);
    }
    SSL_CTX_use_certificate(context.get(), certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), key.get());
    return context;
}

const std::string& AuthorityFile() {
    return TheAuthority().file;
}

}  // namespace tests
