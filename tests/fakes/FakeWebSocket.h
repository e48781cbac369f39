// A WebSocket client that only remembers what was asked of it; tests play the network.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/network/cWebSocket.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

namespace fakes {

class FakeWebSocket : public cWebSocket,
                      public std::enable_shared_from_this<FakeWebSocket>,
                      private support::Counted<FakeWebSocket> {
public:
    using support::Counted<FakeWebSocket>::Alive;

    struct Opening {
        std::string url;
        double connectTimeoutSeconds = 0;
        bool hadAllHandlers = false;
    };

    // The sockets that cWebSocket::Factory() made since the last Forget(), oldest first; null once released.
    static std::vector<std::shared_ptr<FakeWebSocket>> Made();
    static std::shared_ptr<FakeWebSocket> Latest();  // null when none is alive
    static std::size_t MadeCount();
    static void Forget();

    void open(const char* url, double connectTimeoutSeconds) override;
    void send(const char* text) override;
    void close() override;
    void keepAlive(std::int32_t first, std::int32_t second, std::int32_t third) override;

    // The network's side; each calls the handler on the calling thread.
    void BecomeOpen();
    void Fail(Error error);
    void Deliver(const std::string& text);
    void EndCleanly();
    void Lose(Error error);

    // Called at the beginning of each send, on its thread. Set before others use the socket.
    std::function<void()> whenSending;

    std::vector<Opening> Openings() const;
    std::vector<std::string> Sent() const;
    // The texts sent since the last call.
    std::vector<std::string> TakeSent();
    int CloseCount() const;
    int KeepAliveCount() const;  // those with the reserved zeros

private:
    mutable support::Mutex mutex;
    std::vector<Opening> openings GUARDED_BY(mutex);
    std::vector<std::string> sent GUARDED_BY(mutex);
    std::size_t taken GUARDED_BY(mutex) = 0;
    int closeCount GUARDED_BY(mutex) = 0;
    int keepAliveCount GUARDED_BY(mutex) = 0;
};

}  // namespace fakes
