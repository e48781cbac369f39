// An HTTPS server (HTTP/1.1 over TLS 1.2 or newer) with event streams, on a network thread of its own. What a
// client may send is bounded in size, time and number. Knows nothing of what is served.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "web_server/HttpTypes.h"

namespace web_server {

// In a text/event-stream: no event, but a sign of life (HTML standard, section 9.2.6).
inline constexpr std::string_view kEventStreamComment = ":\n\n";

// An answer that goes on (text/event-stream). Kept alive by whoever holds it; sends after the end are
// dropped.
class EventStream {
public:
    virtual ~EventStream() = default;
    virtual void Send(std::string text) = 0;  // [any-thread] never blocks; whole and in order
    virtual void End() = 0;                   // [any-thread] after what was sent; calls no handler
};

// One request that waits for its answer. Let go without one, it is answered with 500.
class HttpExchange {
public:
    virtual ~HttpExchange() = default;
    virtual const HttpRequest& Request() const = 0;
    virtual void Answer(HttpAnswer answer) = 0;  // [any-thread] once
    // [any-thread] Instead of Answer(). `onEnd` is called on the network thread when the client is gone, or
    // too slow; not after End() or Stop().
    virtual std::shared_ptr<EventStream> AnswerWithEvents(std::function<void()> onEnd) = 0;
};

// All run on the server's network thread, never after Stop() returned.
struct HttpsHandlers {
    std::function<void(std::shared_ptr<HttpExchange>)> onRequest;
    std::function<std::size_t(const std::string& path)>
        bodyLimit;  // none: HttpsServerOptions::maximumBodyBytes
    // Whether a request without TLS for this host (name or address, port) may be sent on to https.
    std::function<bool(const std::string& host)> isOurHost;
    std::function<void(const std::string& address, const std::string& reason)> onRefused;  // a few words
};

// Both in PEM; the certificate first, then those that vouch for it.
struct ServerCertificate {
    std::string chain;
    std::string key;
};

struct HttpsServerOptions {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;  // 0 lets the system choose
    std::size_t maximumHeaderBytes = std::size_t{16} << 10;
    std::size_t maximumBodyBytes = std::size_t{16} << 10;
    std::size_t maximumConnections = 256;            // more are turned away
    std::size_t maximumConnectionsOfAnAddress = 64;  // phones behind one router share it
    bool limitsThisMachineToo = false;               // else its own addresses may have all connections
    std::size_t maximumQueuedBytes = std::size_t{1}
                                     << 20;  // an event stream that lets more pile up is dropped
    std::chrono::milliseconds requestLimit{
        10000};  // for TLS, and for a request from its first byte to its last
    std::chrono::milliseconds answerLimit{30000};      // until the client has taken the answer
    std::chrono::milliseconds idleLimit{60000};        // between two requests
    std::chrono::milliseconds keepAlivePeriod{10000};  // of the comments in an event stream
    HttpFields fieldsOfAll;                            // of every answer, refusals too
};

class HttpsServer {
public:
    // Null with a one-sentence `error` when the address or the certificate cannot be used.
    static std::unique_ptr<HttpsServer> Listen(const HttpsServerOptions& options,
                                               const ServerCertificate& certificate, HttpsHandlers handlers,
                                               std::string& error);
    virtual ~HttpsServer() = default;  // stops
    virtual std::uint16_t Port() const = 0;
    // [any-thread] For the connections that come from now on. False when it cannot be used; the old one
    // stays.
    virtual bool Replace(const ServerCertificate& certificate) = 0;
    // Ends all streams and connections and waits for a running handler; not from a handler.
    virtual void Stop() = 0;
};

}  // namespace web_server
