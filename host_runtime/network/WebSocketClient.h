// The socket that cWebSocket::Factory() makes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "host/network/cWebSocket.h"
#include "host_runtime/network/WebSocketTransport.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

namespace host_runtime {

// Each open() gets a fresh transport under a new generation number; what an older one still reports is
// dropped, which makes close() silent. A handler that began when close() is called runs to its end. An
// exception out of a handler ends there. A text with a NUL inside ends at it for the receiver. Why an opening
// failed for good is traced, once, before the error handler is called.
class WebSocketClient final : public cWebSocket,
                              public WebSocketListener,
                              public std::enable_shared_from_this<WebSocketClient>,
                              private support::Counted<WebSocketClient> {
public:
    using support::Counted<WebSocketClient>::Alive;

    WebSocketClient() = default;
    ~WebSocketClient() override;

    void open(const char* url, double connectTimeoutSeconds) override;
    void send(const char* text) override;
    void close() override;
    void keepAlive(std::int32_t, std::int32_t, std::int32_t) override;

    // [network thread]
    void OnConnectFailed(std::uint64_t failedGeneration, const ConnectFailure& failure) override;
    void OnOpened(std::uint64_t openedGeneration) override;
    void OnMessage(std::uint64_t itsGeneration, const char* text) override;
    void OnEnded(std::uint64_t endedGeneration, std::optional<Error> error) override;

private:
    enum class State { Closed, Connecting, Open };

    // False when the event belongs to an opening that is over.
    bool Advance(std::uint64_t itsGeneration, State from, State to);

    support::Mutex mutex;
    State state GUARDED_BY(mutex) = State::Closed;
    std::uint64_t generation GUARDED_BY(mutex) = 0;
    std::shared_ptr<WebSocketTransport> transport GUARDED_BY(mutex);
};

}  // namespace host_runtime
