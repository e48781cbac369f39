#include "web_server/HttpsConnection.h"

#include <netinet/tcp.h>

#include <array>
#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <optional>
#include <utility>

#include "support/send_queue.h"
#include "web_server/HttpText.h"

namespace web_server {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr unsigned char kTlsHandshakeRecord = 0x16;  // RFC 8446 section 5.1
constexpr std::size_t kReadBytes = 4096;
constexpr std::size_t kMaximumTargetBytes = 4096;
constexpr std::chrono::milliseconds kClosingLimit{1000};
constexpr std::size_t kMostDiscarded = std::size_t{1} << 20;
// A phone that left the network without a word: how long what was sent may stay unacknowledged.
constexpr unsigned kUnacknowledgedLimitMs = 15000;
constexpr std::string_view kKeepAlive = ":\n\n";

std::string AddressOf(const tcp::endpoint& endpoint) {
    asio::ip::address address = endpoint.address();
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
    return address.to_string();
}

// Also one that came to another address of this machine from that address.
bool ComesFromHere(const tcp::socket& socket) {
    error_code error;
    const std::string remote = AddressOf(socket.remote_endpoint(error));
    if (error) return false;
    const std::string local = AddressOf(socket.local_endpoint(error));
    const asio::ip::address parsed = asio::ip::make_address(remote, error);
    return !error && (parsed.is_loopback() || remote == local);
}

std::string RemoteAddressOf(const tcp::socket& socket) {
    error_code error;
    const tcp::endpoint endpoint = socket.remote_endpoint(error);
    return error ? std::string() : AddressOf(endpoint);
}

std::string LowerCase(beast::string_view text) {
    std::string lower(text.data(), text.size());
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return lower;
}

class TlsConnection final : public HttpsConnection, public std::enable_shared_from_this<TlsConnection> {
public:
    TlsConnection(std::shared_ptr<asio::io_context> toRunOn, std::shared_ptr<asio::ssl::context> toSpeakWith,
                  tcp::socket connected, HttpsConnectionOwner& toTell)
        : context(std::move(toRunOn)),
          tls(std::move(toSpeakWith)),
          owner(toTell),
          options(toTell.Options()),
          remoteAddress(RemoteAddressOf(connected)),
          fromThisMachine(ComesFromHere(connected)),
          stream(std::move(connected), *tls),
          timer(*context),
          queue(options.maximumQueuedBytes) {}

    const std::string& RemoteAddress() const override { return remoteAddress; }
    bool IsFromThisMachine() const override { return fromThisMachine; }

    void Start() override {
        error_code ignored;
        Socket().set_option(tcp::no_delay(true), ignored);
        using UnacknowledgedLimit = asio::detail::socket_option::integer<IPPROTO_TCP, TCP_USER_TIMEOUT>;
        Socket().set_option(UnacknowledgedLimit(kUnacknowledgedLimitMs), ignored);
        After(options.requestLimit, &TlsConnection::Drop);
        Socket().async_read_some(incoming.prepare(kReadBytes),
                                 [self = shared_from_this()](const error_code& error, std::size_t count) {
                                     if (!self->gone) self->OnFirstBytes(error, count);
                                 });
    }

    void GoAway() override {
        if (streaming) {
            silent = true;
            EndStream();
        } else {
            Drop();
        }
    }

    void Drop() override {
        if (gone.exchange(true)) return;
        timer.cancel();
        error_code ignored;
        Socket().close(ignored);
        if (streaming && !silent) TellEnd();
        onStreamEnd = nullptr;
        owner.OnGone(shared_from_this());
    }

    // [any-thread] For the exchange and the stream of this connection. A job of a connection that nobody
    // keeps is not worth running, and jobs left over when the server stopped must not keep the connection.
    template <class Job>
    void Post(Job job) {
        asio::post(*context, [weak = weak_from_this(), job = std::move(job)]() mutable {
            const auto self = weak.lock();
            if (self && !self->gone) job(*self);
        });
    }

    void OnAnswer(HttpAnswer answer) {
        const bool keepOpen = keepsOpen;
        for (const auto& field : options.fieldsOfAll)
            answer.fields.push_back(field);
        outgoing = AnswerText(answer, keepOpen ? AfterAnswer::KeepsOpen : AfterAnswer::Closes,
                              isHead ? AnswerBody::LeftOut : AnswerBody::Written);
        Write([keepOpen](TlsConnection& self) {
            if (keepOpen) {
                self.WaitForRequest();
            } else {
                self.Finish();
            }
        });
    }

    void OnStreamBegun(std::function<void()> onEnd) {
        onStreamEnd = std::move(onEnd);
        streaming = true;
        writing = true;
        outgoing = EventStreamHead(options.fieldsOfAll);
        Write([](TlsConnection& self) {
            self.writing = false;
            self.KeepAlive();
            self.Flush();
        });
        NoticeEnd();
    }

    void PushToStream(std::string text) {
        if (silent || gone) return;
        if (queue.Push(std::move(text)) != support::SendQueue::Pushed::Behind)
            Post([](TlsConnection& self) { self.Flush(); });
    }

    void EndStreamSilently() {
        silent = true;
        Post([](TlsConnection& self) { self.EndStream(); });
    }

private:
    tcp::socket& Socket() { return stream.next_layer(); }

    void After(std::chrono::milliseconds limit, void (TlsConnection::*step)()) {
        timer.expires_after(limit);
        timer.async_wait([self = shared_from_this(), step](const error_code& error) {
            if (error || self->gone || self->timer.expiry() > std::chrono::steady_clock::now()) return;
            (*self.*step)();
        });
    }

    // The first bytes tell TLS from plain HTTP.

    void OnFirstBytes(const error_code& error, std::size_t count) {
        if (error) {
            Drop();
            return;
        }
        incoming.commit(count);
        if (static_cast<const unsigned char*>(incoming.cdata().data())[0] != kTlsHandshakeRecord) {
            ReadPlainHead();
            return;
        }
        stream.async_handshake(asio::ssl::stream_base::server, incoming.data(),
                               [self = shared_from_this()](const error_code& failed, std::size_t) {
                                   if (self->gone) return;
                                   self->incoming.clear();
                                   if (failed) {
                                       self->Drop();
                                   } else {
                                       self->WaitForRequest();
                                   }
                               });
    }

    void ReadPlainHead() {
        const std::string_view head(static_cast<const char*>(incoming.cdata().data()), incoming.size());
        const std::size_t end = head.find("\r\n\r\n");
        if (end != std::string_view::npos || head.size() > options.maximumHeaderBytes) {
            AnswerPlainly(head.substr(0, end));
            return;
        }
        Socket().async_read_some(incoming.prepare(kReadBytes),
                                 [self = shared_from_this()](const error_code& error, std::size_t count) {
                                     if (self->gone) return;
                                     self->incoming.commit(count);
                                     if (error) {
                                         self->Drop();
                                     } else {
                                         self->ReadPlainHead();
                                     }
                                 });
    }

    void AnswerPlainly(std::string_view head) {
        owner.OnRefused(remoteAddress, "http without TLS");
        const std::string host(FieldOfHead(head, "host"));
        const auto& isOurs = owner.Handlers().isOurHost;
        outgoing = PlainHttpAnswer(isOurs && isOurs(host) ? host : std::string(), TargetOfHead(head));
        asio::async_write(Socket(), asio::buffer(outgoing),
                          [self = shared_from_this()](const error_code&, std::size_t) {
                              if (!self->gone) self->Linger();
                          });
    }

    // Requests

    void WaitForRequest() {
        if (incoming.size() > 0) {
            ReadRequest();
            return;
        }
        After(options.idleLimit, &TlsConnection::Finish);
        stream.async_read_some(incoming.prepare(kReadBytes),
                               [self = shared_from_this()](const error_code& error, std::size_t count) {
                                   if (self->gone) return;
                                   self->incoming.commit(count);
                                   if (error) {
                                       self->Finish();
                                   } else {
                                       self->ReadRequest();
                                   }
                               });
    }

    void ReadRequest() {
        After(options.requestLimit, &TlsConnection::CutOff);
        isHead = false;
        keepsOpen = false;
        parser.emplace();
        parser->header_limit(static_cast<std::uint32_t>(options.maximumHeaderBytes));
        http::async_read_header(stream, incoming, *parser,
                                [self = shared_from_this()](const error_code& error, std::size_t) {
                                    if (!self->gone) self->OnHead(error);
                                });
    }

    // The running read ends with an error, and says so.
    void CutOff() {
        overdue = true;
        error_code ignored;
        Socket().cancel(ignored);
    }

    bool RefuseWhatFailed(const error_code& error) {
        if (!error) return false;
        if (overdue) {
            Refuse(408, "too-slow", "The request took too long.");
        } else if (error == http::error::header_limit) {
            Refuse(431, "header-too-large", "The request's header is too large.");
        } else if (error == http::error::body_limit) {
            Refuse(413, "too-large", "The request is too large.");
        } else if (error == http::error::end_of_stream || error == http::error::partial_message) {
            Finish();
        } else if (error.category() == make_error_code(http::error::end_of_stream).category()) {
            Refuse(400, "malformed", "This is not a request.");
        } else {
            Drop();
        }
        return true;
    }

    void OnHead(const error_code& error) {
        if (RefuseWhatFailed(error)) return;
        const auto& head = parser->get();
        isHead = head.method() == http::verb::head;
        const beast::string_view target = head.target();
        if (head.count(http::field::host) != 1 || target.size() > kMaximumTargetBytes ||
            !IsPlainTarget({target.data(), target.size()})) {
            Refuse(400, "malformed", "This is not a request.");
            return;
        }
        const bool hasLength = parser->content_length().has_value();
        if (parser->chunked() || (head.method() == http::verb::post && !hasLength)) {
            Refuse(411, "no-length", "The request does not say how long it is.");
            return;
        }
        const auto& limitOf = owner.Handlers().bodyLimit;
        const std::string path(target.data(), std::min(target.size(), target.find('?')));
        const std::size_t limit = limitOf ? limitOf(path) : options.maximumBodyBytes;
        if (hasLength && *parser->content_length() > limit) {
            Refuse(413, "too-large", "The request is too large.");
            return;
        }
        parser->body_limit(limit);
        http::async_read(stream, incoming, *parser,
                         [self = shared_from_this()](const error_code& failed, std::size_t) {
                             if (!self->gone && !self->RefuseWhatFailed(failed)) self->OnRequest();
                         });
    }

    void OnRequest();

    void Refuse(int status, std::string_view code, std::string_view sentence) {
        owner.OnRefused(remoteAddress, std::to_string(status) + " " + std::string(code));
        keepsOpen = false;
        OnAnswer(Refused(status, code, sentence));
    }

    template <class Then>
    void Write(Then then) {
        After(options.answerLimit, &TlsConnection::Drop);
        asio::async_write(stream, asio::buffer(outgoing),
                          [self = shared_from_this(), then](const error_code& error, std::size_t) {
                              if (self->gone) return;
                              if (error) {
                                  self->Drop();
                              } else {
                                  then(*self);
                              }
                          });
    }

    // Streams

    // Nothing more is expected of the client: what comes is forgotten, the end is noticed.
    void NoticeEnd() {
        incoming.clear();
        stream.async_read_some(incoming.prepare(kReadBytes),
                               [self = shared_from_this()](const error_code& error, std::size_t) {
                                   if (self->gone || self->finishing) return;
                                   if (error) {
                                       self->Drop();
                                   } else {
                                       self->NoticeEnd();
                                   }
                               });
    }

    void KeepAlive() {
        if (ending) return;
        timer.expires_after(options.keepAlivePeriod);
        timer.async_wait([self = shared_from_this()](const error_code& error) {
            if (error || self->gone || self->ending) return;
            if (self->queue.Front() == nullptr) self->queue.Push(std::string(kKeepAlive));
            self->Flush();
            self->KeepAlive();
        });
    }

    void Flush() {
        if (!streaming || writing || finishing) return;
        if (queue.HasOverflown()) {
            owner.OnRefused(remoteAddress, "an event stream that is not read");
            Drop();
            return;
        }
        const std::string* text = queue.Front();
        if (text == nullptr) {
            if (ending) Finish();
            return;
        }
        writing = true;
        asio::async_write(stream, asio::buffer(*text),
                          [self = shared_from_this()](const error_code& error, std::size_t) {
                              self->writing = false;
                              self->queue.PopFront();
                              if (self->gone) return;
                              if (error) {
                                  self->Drop();
                              } else {
                                  self->Flush();
                              }
                          });
    }

    void EndStream() {
        if (ending) return;
        ending = true;
        After(kClosingLimit, &TlsConnection::Drop);
        Flush();
    }

    void TellEnd() {
        const auto tell = std::exchange(onStreamEnd, nullptr);
        if (!tell) return;
        try {
            tell();
        } catch (...) {  // the network thread outlives whatever a handler throws
        }
    }

    // Ending

    void Finish() {
        if (std::exchange(finishing, true)) return;
        After(kClosingLimit, &TlsConnection::Drop);
        stream.async_shutdown([self = shared_from_this()](const error_code&) {
            if (!self->gone) self->Linger();
        });
    }

    // What the client still sends is read before closing; otherwise the reset could overtake our last words.
    void Linger() {
        After(kClosingLimit, &TlsConnection::Drop);
        error_code error;
        Socket().shutdown(tcp::socket::shutdown_send, error);
        if (error) {
            Drop();
            return;
        }
        Discard();
    }

    void Discard() {
        incoming.clear();
        Socket().async_read_some(incoming.prepare(kReadBytes),
                                 [self = shared_from_this()](const error_code& error, std::size_t count) {
                                     if (self->gone) return;
                                     self->discarded += count;
                                     if (error || self->discarded > kMostDiscarded) {
                                         self->Drop();
                                     } else {
                                         self->Discard();
                                     }
                                 });
    }

    const std::shared_ptr<asio::io_context> context;
    const std::shared_ptr<asio::ssl::context> tls;
    HttpsConnectionOwner& owner;
    const HttpsServerOptions options;
    const std::string remoteAddress;
    const bool fromThisMachine;
    asio::ssl::stream<tcp::socket> stream;
    asio::steady_timer timer;
    beast::flat_buffer incoming;
    std::optional<http::request_parser<http::string_body>> parser;
    std::string outgoing;
    support::SendQueue queue;  // of the event stream
    std::function<void()> onStreamEnd;
    std::atomic<bool> silent{false};  // the stream was ended here: its end is not told
    std::atomic<bool> gone{false};
    std::size_t discarded = 0;
    bool keepsOpen = false;
    bool isHead = false;
    bool overdue = false;
    bool streaming = false;
    bool writing = false;
    bool ending = false;     // the stream, once everything was written
    bool finishing = false;  // the TLS session
};

class Stream final : public EventStream {
public:
    explicit Stream(std::weak_ptr<TlsConnection> toWriteTo) : connection(std::move(toWriteTo)) {}
    void Send(std::string text) override {
        if (const auto alive = connection.lock()) alive->PushToStream(std::move(text));
    }
    void End() override {
        if (const auto alive = connection.lock()) alive->EndStreamSilently();
    }

private:
    const std::weak_ptr<TlsConnection> connection;
};

class Exchange final : public HttpExchange {
public:
    Exchange(std::weak_ptr<TlsConnection> toAnswer, HttpRequest asked)
        : connection(std::move(toAnswer)), request(std::move(asked)) {}
    ~Exchange() override {
        if (!answered) Answer(Refused(500, "not-answered", "The server could not answer this."));
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const HttpRequest& Request() const override { return request; }

    void Answer(HttpAnswer answer) override {
        if (answered.exchange(true)) return;
        if (const auto alive = connection.lock()) {
            alive->Post([answer = std::move(answer)](TlsConnection& self) mutable {
                self.OnAnswer(std::move(answer));
            });
        }
    }

    std::shared_ptr<EventStream> AnswerWithEvents(std::function<void()> onEnd) override {
        auto stream = std::make_shared<Stream>(connection);
        if (answered.exchange(true)) return stream;
        if (const auto alive = connection.lock()) {
            alive->Post([onEnd = std::move(onEnd)](TlsConnection& self) mutable {
                self.OnStreamBegun(std::move(onEnd));
            });
        }
        return stream;
    }

private:
    const std::weak_ptr<TlsConnection> connection;
    const HttpRequest request;
    std::atomic<bool> answered{false};
};

void TlsConnection::OnRequest() {
    timer.cancel();
    http::request<http::string_body> message = parser->release();
    keepsOpen = message.keep_alive();
    HttpRequest request;
    request.method = std::string(message.method_string().data(), message.method_string().size());
    const std::string target(message.target().data(), message.target().size());
    const std::size_t question = target.find('?');
    request.path = target.substr(0, question);
    if (question != std::string::npos) request.query = target.substr(question + 1);
    for (const auto& field : message) {
        request.fields.emplace_back(LowerCase(field.name_string()),
                                    std::string(field.value().data(), field.value().size()));
    }
    request.body = std::move(message.body());
    request.remoteAddress = remoteAddress;
    request.fromThisMachine = fromThisMachine;
    const auto exchange = std::make_shared<Exchange>(weak_from_this(), std::move(request));
    try {
        if (owner.Handlers().onRequest) owner.Handlers().onRequest(exchange);
    } catch (...) {  // answered by the exchange's end
    }
}

}  // namespace

std::shared_ptr<HttpsConnection> HttpsConnection::Make(std::shared_ptr<asio::io_context> context,
                                                       std::shared_ptr<asio::ssl::context> tls,
                                                       tcp::socket socket, HttpsConnectionOwner& owner) {
    return std::make_shared<TlsConnection>(std::move(context), std::move(tls), std::move(socket), owner);
}

}  // namespace web_server
