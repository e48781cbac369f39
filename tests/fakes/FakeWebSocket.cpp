#include "tests/fakes/FakeWebSocket.h"

namespace fakes {
namespace {

struct Registry {
    support::Mutex mutex;
    std::vector<std::weak_ptr<FakeWebSocket>> sockets GUARDED_BY(mutex);
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

std::vector<std::shared_ptr<FakeWebSocket>> FakeWebSocket::Made() {
    Registry& registry = TheRegistry();
    const support::MutexLock lock(registry.mutex);
    std::vector<std::shared_ptr<FakeWebSocket>> alive;
    alive.reserve(registry.sockets.size());
    for (const auto& socket : registry.sockets)
        alive.push_back(socket.lock());
    return alive;
}

std::shared_ptr<FakeWebSocket> FakeWebSocket::Latest() {
    const auto sockets = Made();
    return sockets.empty() ? nullptr : sockets.back();
}

std::size_t FakeWebSocket::MadeCount() {
    return Made().size();
}

void FakeWebSocket::Forget() {
    Registry& registry = TheRegistry();
    const support::MutexLock lock(registry.mutex);
    registry.sockets.clear();
}

void FakeWebSocket::open(const char* url, double connectTimeoutSeconds) {
    const bool hasAllHandlers = onError && onOpen && onClose && onMessage;
    const support::MutexLock lock(mutex);
    openings.push_back({url, connectTimeoutSeconds, hasAllHandlers});
}

void FakeWebSocket::send(const char* text) {
    if (whenSending) whenSending();
    const support::MutexLock lock(mutex);
    sent.emplace_back(text);
}

void FakeWebSocket::close() {
    const support::MutexLock lock(mutex);
    ++closeCount;
}

void FakeWebSocket::keepAlive(std::int32_t first, std::int32_t second, std::int32_t third) {
    const support::MutexLock lock(mutex);
    if (first == 0 && second == 0 && third == 0) ++keepAliveCount;
}

void FakeWebSocket::BecomeOpen() {
    if (onOpen) onOpen(shared_from_this());
}

void FakeWebSocket::Fail(Error error) {
    if (onError) onError(error);
}

void FakeWebSocket::Deliver(const std::string& text) {
    if (onMessage) onMessage(text.c_str());
}

void FakeWebSocket::EndCleanly() {
    if (onClose) onClose(std::nullopt, true);
}

void FakeWebSocket::Lose(Error error) {
    if (onClose) onClose(error, false);
}

std::vector<FakeWebSocket::Opening> FakeWebSocket::Openings() const {
    const support::MutexLock lock(mutex);
    return openings;
}

std::vector<std::string> FakeWebSocket::Sent() const {
    const support::MutexLock lock(mutex);
    return sent;
}

std::vector<std::string> FakeWebSocket::TakeSent() {
    const support::MutexLock lock(mutex);
    std::vector<std::string> fresh(sent.begin() + static_cast<std::ptrdiff_t>(taken), sent.end());
    taken = sent.size();
    return fresh;
}

int FakeWebSocket::CloseCount() const {
    const support::MutexLock lock(mutex);
    return closeCount;
}

int FakeWebSocket::KeepAliveCount() const {
    const support::MutexLock lock(mutex);
    return keepAliveCount;
}

}  // namespace fakes

std::shared_ptr<cWebSocket> cWebSocket::Factory() {
    auto socket = std::make_shared<fakes::FakeWebSocket>();
    fakes::Registry& registry = fakes::TheRegistry();
    const support::MutexLock lock(registry.mutex);
    registry.sockets.push_back(socket);
    return socket;
}
