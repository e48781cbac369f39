// One WebSocket connection from dialling to its end, used once. Reports to a listener that it does not
// keep alive.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/network/cWebSocket.h"
#include "host_runtime/network/ByteStream.h"
#include "host_runtime/network/NetworkSettings.h"
#include "host_runtime/network/WebSocketUrl.h"
#include "support/object_count.h"

namespace host_runtime {

// Called on the network thread: either a failure, or an opening, messages and an end. The generation is
// the one that the transport was made with.
class WebSocketListener {
public:
    virtual ~WebSocketListener() = default;
    virtual void OnConnectFailed(std::uint64_t generation, const ConnectFailure& failure) = 0;
    virtual void OnOpened(std::uint64_t generation) = 0;
    virtual void OnMessage(std::uint64_t generation, const char* text) = 0;
    virtual void OnEnded(std::uint64_t generation, std::optional<cWebSocket::Error> error) = 0;
};

// All operations: [any-thread], never blocking, never calling the listener inline.
class WebSocketTransport : private support::Counted<WebSocketTransport> {
public:
    using support::Counted<WebSocketTransport>::Alive;

    struct Target {
        WebSocketUrl url;
        double connectTimeoutSeconds = 0;
        NetworkSettings settings;
    };

    static std::shared_ptr<WebSocketTransport> Make(Target target, std::weak_ptr<WebSocketListener> listener,
                                                    std::uint64_t generation);
    virtual ~WebSocketTransport() = default;

    virtual void Start() = 0;
    virtual void Send(std::string text) = 0;
    virtual void Ping() = 0;
    // Flushes what was sent and says goodbye in the background. The listener hears nothing more, except
    // what is on its way already: it compares generations.
    virtual void Close() = 0;
};

}  // namespace host_runtime
