#include "web_server/TlsPeer.h"

#include <netinet/tcp.h>

#include <boost/asio/write.hpp>
#include <utility>

namespace web_server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::size_t kMostDiscarded = std::size_t{1} << 20;
// A phone that left the network without a word: how long what was sent may stay unacknowledged.
constexpr unsigned kUnacknowledgedLimitMs = 15000;

}  // namespace

TlsPeer::TlsPeer(std::shared_ptr<asio::io_context> toRunOn, std::shared_ptr<asio::ssl::context> toSpeakWith,
                 tcp::socket connected)
    : context(std::move(toRunOn)),
      tls(std::move(toSpeakWith)),
      stream(std::move(connected), *tls),
      timer(*context) {
    error_code ignored;
    Socket().set_option(tcp::no_delay(true), ignored);
    using UnacknowledgedLimit = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_USER_TIMEOUT>;
    Socket().set_option(UnacknowledgedLimit(kUnacknowledgedLimitMs), ignored);
}

void TlsPeer::After(std::chrono::milliseconds time, std::function<void()> step) {
    timer.expires_after(time);
    timer.async_wait([self = shared_from_this(), step = std::move(step)](const error_code& error) {
        if (error || self->gone || self->timer.expiry() > std::chrono::steady_clock::now()) return;
        step();
    });
}

void TlsPeer::Write(std::chrono::milliseconds limit, std::function<void()> then) {
    After(limit, [this] { EndNow(); });
    asio::async_write(
        stream, asio::buffer(outgoing),
        [self = shared_from_this(), then = std::move(then)](const error_code& error, std::size_t) {
            if (self->gone) return;
            if (error) {
                self->EndNow();
            } else {
                then();
            }
        });
}

void TlsPeer::Finish() {
    if (std::exchange(finishing, true)) return;
    After(kClosingLimit, [this] { EndNow(); });
    stream.async_shutdown([self = shared_from_this()](const error_code&) {
        if (!self->gone) self->Linger();
    });
}

// Without reading on, the reset that closing causes could overtake our last words.
void TlsPeer::Linger() {
    After(kClosingLimit, [this] { EndNow(); });
    error_code error;
    Socket().shutdown(tcp::socket::shutdown_send, error);
    if (error) {
        EndNow();
        return;
    }
    Discard();
}

void TlsPeer::Discard() {
    incoming.clear();
    Socket().async_read_some(incoming.prepare(kReadBytes),
                             [self = shared_from_this()](const error_code& error, std::size_t count) {
                                 if (self->gone) return;
                                 self->discarded += count;
                                 if (error || self->discarded > kMostDiscarded) {
                                     self->EndNow();
                                 } else {
                                     self->Discard();
                                 }
                             });
}

void TlsPeer::EndNow() {
    if (gone.exchange(true)) return;
    timer.cancel();
    error_code ignored;
    Socket().close(ignored);
    OnEnded();
}

}  // namespace web_server
