#include "tests/contract/web_socket/RawServer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace tests {
namespace {

constexpr int kBacklog = 16;

int ListenOnLoopback(std::uint16_t& port, int backlog) {
    const int made = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    bind(made, reinterpret_cast<const sockaddr*>(&address), size);
    listen(made, backlog);
    getsockname(made, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return made;
}

}  // namespace

RawServer::RawServer(Script toPlay, SSL_CTX* tlsContext) : script(std::move(toPlay)), context(tlsContext) {
    listening = ListenOnLoopback(port, kBacklog);
    thread = std::thread([this] { Serve(); });
}

RawServer::~RawServer() {
    {
        const support::MutexLock lock(mutex);
        stopped = true;
        if (current != nullptr) current->ShutDown();
    }
    ::shutdown(listening, SHUT_RDWR);
    thread.join();
    ::close(listening);
}

void RawServer::Serve() {
    for (;;) {
        const int accepted = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted < 0) return;
        RawPeer peer(accepted, ++connectionCount);
        {
            const support::MutexLock lock(mutex);
            if (stopped) return;
            current = &peer;
        }
        if (context == nullptr || peer.AcceptTls(context)) script(peer);
        const support::MutexLock lock(mutex);
        current = nullptr;
    }
}

std::uint16_t UnusedPort() {
    std::uint16_t port = 0;
    ::close(ListenOnLoopback(port, kBacklog));
    return port;
}

FullListener::FullListener() {
    listening = ListenOnLoopback(port, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    for (int& waiting : queued) {
        waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        connect(waiting, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    }
}

FullListener::~FullListener() {
    for (const int waiting : queued)
        ::close(waiting);
    ::close(listening);
}

}  // namespace tests
