// One end of a TLS connection that says exactly what a test wants: nothing here knows how HTTP ought to
// behave. Every operation gives up after a few seconds.
#pragma once

#include <openssl/ssl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tests {

enum class Speaks { Tls, NothingYet };

class TlsClient {
public:
    // Null when it cannot be reached. `from` is an own address, or empty; `authority` is a PEM certificate
    // that has to vouch for the server as `expectedName`, or empty.
    static std::unique_ptr<TlsClient> Connect(std::uint16_t port, Speaks speaks = Speaks::Tls,
                                              const std::string& from = {}, const std::string& authority = {},
                                              const std::string& expectedName = {});
    ~TlsClient();
    TlsClient(const TlsClient&) = delete;
    TlsClient& operator=(const TlsClient&) = delete;

    bool Send(std::string_view bytes);  // false when the other end is gone
    std::string ReadUntil(
        std::string_view end);  // what came up to and with it, or all when the end is reached
    std::string ReadAnswer();   // head and body by its Content-Length
    bool WaitForEnd();          // reads and forgets; false when the other end is still there
    void Reset();               // the end comes as a reset

    // The certificate that the server showed, in PEM.
    std::string PeerCertificate() const;

private:
    TlsClient() = default;
    bool Fill();

    int socket = -1;
    SSL* tls = nullptr;
    std::string received;
};

// An answer to a request, as one text; `fields` are whole lines.
std::string Ask(TlsClient& client, std::string_view method, std::string_view target,
                std::string_view fields = {}, std::string_view body = {});

int StatusOf(std::string_view answer);
std::string FieldOf(std::string_view answer, std::string_view name);
std::string BodyOf(std::string_view answer);

}  // namespace tests
