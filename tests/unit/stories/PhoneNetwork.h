// The network of the stories: sockets that behave as the contract of cWebSocket says, on virtual time, with
// phones at the far end. cWebSocket::Factory() makes its sockets here.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/network/cWebSocket.h"
#include "support/object_count.h"

namespace stories {

class NetworkSocket;
class Phone;

class PhoneNetwork {
public:
    static constexpr std::int64_t kRoundTripUs = 10'000;
    static constexpr std::int64_t kRefusalUs = 1'000;   // a machine that is on, without the app
    static constexpr std::int64_t kConnectUs = 50'000;  // TCP and handshake
    // A far end that vanished is noticed by the liveness check of the socket.
    static constexpr std::int64_t kLivenessUs = 9'000'000;

    PhoneNetwork(std::function<std::int64_t()> nowUs, std::function<void(const std::string&)> tell);
    ~PhoneNetwork();
    PhoneNetwork(const PhoneNetwork&) = delete;
    PhoneNetwork& operator=(const PhoneNetwork&) = delete;
    static PhoneNetwork* Current();  // the one that lives; null when none does

    // A phone that is switched off.
    Phone& AddPhone(const std::string& host, const std::string& identifier);
    Phone* PhoneAt(const std::string& host);  // null: nobody answers there
    std::vector<Phone*> Phones();

    void After(std::int64_t delayUs, std::function<void()> event);
    std::optional<std::int64_t> NextDueUs() const;
    void RunDue();
    void Tell(const std::string& text) { tellLine(text); }

    std::shared_ptr<NetworkSocket> MakeSocket();
    // Pings sent by all sockets so far.
    int KeepAlives() const { return keepAlives; }
    void CountKeepAlive() { ++keepAlives; }

private:
    const std::function<std::int64_t()> now;
    const std::function<void(const std::string&)> tellLine;
    std::multimap<std::int64_t, std::function<void()>> events;
    std::map<std::string, std::unique_ptr<Phone>> phones;
    int socketsMade = 0;
    int keepAlives = 0;
};

class NetworkSocket final : public cWebSocket,
                            public std::enable_shared_from_this<NetworkSocket>,
                            private support::Counted<NetworkSocket> {
public:
    using support::Counted<NetworkSocket>::Alive;

    NetworkSocket(PhoneNetwork& network, int number);
    ~NetworkSocket() override;

    void open(const char* url, double connectTimeoutSeconds) override;
    void send(const char* text) override;
    void close() override;
    void keepAlive(std::int32_t first, std::int32_t second, std::int32_t third) override;

    // The network's side. An attempt or a connection that was given up meanwhile has another number and
    // reports nothing.
    int Attempt() const { return attempt; }
    bool IsOpen(int ofAttempt) const { return state == State::Open && attempt == ofAttempt; }
    void Established(int ofAttempt);
    void NotEstablished(int ofAttempt, Error error);
    void Deliver(int ofAttempt, const std::string& text);
    void Ended(int ofAttempt, std::optional<Error> error);
    // What no socket of the host reports: an error of an established connection.
    void ReportError(Error error);

private:
    enum class State { Idle, Connecting, Open };
    void Tell(const std::string& what);
    void LeavePhone();

    PhoneNetwork* const network;
    const std::string name;
    State state = State::Idle;
    int attempt = 0;
    std::string host;
};

}  // namespace stories
