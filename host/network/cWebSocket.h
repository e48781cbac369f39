// The host's WebSocket client (RFC 6455), text frames only, over ws:// or wss://.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class cWebSocket {
public:
    enum class Error : std::int32_t {
        ConnectFailed = 1,
        Lost = 2,       // lost or timed out
        Permanent = 3,  // unusable URL, no WebSocket server there, bad certificate
        Protocol = 4,
    };

    // [any-thread] A socket that is not open.
    static std::shared_ptr<cWebSocket> Factory();

    // Set before open() and left alone afterwards. Handlers run on the network thread in order, never
    // inside a call to the socket, and not after close(), release or a newer open(). Each event reaches
    // exactly one of them:
    //   onError    the connection could not be established
    //   onClose    an established one ended: lost (error, not clean) or closed by the far end (clean)
    std::function<void(Error)> onError;
    std::function<void(std::shared_ptr<cWebSocket>)> onOpen;
    std::function<void(std::optional<Error>, bool wasClean)> onClose;
    std::function<void(const char* text)> onMessage;  // zero-terminated UTF-8, at most 1 MiB

    // Never blocks and calls no handler.
    virtual ~cWebSocket() = default;

    // [any-thread] Starts connecting; `connectTimeoutSeconds` covers name look-up, TCP, TLS and the
    // handshake together. Nothing happens while connecting or open. Works again after a close or failure.
    virtual void open(const char* url, double connectTimeoutSeconds) = 0;

    // [any-thread] Sends one text message, whole and in order, without blocking; dropped when not open.
    virtual void send(const char* text) = 0;

    // [any-thread] Silent and immediate; closing a closed socket does nothing.
    virtual void close() = 0;

    // [any-thread] Sends one ping. The arguments are reserved and zero.
    virtual void keepAlive(std::int32_t, std::int32_t, std::int32_t) = 0;
};
