#include "tests/e2e/rendezvous/ByteRelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace rendezvous {
namespace {

struct FreeTls {
    void operator()(SSL* tls) const { SSL_free(tls); }
};

sockaddr_in AddressOf(const std::string& text, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    address.sin_port = htons(port);
    return address;
}

// TLS writes through write(2), which signals a broken pipe to the thread.
void IgnoreBrokenPipeHere() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void SendAtOnce(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// One end of a connection, in the clear or with TLS.
class End {
public:
    End(int itsSocket, SSL* itsTls) : socket(itsSocket), tls(itsTls) {}

    bool Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const auto sent =
                tls != nullptr
                    ? static_cast<ssize_t>(SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())))
                    : send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    // Passes on what there is; false at the end of either.
    bool PassOnTo(const End& other) const {
        std::array<char, 16384> chunk;
        do {
            ssize_t count = 0;
            if (tls != nullptr) {
                const int result = SSL_read(tls, chunk.data(), static_cast<int>(chunk.size()));
                if (result <= 0) return SSL_get_error(tls, result) == SSL_ERROR_WANT_READ;
                count = result;
            } else {
                count = recv(socket, chunk.data(), chunk.size(), 0);
                if (count <= 0) return false;
            }
            if (!other.Write({chunk.data(), static_cast<std::size_t>(count)})) return false;
        } while (tls != nullptr && SSL_pending(tls) > 0);
        return true;
    }

private:
    const int socket;
    SSL* const tls;
};

}  // namespace

ByteRelay::ByteRelay(const Route& toServe) : route(toServe) {
    listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = AddressOf(route.listenAddress, route.listenPort);
    socklen_t size = sizeof address;
    if (bind(listening, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(listening, 16) != 0 ||
        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        std::perror(route.listenAddress.c_str());
        std::abort();
    }
    port = ntohs(address.sin_port);
    acceptor = std::thread([this] { AcceptLoop(); });
}

ByteRelay::~ByteRelay() {
    shutdown(listening, SHUT_RDWR);
    acceptor.join();
    close(listening);
    BreakAll();
    std::list<Line> ended;
    {
        const support::MutexLock lock(mutex);
        ended.splice(ended.end(), lines);
    }
    for (Line& line : ended)
        line.thread.join();
}

void ByteRelay::BreakAll() {
    const support::MutexLock lock(mutex);
    for (const Line& line : lines) {
        if (line.ended) continue;
        shutdown(line.client, SHUT_RDWR);
        shutdown(line.target, SHUT_RDWR);
    }
}

void ByteRelay::AcceptLoop() {
    while (true) {
        const int client = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) return;
        ++visits;
        const int target = turningAway ? -1 : Dial();
        if (target < 0) {
            close(client);
            continue;
        }
        SendAtOnce(client);
        const support::MutexLock lock(mutex);
        Line& line = lines.emplace_back();
        line.client = client;
        line.target = target;
        line.thread = std::thread([this, &line] { Serve(line); });
    }
}

int ByteRelay::Dial() const {
    const int target = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = AddressOf(route.targetAddress, route.targetPort);
    if (connect(target, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        SendAtOnce(target);
        return target;
    }
    close(target);
    return -1;
}

void ByteRelay::Serve(Line& line) {
    IgnoreBrokenPipeHere();
    Carry(line);
    // Ended first, so that nobody shuts a descriptor down that is another's by then.
    const support::MutexLock lock(mutex);
    line.ended = true;
    close(line.client);
    close(line.target);
}

void ByteRelay::Carry(const Line& line) const {
    const std::unique_ptr<SSL, FreeTls> tls(route.tls != nullptr ? SSL_new(route.tls) : nullptr);
    if (tls) {
        SSL_set_fd(tls.get(), line.client);
        if (SSL_accept(tls.get()) != 1) return;
        SSL_clear_mode(tls.get(), SSL_MODE_AUTO_RETRY);  // a record without data must not block the poll
    }
    const End client(line.client, tls.get());
    const End target(line.target, nullptr);
    std::array<pollfd, 2> ends{{{line.client, POLLIN, 0}, {line.target, POLLIN, 0}}};
    while (poll(ends.data(), ends.size(), -1) > 0) {
        if (ends[0].revents != 0 && !client.PassOnTo(target)) return;
        if (ends[1].revents != 0 && !target.PassOnTo(client)) return;
    }
}

}  // namespace rendezvous
