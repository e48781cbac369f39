#include "web_server/HttpsConnection.h"

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <optional>
#include <utility>

#include "support/send_queue.h"
#include "web_server/HttpText.h"
#include "web_server/HttpsExchange.h"
#include "web_server/PeerAddress.h"
#include "web_server/TlsPeer.h"

namespace web_server {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr unsigned char kTlsHandshakeRecord = 0x16;  // RFC 8446 section 5.1

class TlsConnection final : public HttpsConnection, public AnsweringConnection, public TlsPeer {
public:
    TlsConnection(std::shared_ptr<asio::io_context> toRunOn, std::shared_ptr<asio::ssl::context> toSpeakWith,
                  tcp::socket connected, HttpsConnectionOwner& toTell)
        : TlsPeer(std::move(toRunOn), std::move(toSpeakWith), std::move(connected)),
          owner(toTell),
          options(toTell.Options()),
          remoteAddress(RemoteAddressOf(Socket())),
          fromThisMachine(ComesFromThisMachine(Socket())),
          queue(options.maximumQueuedBytes) {}

    const std::string& RemoteAddress() const override { return remoteAddress; }
    bool IsFromThisMachine() const override { return fromThisMachine; }

    void Start() override {
        After(options.requestLimit, [this] { Drop(); });
        Socket().async_read_some(incoming.prepare(kReadBytes),
                                 [self = Self()](const error_code& error, std::size_t count) {
                                     if (!self->IsGone()) self->OnFirstBytes(error, count);
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

    void Drop() override { EndNow(); }

    // The exchange and the stream, from any thread

    void Answer(HttpAnswer answer) override {
        Post([answer = std::move(answer)](TlsConnection& self) mutable { self.OnAnswer(std::move(answer)); });
    }

    void BeginStream(std::function<void()> onEnd) override {
        Post([onEnd = std::move(onEnd)](TlsConnection& self) mutable {
            self.OnStreamBegun(std::move(onEnd));
        });
    }

    void PushToStream(std::string text) override {
        if (silent || IsGone()) return;
        if (queue.Push(std::move(text)) != support::SendQueue::Pushed::Behind)
            Post([](TlsConnection& self) { self.Flush(); });
    }

    void EndStreamSilently() override {
        silent = true;
        Post([](TlsConnection& self) { self.EndStream(); });
    }

private:
    std::shared_ptr<TlsConnection> Self() {
        return std::static_pointer_cast<TlsConnection>(shared_from_this());
    }

    void OnEnded() override {
        if (streaming && !silent) TellEnd();
        onStreamEnd = nullptr;
        owner.OnGone(Self());
    }

    // A job of a connection that nobody keeps is not worth running, and jobs left over when the server
    // stopped must not keep the connection.
    template <class Job>
    void Post(Job job) {
        asio::post(*context, [weak = std::weak_ptr<TlsConnection>(Self()), job = std::move(job)]() mutable {
            const auto self = weak.lock();
            if (self && !self->IsGone()) job(*self);
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
                               [self = Self()](const error_code& failed, std::size_t) {
                                   if (self->IsGone()) return;
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
                                 [self = Self()](const error_code& error, std::size_t count) {
                                     if (self->IsGone()) return;
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
        asio::async_write(Socket(), asio::buffer(outgoing), [self = Self()](const error_code&, std::size_t) {
            if (!self->IsGone()) self->Linger();
        });
    }

    // Requests

    void WaitForRequest() {
        if (incoming.size() > 0) {
            ReadRequest();
            return;
        }
        After(options.idleLimit, [this] { Finish(); });
        stream.async_read_some(incoming.prepare(kReadBytes),
                               [self = Self()](const error_code& error, std::size_t count) {
                                   if (self->IsGone()) return;
                                   self->incoming.commit(count);
                                   if (error) {
                                       self->Finish();
                                   } else {
                                       self->ReadRequest();
                                   }
                               });
    }

    void ReadRequest() {
        After(options.requestLimit, [this] { CutOff(); });
        isHead = false;
        keepsOpen = false;
        parser.emplace();
        parser->header_limit(static_cast<std::uint32_t>(options.maximumHeaderBytes));
        parser->body_limit(boost::none);  // what it may be depends on the path
        http::async_read_header(stream, incoming, *parser,
                                [self = Self()](const error_code& error, std::size_t) {
                                    if (!self->IsGone()) self->OnHead(error);
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
            Refuse(Refused(408, "too-slow", "The request took too long."));
        } else if (error == http::error::header_limit) {
            Refuse(Refused(431, "header-too-large", "The request's header is too large."));
        } else if (error == http::error::end_of_stream || error == http::error::partial_message) {
            Finish();
        } else if (error.category() == make_error_code(http::error::end_of_stream).category()) {
            Refuse(Refused(400, "malformed", "This is not a request."));
        } else {
            Drop();
        }
        return true;
    }

    void OnHead(const error_code& error) {
        if (RefuseWhatFailed(error)) return;
        const auto& head = parser->get();
        isHead = head.method() == http::verb::head;
        const std::string_view target(head.target().data(), head.target().size());
        RequestHead facts;
        facts.hosts = head.count(http::field::host);
        facts.target = target;
        facts.needsLength = parser->chunked() || head.method() == http::verb::post;
        facts.isChunked = parser->chunked();
        if (parser->content_length()) facts.length = *parser->content_length();
        const auto& limitOf = owner.Handlers().bodyLimit;
        facts.bodyLimit =
            limitOf ? limitOf(std::string(target.substr(0, target.find('?')))) : options.maximumBodyBytes;
        if (std::optional<HttpAnswer> refused = RefusalOf(facts)) {
            Refuse(std::move(*refused));
            return;
        }
        parser->body_limit(facts.bodyLimit);
        http::async_read(stream, incoming, *parser, [self = Self()](const error_code& failed, std::size_t) {
            if (!self->IsGone() && !self->RefuseWhatFailed(failed)) self->OnRequest();
        });
    }

    void OnRequest() {
        StopTimer();
        const http::request<http::string_body> message = parser->release();
        keepsOpen = message.keep_alive();
        HttpRequest request;
        request.method = std::string(message.method_string().data(), message.method_string().size());
        const std::string target(message.target().data(), message.target().size());
        const std::size_t question = target.find('?');
        request.path = target.substr(0, question);
        if (question != std::string::npos) request.query = target.substr(question + 1);
        for (const auto& field : message) {
            request.fields.emplace_back(LowerCase({field.name_string().data(), field.name_string().size()}),
                                        std::string(field.value().data(), field.value().size()));
        }
        request.body = message.body();
        request.remoteAddress = remoteAddress;
        request.fromThisMachine = fromThisMachine;
        try {
            if (const auto& handler = owner.Handlers().onRequest)
                handler(MakeExchange(Self(), std::move(request)));
        } catch (...) {  // answered by the exchange's end
        }
    }

    void OnAnswer(HttpAnswer answer) {
        const bool keepOpen = keepsOpen;
        for (const auto& field : options.fieldsOfAll)
            answer.fields.push_back(field);
        outgoing = AnswerText(answer, keepOpen ? AfterAnswer::KeepsOpen : AfterAnswer::Closes,
                              isHead ? AnswerBody::LeftOut : AnswerBody::Written);
        Write(options.answerLimit, [this, keepOpen] {
            if (keepOpen) {
                WaitForRequest();
            } else {
                Finish();
            }
        });
    }

    void Refuse(HttpAnswer refused) {
        owner.OnRefused(remoteAddress, std::to_string(refused.status) + " before it was read");
        keepsOpen = false;
        OnAnswer(std::move(refused));
    }

    // Streams

    void OnStreamBegun(std::function<void()> onEnd) {
        onStreamEnd = std::move(onEnd);
        streaming = true;
        writing = true;
        outgoing = EventStreamHead(options.fieldsOfAll);
        Write(options.answerLimit, [this] {
            writing = false;
            KeepAlive();
            Flush();
        });
        NoticeEnd();
    }

    // Nothing more is expected of the client: what comes is forgotten, the end is noticed.
    void NoticeEnd() {
        incoming.clear();
        stream.async_read_some(incoming.prepare(kReadBytes),
                               [self = Self()](const error_code& error, std::size_t) {
                                   if (self->IsGone() || self->IsFinishing()) return;
                                   if (error) {
                                       self->Drop();
                                   } else {
                                       self->NoticeEnd();
                                   }
                               });
    }

    void KeepAlive() {
        if (ending) return;
        After(options.keepAlivePeriod, [this] {
            if (ending) return;
            if (queue.Front() == nullptr) queue.Push(std::string(kEventStreamComment));
            Flush();
            KeepAlive();
        });
    }

    void Flush() {
        if (!streaming || IsFinishing()) return;
        // Even while an event is on its way: a client that reads no more never lets it arrive.
        if (queue.HasOverflown()) {
            owner.OnRefused(remoteAddress, "an event stream that is not read");
            Drop();
            return;
        }
        if (writing) return;
        const std::string* text = queue.Front();
        if (text == nullptr) {
            if (ending) Finish();
            return;
        }
        writing = true;
        asio::async_write(stream, asio::buffer(*text), [self = Self()](const error_code& error, std::size_t) {
            self->writing = false;
            self->queue.PopFront();
            if (self->IsGone()) return;
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
        After(kClosingLimit, [this] { Drop(); });
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

    HttpsConnectionOwner& owner;
    const HttpsServerOptions options;
    const std::string remoteAddress;
    const bool fromThisMachine;
    std::optional<http::request_parser<http::string_body>> parser;
    support::SendQueue queue;  // of the event stream
    std::function<void()> onStreamEnd;
    std::atomic<bool> silent{false};  // the stream was ended here: its end is not told
    bool keepsOpen = false;
    bool isHead = false;
    bool overdue = false;
    bool streaming = false;
    bool writing = false;
    bool ending = false;  // the stream, once everything was written
};

}  // namespace

std::shared_ptr<HttpsConnection> HttpsConnection::Make(std::shared_ptr<asio::io_context> context,
                                                       std::shared_ptr<asio::ssl::context> tls,
                                                       tcp::socket socket, HttpsConnectionOwner& owner) {
    return std::make_shared<TlsConnection>(std::move(context), std::move(tls), std::move(socket), owner);
}

}  // namespace web_server
