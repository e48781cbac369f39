#include "web_server/ServerConnection.h"

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <optional>
#include <utility>

#include "support/send_queue.h"
#include "web_server/PlainAnswer.h"

namespace web_server {

namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::asio::ip::tcp;
using boost::system::error_code;

// A type of its own for Beast to find its teardown: the connection itself waits for the client to close,
// within a time limit.
class StreamSocket : public tcp::socket {
public:
    explicit StreamSocket(tcp::socket&& connected) : tcp::socket(std::move(connected)) {}
};

template <class Handler>
void async_teardown(beast::role_type, StreamSocket& socket, Handler&& handler) {
    boost::asio::post(socket.get_executor(), [handler = std::forward<Handler>(handler)]() mutable {
        std::move(handler)(error_code{});
    });
}

namespace {

constexpr std::uint32_t kMaximumHeaderBytes = 8192;
constexpr std::size_t kDiscardBytes = 4096;
constexpr std::chrono::milliseconds kClosingLimit{1000};

std::string EndpointText(const tcp::socket& socket) {
    error_code error;
    const tcp::endpoint endpoint = socket.remote_endpoint(error);
    if (error) return "unknown";
    const std::string address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" +
           std::to_string(endpoint.port());
}

class BeastConnection final : public ServerConnection, public std::enable_shared_from_this<BeastConnection> {
public:
    BeastConnection(std::shared_ptr<boost::asio::io_context> toRunOn, tcp::socket toServe,
                    const WebSocketServerOptions& toUse, ServerConnectionOwner& toTell)
        : context(std::move(toRunOn)),
          options(toUse),
          owner(toTell),
          remoteAddress(EndpointText(toServe)),
          request(std::move(toServe)),
          timer(*context),
          queue(options.maximumQueuedBytes) {}

    void Send(std::string text) override {
        if (silent || gone) return;
        if (queue.Push(std::move(text)) != support::SendQueue::Pushed::Behind) Post(&BeastConnection::Flush);
    }

    void Close() override {
        silent = true;
        Post(&BeastConnection::SayGoodbye);
    }

    std::string RemoteAddress() const override { return remoteAddress; }

    void Start() override {
        After(options.handshakeLimit);
        parser.header_limit(kMaximumHeaderBytes);
        http::async_read_header(request, incoming, parser,
                                [self = shared_from_this()](const error_code& error, std::size_t) {
                                    if (!self->gone) self->OnRequest(error);
                                });
    }

    void GoAway() override {
        silent = true;
        closeCode = websocket::close_code::going_away;
        SayGoodbye();
    }

    void Drop() override {
        if (gone.exchange(true)) return;
        timer.cancel();
        error_code ignored;
        Socket().close(ignored);
        const auto self = shared_from_this();
        // Beast's closing and reading operations can wait for each other; this ends both.
        boost::asio::post(*context, [self] { self->stream.reset(); });
        owner.OnGone(self);
    }

private:
    // A job of a connection that nobody keeps is not worth running, and jobs left over when the server
    // stopped must not keep the connection.
    void Post(void (BeastConnection::*step)()) {
        boost::asio::post(*context, [weak = weak_from_this(), step] {
            if (const auto self = weak.lock()) (*self.*step)();
        });
    }

    void After(std::chrono::milliseconds limit) {
        timer.expires_after(limit);
        timer.async_wait([self = shared_from_this()](const error_code& error) {
            if (!error && self->timer.expiry() <= std::chrono::steady_clock::now()) self->Abort();
        });
    }

    tcp::socket& Socket() {
        if (stream) return stream->next_layer();
        return request;
    }

    // Request

    void OnRequest(const error_code& error) {
        if (error) {
            if (error.category() == make_error_code(http::error::end_of_stream).category() &&
                error != http::error::end_of_stream && error != http::error::partial_message) {
                Refuse(Refusal::BadRequest);
            } else {
                Drop();
            }
            return;
        }
        const beast::string_view asked = parser.get().target();
        if (!AsksForPath({asked.data(), asked.size()}, options.path)) {
            Refuse(Refusal::NotFound);
        } else if (!websocket::is_upgrade(parser.get())) {
            Refuse(Refusal::UpgradeRequired);
        } else {
            Accept();
        }
    }

    void Refuse(Refusal refusal) {
        answer = PlainAnswer(refusal);
        boost::asio::async_write(request, boost::asio::buffer(answer),
                                 [self = shared_from_this()](const error_code&, std::size_t) {
                                     if (!self->gone) self->Linger();
                                 });
    }

    // What the client still sends is read before closing; otherwise the reset could overtake our last
    // words.
    void Linger() {
        End();
        error_code error;
        Socket().shutdown(tcp::socket::shutdown_send, error);
        if (error) {
            Drop();
            return;
        }
        After(kClosingLimit);
        incoming.clear();
        Discard();
    }

    void Discard() {
        Socket().async_read_some(incoming.prepare(kDiscardBytes),
                                 [self = shared_from_this()](const error_code& error, std::size_t) {
                                     if (self->gone) return;
                                     if (error) {
                                         self->Drop();
                                     } else {
                                         self->Discard();
                                     }
                                 });
    }

    void Accept() {
        error_code ignored;
        request.set_option(tcp::no_delay(true), ignored);
        stream.emplace(std::move(request));
        stream->set_option(
            websocket::stream_base::timeout{options.handshakeLimit, options.silenceLimit, true});
        stream->text(true);
        stream->auto_fragment(false);
        stream->read_message_max(options.maximumMessageBytes);
        stream->async_accept(parser.get(), [self = shared_from_this()](const error_code& error) {
            if (self->gone) return;
            if (error) {
                self->Drop();
            } else {
                self->OnAccepted();
            }
        });
    }

    void OnAccepted() {
        timer.cancel();
        incoming.clear();
        stream->control_callback([this](websocket::frame_type kind, beast::string_view) {
            if (kind == websocket::frame_type::close) OnCloseFrame();
        });
        open = true;
        if (silent) {
            SayGoodbye();
        } else {
            owner.OnOpened(shared_from_this());
        }
        WatchMessages();
        Read();
    }

    // Messages

    // Looks twice in the time that a message may take: one that was under way both times is overdue. Until
    // the connection ends, nothing else needs the timer.
    void WatchMessages() {
        timer.expires_after(options.messageLimit / 2);
        timer.async_wait([self = shared_from_this()](const error_code& error) {
            if (error || self->gone || !self->open || self->sayingGoodbye) return;
            const bool underWay = !self->stream->is_message_done();
            if (underWay && self->wasUnderWay) {
                self->Abort();
                return;
            }
            self->wasUnderWay = underWay;
            self->WatchMessages();
        });
    }

    void Read() {
        stream->async_read(incoming, [self = shared_from_this()](const error_code& error, std::size_t) {
            if (self->gone) return;
            if (error) {
                self->Linger();
                return;
            }
            self->OnRead();
            self->Read();
        });
    }

    void OnRead() {
        wasUnderWay = false;
        if (stream->got_text() && open && !silent) {
            const auto bytes = incoming.cdata();
            owner.OnMessage(shared_from_this(), {static_cast<const char*>(bytes.data()), bytes.size()});
        }
        incoming.consume(incoming.size());
    }

    void OnCloseFrame() {
        After(kClosingLimit);
        End();
    }

    void End() {
        if (!std::exchange(open, false) || silent) return;
        owner.OnEnded(shared_from_this());
    }

    void Abort() {
        End();
        Drop();
    }

    void Flush() {
        if (gone || !open) return;
        if (queue.HasOverflown()) {
            Abort();
            return;
        }
        if (writing || saidGoodbye) return;
        const std::string* text = queue.Front();
        if (text == nullptr) {
            if (sayingGoodbye) CloseStream();
            return;
        }
        writing = true;
        stream->async_write(boost::asio::buffer(*text),
                            [self = shared_from_this()](const error_code& error, std::size_t) {
                                self->writing = false;
                                self->queue.PopFront();
                                if (self->gone) return;
                                if (error) {
                                    self->Abort();
                                } else {
                                    self->Flush();
                                }
                            });
    }

    // Ending

    void SayGoodbye() {
        if (gone || sayingGoodbye) return;
        if (!stream) Drop();
        // While accepting: says it as soon as that is done. Afterwards: the client's own close frame is
        // being answered, within a time limit.
        if (!open) return;
        sayingGoodbye = true;
        After(kClosingLimit);
        Flush();
    }

    void CloseStream() {
        saidGoodbye = true;
        if (!stream->is_open()) return;  // a close frame is on its way out already
        stream->async_close(closeCode, [self = shared_from_this()](const error_code&) { self->Drop(); });
    }

    const std::shared_ptr<boost::asio::io_context> context;
    const WebSocketServerOptions options;
    ServerConnectionOwner& owner;
    const std::string remoteAddress;
    tcp::socket request;  // until it becomes a stream
    std::optional<websocket::stream<StreamSocket, false>> stream;
    boost::asio::steady_timer timer;
    beast::flat_buffer incoming;
    http::request_parser<http::empty_body> parser;
    std::string answer;
    support::SendQueue queue;
    websocket::close_code closeCode = websocket::close_code::normal;
    std::atomic<bool> silent{false};  // closed here: no more events
    std::atomic<bool> gone{false};
    bool open = false;         // accepted and not ended
    bool wasUnderWay = false;  // a message, when it was looked last
    bool writing = false;
    bool sayingGoodbye = false;
    bool saidGoodbye = false;
};

}  // namespace

std::shared_ptr<ServerConnection> ServerConnection::Make(std::shared_ptr<boost::asio::io_context> context,
                                                         boost::asio::ip::tcp::socket socket,
                                                         const WebSocketServerOptions& options,
                                                         ServerConnectionOwner& owner) {
    return std::make_shared<BeastConnection>(std::move(context), std::move(socket), options, owner);
}

}  // namespace web_server
