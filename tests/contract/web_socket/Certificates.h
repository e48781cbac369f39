// An authority and certificates made on the spot.
#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace tests {

struct CertificateWish {
    std::string subjectAltName = "IP:127.0.0.1,DNS:localhost";
    long validFromSeconds = -3600;  // relative to now
    long validForSeconds = 3600;
    bool selfSigned = false;
    bool signedWithSha1 = false;
    unsigned rsaBits = 0;       // 0 for an elliptic key of 256 bits
    int maximumTlsVersion = 0;  // 0 for no limit
};

struct FreeTlsContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTlsContext>;

// A server's context with a certificate from the test's authority, or from itself.
TlsContext MakeServerContext(const CertificateWish& wish);

// The authority's certificate, in a file that goes with the process.
const std::string& AuthorityFile();

}  // namespace tests
