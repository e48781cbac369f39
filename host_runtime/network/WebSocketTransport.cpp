#include "host_runtime/network/WebSocketTransport.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <utility>

#include "host_runtime/network/HandshakeAnswer.h"
#include "host_runtime/network/Utf8Tail.h"
#include "host_runtime/network/Wire.h"
#include "support/send_queue.h"

namespace host_runtime {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;

// Found by Beast. The transport itself closes the wire, within a time limit.
void beast_close_socket(Wire& wire) {
    wire.Close();
}

void teardown(beast::role_type, Wire&, error_code& error) {
    error = {};
}

template <class Handler>
void async_teardown(beast::role_type, Wire& wire, Handler&& handler) {
    boost::asio::post(wire.get_executor(), [handler = std::forward<Handler>(handler)]() mutable {
        std::move(handler)(error_code{});
    });
}

namespace {

using Error = cWebSocket::Error;
using Clock = std::chrono::steady_clock;

constexpr double kLongestConnectSeconds = 3600.0;
constexpr int kMostPingsWanted = 16;

Clock::duration ConnectTime(double seconds) {
    const double bounded = seconds > 0.0 ? std::min(seconds, kLongestConnectSeconds) : 0.0;  // NaN is 0
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(bounded));
}

template <class Enum>
bool IsOfCategory(const error_code& error, Enum example) {
    return error.category() == make_error_code(example).category();
}

ConnectFailure NoWebSocket() {
    return {Error::Permanent, "it is no WebSocket server"};
}

ConnectFailure HandshakeFailure(const error_code& error) {
    if (error == beast::http::error::end_of_stream || error == beast::http::error::partial_message) return {};
    const bool notOurProtocol = IsOfCategory(error, beast::http::error::end_of_stream) ||
                                IsOfCategory(error, websocket::error::closed);
    return notOurProtocol ? NoWebSocket() : ConnectFailure{};
}

// No extension and no subprotocol is asked for (RFC 6455 section 4.1).
bool GrantsWhatNobodyAskedFor(const websocket::response_type& response) {
    return response.count(beast::http::field::sec_websocket_extensions) != 0 ||
           response.count(beast::http::field::sec_websocket_protocol) != 0;
}

Error ReadError(const error_code& error) {
    return IsOfCategory(error, websocket::error::closed) ? Error::Protocol : Error::Lost;
}

class BeastTransport final : public WebSocketTransport, public std::enable_shared_from_this<BeastTransport> {
public:
    BeastTransport(Target toDial, std::weak_ptr<WebSocketListener> toTell, std::uint64_t itsGeneration)
        : target(std::move(toDial)),
          listener(std::move(toTell)),
          generation(itsGeneration),
          bytes(target.url.secure ? MakeTlsStream(target.settings.extraCaFile) : MakePlainStream()),
          socket(bytes),
          queue(target.settings.maximumQueuedBytes) {}

    void Start() override { Post(&BeastTransport::Connect); }
    void Ping() override { Post(&BeastTransport::SendPing); }
    void Close() override { Post(&BeastTransport::SayGoodbye); }

    void Send(std::string text) override {
        if (queue.Push(std::move(text)) != support::SendQueue::Pushed::Behind) Post(&BeastTransport::Flush);
    }

private:
    // Farewell: closed here, flushing and saying goodbye. PeerClosed: a close frame came, its answer is on
    // the way. The listener has heard the end in PeerClosed and Done.
    enum class Phase { Connecting, Open, Farewell, PeerClosed, Done };

    void Post(void (BeastTransport::*step)()) {
        boost::asio::post(NetworkContext(), [self = shared_from_this(), step] { (*self.*step)(); });
    }

    template <class Event>
    void Tell(Event event) {
        if (const auto hearer = listener.lock()) event(*hearer);
    }

    void After(Clock::duration delay, void (BeastTransport::*step)()) {
        timer.expires_after(delay);
        timer.async_wait([self = shared_from_this(), step, number = ++timerNumber](const error_code& error) {
            if (!error && number == self->timerNumber) (*self.*step)();
        });
    }

    // Connecting

    void Connect() {
        if (phase != Phase::Connecting) return;
        After(ConnectTime(target.connectTimeoutSeconds), &BeastTransport::OnConnectTimeout);
        bytes->Connect(target.url, [self = shared_from_this()](const std::optional<ConnectFailure>& failure) {
            if (failure) {
                self->Fail(*failure);
            } else {
                self->Handshake();
            }
        });
    }

    void OnConnectTimeout() { Fail({}); }

    void Handshake() {
        if (phase != Phase::Connecting) return;
        socket.next_layer().onReceived = [this](std::string_view received) { JudgeAnswer(received); };
        socket.set_option(websocket::stream_base::decorator([](websocket::request_type& request) {
            request.set(beast::http::field::user_agent, "Halyard");
        }));
        const auto response = std::make_shared<websocket::response_type>();
        socket.async_handshake(*response, target.url.hostHeader, target.url.target,
                               [self = shared_from_this(), response](const error_code& error) {
                                   if (error) {
                                       self->Fail(HandshakeFailure(error));
                                   } else if (GrantsWhatNobodyAskedFor(*response)) {
                                       self->Fail(NoWebSocket());
                                   } else {
                                       self->OnHandshaken();
                                   }
                               });
    }

    // Tells a server that never becomes a WebSocket from one that is only slow, also when its answer has
    // no end.
    void JudgeAnswer(std::string_view received) {
        answer.append(received.substr(0, kJudgedBytes - std::min(kJudgedBytes, answer.size())));
        if (IsRefusal(answer)) Fail(NoWebSocket());
    }

    void Fail(const ConnectFailure& failure) {
        if (phase != Phase::Connecting) return;
        Finish();
        ConnectFailure told = failure;
        if (!told.reason.empty()) told.reason = target.url.hostHeader + ": " + told.reason;
        Tell([&](WebSocketListener& hearer) { hearer.OnConnectFailed(generation, told); });
    }

    void OnHandshaken() {
        if (phase != Phase::Connecting) return;
        phase = Phase::Open;
        lastReceived = lastWhole = Clock::now();
        socket.next_layer().onReceived = [this](std::string_view) { lastReceived = Clock::now(); };
        socket.text(true);
        socket.auto_fragment(false);
        socket.read_message_max(target.settings.maximumMessageBytes);
        socket.control_callback([this](websocket::frame_type kind, beast::string_view) {
            lastWhole = Clock::now();
            if (kind == websocket::frame_type::close) OnCloseFrame();
        });
        After(target.settings.pingInterval, &BeastTransport::CheckLiveness);
        Tell([&](WebSocketListener& hearer) { hearer.OnOpened(generation); });
        Read();
    }

    // Receiving

    void Read() {
        socket.async_read(incoming, [self = shared_from_this()](const error_code& error, std::size_t) {
            if (error) {
                self->OnReadError(error);
                return;
            }
            self->OnRead();
            self->Read();
        });
    }

    void OnRead() {
        unfinishedSince.reset();
        lastWhole = Clock::now();
        if (phase == Phase::Open && socket.got_text()) TakeText();
        incoming.consume(incoming.size());
    }

    void TakeText() {
        const auto* text = static_cast<const char*>(incoming.cdata().data());
        if (EndsInsideALetter({text, incoming.size()})) return FailTheConnection();
        *static_cast<char*>(incoming.prepare(1).data()) = '\0';
        text = static_cast<const char*>(incoming.cdata().data());  // it may have moved
        Tell([&](WebSocketListener& hearer) { hearer.OnMessage(generation, text); });
    }

    // Beast lets a message pass whose last letter is cut short before an empty last fragment.
    void FailTheConnection() {
        phase = Phase::Farewell;
        sealed = true;
        socket.next_layer().Seal(CloseFrame(kInvalidPayload));
        After(target.settings.closingLimit, &BeastTransport::Finish);
        Tell([&](WebSocketListener& hearer) { hearer.OnEnded(generation, Error::Protocol); });
    }

    void OnReadError(const error_code& error) {
        if (phase == Phase::Open) {
            End(ReadError(error));
        } else {
            Finish();
        }
    }

    void OnCloseFrame() {
        if (phase != Phase::Open && phase != Phase::Farewell) return;
        const bool untold = phase == Phase::Open;
        phase = Phase::PeerClosed;
        if (!untold) return;
        After(target.settings.closingLimit, &BeastTransport::Finish);
        Tell([&](WebSocketListener& hearer) { hearer.OnEnded(generation, std::nullopt); });
    }

    void CheckLiveness() {
        if (phase != Phase::Open) return;
        const Clock::duration silence = Clock::now() - lastReceived;
        if (silence >= target.settings.silenceLimit) {
            End(Error::Lost);
            return;
        }
        if (MessageIsOverdue()) {
            End(Error::Lost);
            return;
        }
        if (!pinging) SendPing();
        const Clock::duration rest = target.settings.silenceLimit - silence;
        After(std::min<Clock::duration>(rest, target.settings.pingInterval), &BeastTransport::CheckLiveness);
    }

    // Pongs between the pieces of a message do not help it, and empty pieces are nothing to Beast, which
    // counts only frames that carry something: then no whole frame comes at all.
    bool MessageIsOverdue() {
        const Clock::time_point now = Clock::now();
        if (socket.is_message_done()) {
            unfinishedSince.reset();
        } else if (!unfinishedSince) {
            unfinishedSince = now;
        }
        const Clock::time_point since = std::min(unfinishedSince.value_or(now), lastWhole);
        return lastReceived > since && now - since >= target.settings.messageLimit;
    }

    // Sending

    void Flush() {
        if (phase == Phase::Open && queue.HasOverflown()) {
            End(Error::Lost);
            return;
        }
        if (writing || (phase != Phase::Open && phase != Phase::Farewell)) return;
        const std::string* text = queue.Front();
        if (text == nullptr) {
            SealWhenIdle();
            return;
        }
        writing = true;
        socket.async_write(boost::asio::buffer(*text),
                           [self = shared_from_this()](const error_code& error, std::size_t) {
                               self->writing = false;
                               self->queue.PopFront();
                               self->OnSent(error);
                               self->Flush();
                           });
    }

    void SendPing() {
        if (phase != Phase::Open) return;
        if (pinging) {
            pingsWanted = std::min(pingsWanted + 1, kMostPingsWanted);
            return;
        }
        pinging = true;
        socket.async_ping({}, [self = shared_from_this()](const error_code& error) {
            self->pinging = false;
            self->OnSent(error);
            if (self->pingsWanted > 0) {
                --self->pingsWanted;
                self->SendPing();
            }
            self->SealWhenIdle();
        });
    }

    void OnSent(const error_code& error) {
        if (!error) return;
        if (phase == Phase::Open) End(Error::Lost);
        if (phase == Phase::Farewell) Finish();
    }

    // Ending

    void End(Error error) {
        Finish();
        Tell([&](WebSocketListener& hearer) { hearer.OnEnded(generation, error); });
    }

    void SayGoodbye() {
        if (phase == Phase::Connecting) Finish();
        if (phase != Phase::Open) return;
        phase = Phase::Farewell;
        After(target.settings.closingLimit, &BeastTransport::Finish);
        Flush();
    }

    // The goodbye is not left to Beast: its closing operation and a protocol error in its reading
    // operation can wait for each other.
    void SealWhenIdle() {
        if (phase != Phase::Farewell || sealed || writing || pinging || queue.Front() != nullptr) return;
        sealed = true;
        socket.next_layer().Seal(CloseFrame(kNormalClosure));
    }

    void Finish() {
        phase = Phase::Done;
        ++timerNumber;
        timer.cancel();
        bytes->Close();
    }

    const Target target;
    const std::weak_ptr<WebSocketListener> listener;
    const std::uint64_t generation;
    const std::shared_ptr<ByteStream> bytes;
    websocket::stream<Wire, false> socket;
    boost::asio::steady_timer timer{NetworkContext()};
    std::uint64_t timerNumber = 0;
    Phase phase = Phase::Connecting;
    std::string answer;
    beast::flat_buffer incoming;
    Clock::time_point lastReceived;
    Clock::time_point lastWhole;                       // message or control frame
    std::optional<Clock::time_point> unfinishedSince;  // the message under way
    support::SendQueue queue;
    bool writing = false;
    bool pinging = false;
    bool sealed = false;
    int pingsWanted = 0;
};

}  // namespace

std::shared_ptr<WebSocketTransport> WebSocketTransport::Make(Target target,
                                                             std::weak_ptr<WebSocketListener> listener,
                                                             std::uint64_t generation) {
    return std::make_shared<BeastTransport>(std::move(target), std::move(listener), generation);
}

}  // namespace host_runtime
