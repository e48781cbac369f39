// A TLS connection as a server writes to it and ends it: within time limits, and so that the last words
// arrive.
#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace web_server {

// Everything but IsGone() on the network thread.
class TlsPeer : public std::enable_shared_from_this<TlsPeer> {
protected:
    static constexpr std::chrono::milliseconds kClosingLimit{1000};
    static constexpr std::size_t kReadBytes = 4096;

    TlsPeer(std::shared_ptr<boost::asio::io_context> toRunOn,
            std::shared_ptr<boost::asio::ssl::context> toSpeakWith, boost::asio::ip::tcp::socket connected);
    virtual ~TlsPeer() = default;

    boost::asio::ip::tcp::socket& Socket() { return stream.next_layer(); }
    bool IsGone() const { return gone; }  // [any-thread] nothing more happens

    // Runs a step after a time, unless another time is set before.
    void After(std::chrono::milliseconds time, std::function<void()> step);
    void StopTimer() { timer.cancel(); }

    // Writes `outgoing`, then goes on; a client that does not take it within the limit is dropped.
    void Write(std::chrono::milliseconds limit, std::function<void()> then);

    void Finish();  // ends TLS, then the connection
    void Linger();  // what the client still sends is read before closing, within limits
    void EndNow();  // at once, without a word
    bool IsFinishing() const { return finishing; }

    virtual void OnEnded() = 0;  // once, in EndNow()

    const std::shared_ptr<boost::asio::io_context> context;
    const std::shared_ptr<boost::asio::ssl::context> tls;
    boost::asio::ssl::stream<boost::asio::ip::tcp::socket> stream;
    boost::beast::flat_buffer incoming;
    std::string outgoing;

private:
    void Discard();

    boost::asio::steady_timer timer;
    std::atomic<bool> gone{false};
    std::size_t discarded = 0;
    bool finishing = false;
};

}  // namespace web_server
