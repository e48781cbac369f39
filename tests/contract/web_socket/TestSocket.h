// One end of a TCP connection, perhaps with TLS, that does what a test says and knows no protocol. Every
// operation gives up after a few seconds.
#pragma once

#include <openssl/ssl.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tests {

class TestSocket {
public:
    TestSocket(const TestSocket&) = delete;
    TestSocket& operator=(const TestSocket&) = delete;

    bool Send(std::string_view bytes);  // false when the other end is gone
    void SendLongHeader();              // 20 KB of fields, without an end
    // What came up to and with `end`, or all when the end of the connection is reached.
    std::string ReadUntil(std::string_view end);
    // Reads and forgets until the other end is gone; false when it is still there after the time.
    bool WaitForEnd();
    void Reset();     // the end comes as a reset
    void ShutDown();  // [any-thread] ends a running operation

protected:
    enum class Family { Ipv4, Ipv6 };

    static int Make(Family family = Family::Ipv4);
    explicit TestSocket(int socketToOwn);
    ~TestSocket();

    // To 127.0.0.1; `from` is an own address, or empty.
    bool Dial(std::uint16_t port, const std::string& from = {});
    bool DialIpv6(std::uint16_t port);  // to ::1
    SSL* UseTls(SSL_CTX* context);
    SSL* Tls() const { return tls; }

    bool Fill();
    bool Take(std::size_t count, std::string& into);

    std::string received;

private:
    const int socket;
    SSL* tls = nullptr;
};

}  // namespace tests
