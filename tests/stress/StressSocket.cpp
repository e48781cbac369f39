#include "tests/stress/StressSocket.h"

#include "tests/stress/PhoneNetwork.h"

namespace stress {

void StressSocket::open(const char* url, double) {
    std::uint64_t connection = 0;
    {
        const support::MutexLock lock(mutex);
        if (state != State::Closed) return;
        state = State::Connecting;
        connection = ++current;
    }
    network.Dial(weak_from_this(), connection, url);
}

void StressSocket::send(const char* text) {
    std::uint64_t connection = 0;
    {
        const support::MutexLock lock(mutex);
        if (state != State::Open) return;
        connection = current;
    }
    network.Transmit(weak_from_this(), connection, text);
}

void StressSocket::close() {
    const support::MutexLock lock(mutex);
    state = State::Closed;
    ++current;
}

void StressSocket::keepAlive(std::int32_t, std::int32_t, std::int32_t) {
    network.Counts().Add(Action::KeptAlive);
}

bool StressSocket::IsCurrent(std::uint64_t connection) const {
    const support::MutexLock lock(mutex);
    return connection == current;
}

bool StressSocket::BecomeOpen(std::uint64_t connection) {
    {
        const support::MutexLock lock(mutex);
        if (connection != current) return false;
        state = State::Open;
    }
    onOpen(shared_from_this());
    return true;
}

bool StressSocket::Leave(std::uint64_t connection) {
    const support::MutexLock lock(mutex);
    if (connection != current) return false;
    state = State::Closed;
    ++current;
    return true;
}

void StressSocket::Fail(std::uint64_t connection, Error error) {
    if (Leave(connection)) onError(error);
}

void StressSocket::End(std::uint64_t connection, std::optional<Error> error) {
    if (Leave(connection)) onClose(error, !error.has_value());
}

void StressSocket::Deliver(std::uint64_t connection, const std::string& text) {
    if (IsCurrent(connection)) onMessage(text.c_str());
}

}  // namespace stress

std::shared_ptr<cWebSocket> cWebSocket::Factory() {
    return std::make_shared<stress::StressSocket>(stress::PhoneNetwork::Current());
}
