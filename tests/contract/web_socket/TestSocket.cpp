#include "tests/contract/web_socket/TestSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
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

}  // namespace

int TestSocket::Make(Family family) {
    return ::socket(family == Family::Ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

TestSocket::TestSocket(int socketToOwn) : socket(socketToOwn) {
    const timeval patience{kPatienceSeconds, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

TestSocket::~TestSocket() {
    SSL_free(tls);
    ::close(socket);
}

bool TestSocket::Dial(std::uint16_t port, const std::string& from) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    const auto* const plain = reinterpret_cast<const sockaddr*>(&address);
    if (!from.empty()) {
        inet_pton(AF_INET, from.c_str(), &address.sin_addr);
        if (bind(socket, plain, sizeof(address)) != 0) return false;
    }
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return connect(socket, plain, sizeof(address)) == 0;
}

bool TestSocket::DialIpv6(std::uint16_t port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(port);
    return connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

SSL* TestSocket::UseTls(SSL_CTX* context) {
    IgnoreBrokenPipeHere();
    tls = SSL_new(context);
    SSL_set_fd(tls, socket);
    return tls;
}

bool TestSocket::Send(std::string_view bytes) {
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

void TestSocket::SendLongHeader() {
    for (int i = 0; i < 100; ++i)
        Send("X-Header: " + std::string(200, 'x') + "\r\n");
}

bool TestSocket::Fill() {
    std::array<char, 65536> chunk;
    const auto count = tls != nullptr
                           ? static_cast<ssize_t>(SSL_read(tls, chunk.data(), static_cast<int>(chunk.size())))
                           : recv(socket, chunk.data(), chunk.size(), 0);
    if (count <= 0) return false;
    received.append(chunk.data(), static_cast<std::size_t>(count));
    return true;
}

bool TestSocket::Take(std::size_t count, std::string& into) {
    while (received.size() < count) {
        if (!Fill()) return false;
    }
    into = received.substr(0, count);
    received.erase(0, count);
    return true;
}

std::string TestSocket::ReadUntil(std::string_view end) {
    std::size_t at = std::string::npos;
    while ((at = received.find(end)) == std::string::npos) {
        if (!Fill()) return std::exchange(received, {});
    }
    std::string text;
    Take(at + end.size(), text);
    return text;
}

bool TestSocket::WaitForEnd() {
    do {
        received.clear();
        errno = 0;
    } while (Fill());
    return errno != EAGAIN;
}

void TestSocket::Reset() {
    const linger abrupt{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof(abrupt));
    // Disconnecting sends the reset now and leaves the descriptor to the destructor.
    sockaddr_in none{};
    none.sin_family = AF_UNSPEC;
    connect(socket, reinterpret_cast<const sockaddr*>(&none), sizeof(none));
}

void TestSocket::ShutDown() {
    ::shutdown(socket, SHUT_RDWR);
}

}  // namespace tests
