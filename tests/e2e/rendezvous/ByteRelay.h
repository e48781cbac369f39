// Carries the bytes of each TCP connection on to another address, and can take TLS off them on the way.
#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <string>
#include <thread>

#include "support/annotated_mutex.h"

namespace rendezvous {

class ByteRelay {
public:
    struct Route {
        std::string listenAddress = "127.0.0.1";
        std::uint16_t listenPort = 0;  // 0 lets the system choose
        std::string targetAddress = "127.0.0.1";
        std::uint16_t targetPort = 0;
        SSL_CTX* tls = nullptr;  // of the listening side; none for plain bytes
    };

    // Its sockets belong to the network namespace of the thread that makes it. Ends the process when the
    // address cannot be had, since no test can go on without it.
    explicit ByteRelay(const Route& toServe);
    ~ByteRelay();
    ByteRelay(const ByteRelay&) = delete;
    ByteRelay& operator=(const ByteRelay&) = delete;

    std::uint16_t Port() const { return port; }
    int Visits() const { return visits; }  // connections that came, also those that were turned away

    // From now on connections are broken off at once, or served again.
    void SetTurningAway(bool turn) { turningAway = turn; }
    // Breaks all connections without a goodbye.
    void BreakAll();

private:
    struct Line {
        int client = -1;
        int target = -1;
        bool ended = false;
        std::thread thread;
    };

    void AcceptLoop();
    void Serve(Line& line) EXCLUDES(mutex);
    void Carry(const Line& line) const;
    int Dial() const;

    const Route route;
    int listening = -1;
    std::uint16_t port = 0;
    std::atomic<int> visits{0};
    std::atomic<bool> turningAway{false};
    support::Mutex mutex;
    std::list<Line> lines GUARDED_BY(mutex);
    std::thread acceptor;
};

}  // namespace rendezvous
