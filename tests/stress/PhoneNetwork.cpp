#include "tests/stress/PhoneNetwork.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <nlohmann/json.hpp>
#include <utility>

#include "tests/stress/FastClock.h"

namespace stress {
namespace {

std::atomic<PhoneNetwork*> currentNetwork{nullptr};

std::string AddressOf(const std::string& url) {
    const std::size_t begin = url.rfind("//") == std::string::npos ? 0 : url.rfind("//") + 2;
    return url.substr(begin, url.find_first_of(":/", begin) - begin);
}

bool IsCalm(const std::string& address) {
    const std::string last = address.substr(address.rfind('.') + 1);
    return std::atoi(last.c_str()) % 4 == 0;
}

nlohmann::json Message(const StressSocket& socket, const char* action) {
    return {{"action", action},
            {"peersIdentifier", "phone-" + socket.phone.address},
            {"sessionGuid", socket.phone.sessionGuid}};
}

std::string Described(const StressSocket& socket, const char* action, const char* type) {
    nlohmann::json message = Message(socket, action);
    message["sdp"] = "v=0\r\n";
    message["type"] = type;
    return message.dump();
}

std::string Candidate(const StressSocket& socket) {
    nlohmann::json message = Message(socket, "ice");
    message["sdp"] = "candidate:1 1 udp 1 127.0.0.1 9 typ host";
    message["sdpMid"] = "0";
    message["sdpMLineIndex"] = 0;
    return message.dump();
}

std::string JoinAnswer(const StressSocket& socket, const char* result) {
    nlohmann::json message = Message(socket, "joinMasterResponse");
    message["iceServers"] = nlohmann::json::array({{{"url", "stun:127.0.0.1:3478"}}});
    message["result"] = result;
    message["chatUrl"] = "";
    return message.dump();
}

}  // namespace

PhoneNetwork::PhoneNetwork(std::uint64_t seed, ActionCounts& actionCounts)
    : counts(actionCounts), dice(seed), thread([this] { Run(); }) {
    currentNetwork = this;
}

PhoneNetwork::~PhoneNetwork() {
    {
        const support::MutexLock lock(mutex);
        ending = true;
        changed.NotifyAll();
    }
    thread.join();
    currentNetwork = nullptr;
}

PhoneNetwork& PhoneNetwork::Current() {
    return *currentNetwork.load();
}

void PhoneNetwork::Run() {
    pthread_setname_np(pthread_self(), "network");
    while (true) {
        Event event;
        {
            const support::MutexLock lock(mutex);
            while (!ending && (events.empty() || events.top().dueUs > RealUs())) {
                if (events.empty()) {
                    changed.Wait(mutex);
                } else {
                    changed.WaitUntil(mutex, std::chrono::steady_clock::time_point(
                                                 std::chrono::microseconds(events.top().dueUs)));
                }
            }
            if (ending) return;
            event = events.top();
            events.pop();
        }
        const std::shared_ptr<StressSocket> socket = event.socket.lock();
        if (socket && socket->IsCurrent(event.connection)) event.step(*socket, event.connection);
    }
}

void PhoneNetwork::Post(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::int64_t delayUs,
                        Step step) {
    const support::MutexLock lock(mutex);
    events.push({RealUs() + delayUs, nextSequence++, std::move(socket), connection, std::move(step)});
    changed.NotifyAll();
}

void PhoneNetwork::Dial(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::string url) {
    if (connection > 1) counts.Add(Action::SocketOpenedAgain);
    Post(std::move(socket), connection, 500,
         [this, url = std::move(url)](StressSocket& dialled, std::uint64_t number) {
             Answer(dialled, number, url);
         });
}

void PhoneNetwork::Transmit(std::weak_ptr<StressSocket> socket, std::uint64_t connection, std::string text) {
    Post(std::move(socket), connection, 0,
         [this, text = std::move(text)](StressSocket& sender, std::uint64_t number) {
             Hear(sender, number, text);
         });
}

void PhoneNetwork::Answer(StressSocket& socket, std::uint64_t connection, const std::string& url) {
    socket.phone = {AddressOf(url), "", false};
    const bool calm = IsCalm(socket.phone.address);
    if (!calm && dice.OneIn(4)) {
        counts.Add(Action::SocketFailed);
        socket.Fail(connection, cWebSocket::Error::ConnectFailed);
    } else if (!calm && dice.OneIn(40)) {
        counts.Add(Action::SocketFailedForGood);
        socket.Fail(connection, cWebSocket::Error::Permanent);
    } else if (socket.BecomeOpen(connection)) {
        counts.Add(Action::SocketOpened);
        ScheduleMood(socket, connection);
    }
}

void PhoneNetwork::DeliverLater(StressSocket& socket, std::uint64_t connection, std::string text) {
    Post(socket.weak_from_this(), connection, dice.Below(2000),
         [text = std::move(text)](StressSocket& receiver, std::uint64_t number) {
             receiver.Deliver(number, text);
         });
}

void PhoneNetwork::Hear(StressSocket& socket, std::uint64_t connection, const std::string& text) {
    const nlohmann::json message = nlohmann::json::parse(text);
    const std::string action = message.at("action");
    if (action == "joinMaster") {
        socket.phone.sessionGuid = message.at("sessionGuid");
        DeliverLater(socket, connection, JoinAnswer(socket, "OK"));
        Join(socket, connection);
    } else if (action == "masterMadeOffer") {
        counts.Add(Action::OfferHeard);
        DeliverLater(socket, connection,
                     dice.OneIn(4) ? Described(socket, "createAnswer", "offer")
                                   : Described(socket, "gotAnswer", "answer"));
        DeliverLater(socket, connection, Candidate(socket));
    } else if (action == "createdAnswer") {
        counts.Add(Action::AnswerHeard);
    } else if (action == "ice") {
        counts.Add(Action::CandidateHeard);
    } else if (action == "broadcastToPeers") {
        counts.Add(Action::TallyHeard);
    }
}

void PhoneNetwork::Join(StressSocket& socket, std::uint64_t connection) {
    counts.Add(socket.phone.joined ? Action::PhoneJoinedAgain : Action::PhoneJoined);
    socket.phone.joined = true;
    nlohmann::json message = Message(socket, "peerJoined");
    message["username"] = "Phone";
    DeliverLater(socket, connection, message.dump());
}

void PhoneNetwork::ScheduleMood(StressSocket& socket, std::uint64_t connection) {
    Post(socket.weak_from_this(), connection, 2000 + dice.Below(20'000),
         [this](StressSocket& moody, std::uint64_t number) { HaveMood(moody, number); });
}

void PhoneNetwork::HaveMood(StressSocket& socket, std::uint64_t connection) {
    switch (dice.Below(16)) {
        case 0:
            Join(socket, connection);
            break;
        case 1:
            DeliverLater(socket, connection, Candidate(socket));
            break;
        case 2: {
            nlohmann::json chat = Message(socket, "gotChatMessages");
            chat["messages"] = nlohmann::json::array({"hello"});
            DeliverLater(socket, connection, chat.dump());
            break;
        }
        case 3:
            DeliverLater(socket, connection, Described(socket, "createAnswer", "offer"));
            break;
        case 4:
            counts.Add(Action::PhoneLeft);
            DeliverLater(socket, connection, Message(socket, "peerDisconnected").dump());
            break;
        default:
            if (!IsCalm(socket.phone.address)) HaveBadMood(socket, connection);
            break;
    }
    ScheduleMood(socket, connection);
}

void PhoneNetwork::HaveBadMood(StressSocket& socket, std::uint64_t connection) {
    static constexpr std::array kNonsense = {"",
                                             "{",
                                             "[]",
                                             "null",
                                             "\xff",
                                             "{\"action\":7}",
                                             "{\"action\":\"ice\"}",
                                             "{\"action\":\"joinMasterResponse\"}"};
    switch (dice.Below(24)) {
        case 0:
            counts.Add(Action::SocketClosedByPhone);
            socket.End(connection, std::nullopt);
            break;
        case 1:
            counts.Add(Action::SocketLost);
            socket.End(connection, cWebSocket::Error::Lost);
            break;
        case 2:  // an established socket that reports an error is reopened, not restarted
            counts.Add(Action::SocketFailed);
            socket.Fail(connection, cWebSocket::Error::Protocol);
            break;
        case 3:
            counts.Add(Action::PhoneRefusedJoin);
            DeliverLater(socket, connection, JoinAnswer(socket, "refused"));
            break;
        case 4:
        case 5:
            counts.Add(Action::NonsenseSent);
            DeliverLater(socket, connection, dice.OneOf(kNonsense));
            break;
        default:
            break;
    }
}

}  // namespace stress
