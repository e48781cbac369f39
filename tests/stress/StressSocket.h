// A WebSocket client whose far end is a phone of PhoneNetwork. As the real one: handlers are called on the
// network thread, in order, never inside a call to the socket, and no longer once it was closed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/network/cWebSocket.h"
#include "support/annotated_mutex.h"
#include "support/object_count.h"

namespace stress {

class PhoneNetwork;

class StressSocket : public cWebSocket,
                     public std::enable_shared_from_this<StressSocket>,
                     private support::Counted<StressSocket> {
public:
    using support::Counted<StressSocket>::Alive;

    explicit StressSocket(PhoneNetwork& ownNetwork) : network(ownNetwork) {}

    void open(const char* url, double connectTimeoutSeconds) override;
    void send(const char* text) override;
    void close() override;
    void keepAlive(std::int32_t, std::int32_t, std::int32_t) override;

    // The network's side, on its thread. Each connection of the socket has a number; what belongs to an older
    // one does nothing.
    bool IsCurrent(std::uint64_t connection) const;
    bool BecomeOpen(std::uint64_t connection);
    void Fail(std::uint64_t connection, Error error);
    void End(std::uint64_t connection, std::optional<Error> error);
    void Deliver(std::uint64_t connection, const std::string& text);

    // What the phone knows of this connection; touched by the network thread only.
    struct Phone {
        std::string address;
        std::string sessionGuid;
        bool joined = false;
    };
    Phone phone;

private:
    enum class State : std::uint8_t { Closed, Connecting, Open };

    bool Leave(std::uint64_t connection);

    PhoneNetwork& network;
    mutable support::Mutex mutex;
    State state GUARDED_BY(mutex) = State::Closed;
    std::uint64_t current GUARDED_BY(mutex) = 0;
};

}  // namespace stress
