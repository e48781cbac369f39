// A WebSocket server (RFC 6455, text frames) on a network thread of its own. Knows nothing of what the
// messages mean.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace web_server {

// One client. Kept alive by whoever holds it; sends after the end are dropped.
class WebSocketConnection {
public:
    virtual ~WebSocketConnection() = default;
    virtual void Send(std::string text) = 0;        // [any-thread] never blocks; whole and in order
    virtual void Close() = 0;                       // [any-thread] with a close frame; calls no handler
    virtual std::string RemoteAddress() const = 0;  // [any-thread] address and port
};

// All handlers run on the server's network thread, never after Stop() returned.
struct WebSocketHandlers {
    std::function<void(std::shared_ptr<WebSocketConnection>)> onOpen;
    std::function<void(std::shared_ptr<WebSocketConnection>, std::string text)> onMessage;
    std::function<void(std::shared_ptr<WebSocketConnection>)>
        onClose;  // once for each that opened, unless closed here
};

struct WebSocketServerOptions {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;  // 0 lets the system choose
    std::string path = "/";  // others are answered with 404
    std::size_t maximumMessageBytes = std::size_t{1} << 20;
    std::size_t maximumConnections = 64;                    // more are turned away
    std::size_t maximumQueuedBytes = std::size_t{8} << 20;  // a client that lets more pile up is dropped
    std::chrono::milliseconds handshakeLimit{5000};
    std::chrono::milliseconds messageLimit{30000};  // for a message from its beginning to its end
    std::chrono::milliseconds silenceLimit{30000};  // a client that answers no ping for so long is dropped
};

class WebSocketServer {
public:
    // Null with a one-sentence `error` when the address cannot be used.
    static std::unique_ptr<WebSocketServer> Listen(const WebSocketServerOptions& options,
                                                   WebSocketHandlers handlers, std::string& error);
    virtual ~WebSocketServer() = default;  // stops
    virtual std::uint16_t Port() const = 0;
    virtual void Stop() = 0;  // closes all connections and waits for a running handler; not from a handler
};

}  // namespace web_server
