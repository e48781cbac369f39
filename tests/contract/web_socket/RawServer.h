// A server on the loopback that plays a script for every connection, one after another.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "support/annotated_mutex.h"
#include "tests/contract/web_socket/RawPeer.h"

namespace tests {

class RawServer {
public:
    using Script = std::function<void(RawPeer& peer)>;

    // With a TLS context the script begins after the TLS handshake, unless that fails.
    explicit RawServer(Script script, SSL_CTX* tlsContext = nullptr);
    ~RawServer();  // breaks off a running script
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    std::uint16_t Port() const { return port; }
    int ConnectionCount() const { return connectionCount; }

private:
    void Serve();

    const Script script;
    SSL_CTX* const context;
    int listening = -1;
    std::uint16_t port = 0;
    std::atomic<int> connectionCount{0};
    support::Mutex mutex;
    RawPeer* current GUARDED_BY(mutex) = nullptr;
    bool stopped GUARDED_BY(mutex) = false;
    std::thread thread;
};

// A port of the loopback on which nobody listens.
std::uint16_t UnusedPort();

// A listener whose queue is full: further attempts to connect get no answer.
class FullListener {
public:
    FullListener();
    ~FullListener();
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;

    std::uint16_t Port() const { return port; }

private:
    int listening = -1;
    std::uint16_t port = 0;
    std::array<int, 4> queued{};
};

}  // namespace tests
