// A client of an HTTPS server that says exactly what a test wants: nothing here knows how HTTP ought to
// behave.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tests/contract/web_socket/TestSocket.h"

namespace tests {

enum class Speaks { Tls, NothingYet };

class TlsClient : public TestSocket {
public:
    // Null when it cannot be reached. `from` is an own address, or empty ("::1" comes by IPv6); `authority`
    // is a PEM certificate that has to vouch for the server as `expectedName`, or empty.
    static std::unique_ptr<TlsClient> Connect(std::uint16_t port, Speaks speaks = Speaks::Tls,
                                              const std::string& from = {}, const std::string& authority = {},
                                              const std::string& expectedName = {});

    std::string ReadAnswer();  // head and body by its Content-Length

    // The certificate that the server showed, in PEM.
    std::string PeerCertificate() const;

private:
    using TestSocket::TestSocket;
};

// An answer to a request, as one text; `fields` are whole lines.
std::string Ask(TlsClient& client, std::string_view method, std::string_view target,
                std::string_view fields = {}, std::string_view body = {});

int StatusOf(std::string_view answer);
std::string FieldOf(std::string_view answer, std::string_view name);
std::string BodyOf(std::string_view answer);

}  // namespace tests
