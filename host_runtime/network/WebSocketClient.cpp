#include "host_runtime/network/WebSocketClient.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "host/core/zTraceManager.h"
#include "host_runtime/network/NetworkThread.h"

namespace host_runtime {
namespace {

// The network thread outlives whatever a handler throws.
template <class Handler, class... Arguments>
void Call(const Handler& handler, Arguments&&... arguments) {
    if (!handler) return;
    try {
        handler(std::forward<Arguments>(arguments)...);
    } catch (...) {
    }
}

}  // namespace

WebSocketClient::~WebSocketClient() {
    close();
}

void WebSocketClient::open(const char* url, double connectTimeoutSeconds) {
    const support::MutexLock lock(mutex);
    if (state != State::Closed) return;
    state = State::Connecting;
    ++generation;

    const auto parsed = ParseWebSocketUrl(url == nullptr ? "" : url);
    if (!parsed) {
        boost::asio::post(NetworkContext(), [weak = weak_from_this(), failed = generation] {
            if (const auto self = weak.lock())
                self->OnConnectFailed(failed, {Error::Permanent, "the URL cannot be used"});
        });
        return;
    }
    transport = WebSocketTransport::Make({*parsed, connectTimeoutSeconds, CurrentNetworkSettings()},
                                         weak_from_this(), generation);
    transport->Start();
}

void WebSocketClient::send(const char* text) {
    if (text == nullptr) return;
    const support::MutexLock lock(mutex);
    if (state == State::Open) transport->Send(text);
}

void WebSocketClient::close() {
    const support::MutexLock lock(mutex);
    state = State::Closed;
    ++generation;
    if (const auto closing = std::exchange(transport, nullptr)) closing->Close();
}

void WebSocketClient::keepAlive(std::int32_t, std::int32_t, std::int32_t) {
    const support::MutexLock lock(mutex);
    if (state == State::Open) transport->Ping();
}

bool WebSocketClient::Advance(std::uint64_t itsGeneration, State from, State to) {
    const support::MutexLock lock(mutex);
    if (generation != itsGeneration || state != from) return false;
    state = to;
    if (to == State::Closed) transport.reset();
    return true;
}

void WebSocketClient::OnConnectFailed(std::uint64_t failedGeneration, const ConnectFailure& failure) {
    if (!Advance(failedGeneration, State::Connecting, State::Closed)) return;
    if (!failure.reason.empty())
        zTraceManager::Default()->TraceMessage(FourCC("note"), "cWebSocket: %s\n", failure.reason.c_str());
    Call(onError, failure.error);
}

void WebSocketClient::OnOpened(std::uint64_t openedGeneration) {
    if (Advance(openedGeneration, State::Connecting, State::Open)) Call(onOpen, shared_from_this());
}

void WebSocketClient::OnMessage(std::uint64_t itsGeneration, const char* text) {
    if (Advance(itsGeneration, State::Open, State::Open)) Call(onMessage, text);
}

void WebSocketClient::OnEnded(std::uint64_t endedGeneration, std::optional<Error> error) {
    if (Advance(endedGeneration, State::Open, State::Closed)) Call(onClose, error, !error.has_value());
}

}  // namespace host_runtime

std::shared_ptr<cWebSocket> cWebSocket::Factory() {
    return std::make_shared<host_runtime::WebSocketClient>();
}
