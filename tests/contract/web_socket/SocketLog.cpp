#include "tests/contract/web_socket/SocketLog.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <future>
#include <utility>

#include "host_runtime/network/NetworkThread.h"
#include "host_runtime/network/WebSocketClient.h"

namespace tests {
namespace {

constexpr std::chrono::seconds kPatience{8};

std::string CodeText(cWebSocket::Error error) {
    return std::to_string(static_cast<std::int32_t>(error));
}

bool Ended(std::int64_t (*alive)()) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (alive() != 0) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        PassNetworkThread();
    }
    return true;
}

}  // namespace

std::shared_ptr<SocketLog> SocketLog::Of(cWebSocket& socket) {
    auto log = std::make_shared<SocketLog>();
    socket.onOpen = [log](const std::shared_ptr<cWebSocket>&) { log->Write("open"); };
    socket.onError = [log](cWebSocket::Error error) { log->Write("error " + CodeText(error)); };
    socket.onMessage = [log](const char* text) { log->Write(std::string("message ") + text); };
    socket.onClose = [log](std::optional<cWebSocket::Error> error, bool wasClean) {
        std::string line = "close";
        if (error) line.append(" ").append(CodeText(*error));
        if (wasClean) line.append(" clean");
        log->Write(std::move(line));
    };
    return log;
}

void PassNetworkThread() {
    std::promise<void> passed;
    boost::asio::post(host_runtime::NetworkContext(), [&passed] { passed.set_value(); });
    passed.get_future().wait();
}

bool AllTransportsGone() {
    return Ended(host_runtime::WebSocketTransport::Alive);
}

bool AllSocketsGone() {
    return Ended(host_runtime::WebSocketClient::Alive) && AllTransportsGone();
}

}  // namespace tests
