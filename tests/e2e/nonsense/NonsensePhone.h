// A server on port 9001 that says whatever its script says. It knows just enough of TCP and of WebSocket
// framing (RFC 6455) to break the rules on purpose.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "support/annotated_mutex.h"

namespace nonsense {

inline constexpr int kPhonePort = 9001;

// One connection of the host, played on a thread of its own. After the host left, or after the phone was
// switched off, reads give nothing and writes are dropped.
class Conversation {
public:
    explicit Conversation(int acceptedSocket);
    ~Conversation();
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    // The head of an HTTP request; empty when none came.
    std::string ReadRequest();
    // Reads the request for a WebSocket and grants it.
    bool AcceptWebSocket();

    void SendText(const std::string& text) { SendFrame(kText, text); }
    void SendBinary(const std::string& bytes) { SendFrame(kBinary, bytes); }
    void SendFrame(unsigned operation, const std::string& payload, bool isLast = true);
    void SendRaw(const std::string& bytes);

    // The next text frame that contains `part`, e.g. the name of an action; answers pings meanwhile.
    std::string AwaitText(const std::string& part);
    // Stays, answering pings, until the host leaves.
    void StayUntilHostLeaves();

    void SwitchOff();  // [any-thread] ends every read

    static constexpr unsigned kContinuation = 0;
    static constexpr unsigned kText = 1;
    static constexpr unsigned kBinary = 2;
    static constexpr unsigned kClose = 8;
    static constexpr unsigned kPing = 9;
    static constexpr unsigned kPong = 10;

private:
    struct Frame {
        unsigned operation = 0;
        std::string payload;
    };

    bool ReadExactly(std::string& bytes, std::size_t count);
    bool ReadFrame(Frame& frame);

    const int socket;
};

class NonsensePhone {
public:
    using Script = std::function<void(Conversation&)>;

    // Plays the script for each connection; the connection ends with it. Ends the process when the address
    // cannot be had, since no test can go on without it.
    NonsensePhone(const std::string& address, Script scriptToPlay);
    ~NonsensePhone();  // switches off
    NonsensePhone(const NonsensePhone&) = delete;
    NonsensePhone& operator=(const NonsensePhone&) = delete;

    bool IsVisited() const { return connections.load() > ended.load(); }  // a conversation is going on

private:
    struct Visit {
        explicit Visit(int acceptedSocket) : conversation(acceptedSocket) {}
        Conversation conversation;
        std::thread thread;
    };

    void AcceptLoop();

    const Script script;
    int listener = -1;
    std::atomic<int> connections{0};
    std::atomic<int> ended{0};
    support::Mutex mutex;
    bool off GUARDED_BY(mutex) = false;
    std::list<Visit> visits GUARDED_BY(mutex);
    std::thread acceptor;
};

}  // namespace nonsense
