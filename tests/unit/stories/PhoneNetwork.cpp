#include "tests/unit/stories/PhoneNetwork.h"

#include <cmath>
#include <utility>

#include "tests/unit/stories/Phone.h"

namespace stories {
namespace {

PhoneNetwork* current = nullptr;

std::string HostOf(const std::string& url) {
    const std::size_t begin = url.find("//") + 2;
    return url.substr(begin, url.find(':', begin) - begin);
}

}  // namespace

PhoneNetwork::PhoneNetwork(std::function<std::int64_t()> nowUs, std::function<void(const std::string&)> tell)
    : now(std::move(nowUs)), tellLine(std::move(tell)) {
    current = this;
}

PhoneNetwork::~PhoneNetwork() {
    current = nullptr;
}

PhoneNetwork* PhoneNetwork::Current() {
    return current;
}

Phone& PhoneNetwork::AddPhone(const std::string& host, const std::string& identifier) {
    return *phones.insert_or_assign(host, std::make_unique<Phone>(*this, identifier)).first->second;
}

Phone* PhoneNetwork::PhoneAt(const std::string& host) {
    const auto found = phones.find(host);
    return found != phones.end() ? found->second.get() : nullptr;
}

std::vector<Phone*> PhoneNetwork::Phones() {
    std::vector<Phone*> all;
    for (const auto& [host, phone] : phones)
        all.push_back(phone.get());
    return all;
}

void PhoneNetwork::After(std::int64_t delayUs, std::function<void()> event) {
    events.emplace(now() + delayUs, std::move(event));
}

std::optional<std::int64_t> PhoneNetwork::NextDueUs() const {
    if (events.empty()) return std::nullopt;
    return events.begin()->first;
}

void PhoneNetwork::RunDue() {
    while (!events.empty() && events.begin()->first <= now()) {
        const auto event = std::move(events.begin()->second);
        events.erase(events.begin());
        event();
    }
}

std::shared_ptr<NetworkSocket> PhoneNetwork::MakeSocket() {
    return std::make_shared<NetworkSocket>(*this, ++socketsMade);
}

NetworkSocket::NetworkSocket(PhoneNetwork& itsNetwork, int number)
    : network(&itsNetwork), name("socket " + std::to_string(number)) {
    Tell("made");
}

NetworkSocket::~NetworkSocket() {
    if (PhoneNetwork::Current() != network) return;
    LeavePhone();
    Tell("gone");
}

void NetworkSocket::LeavePhone() {
    if (state == State::Open) network->PhoneAt(host)->ClientLeft();
}

void NetworkSocket::Tell(const std::string& what) {
    network->Tell(name + " " + what);
}

void NetworkSocket::open(const char* url, double connectTimeoutSeconds) {
    if (state != State::Idle) {
        Tell("is asked to open although it is busy");
        return;
    }
    Tell("opens " + std::string(url) + " for " + std::to_string(std::lround(connectTimeoutSeconds)) + " s");
    state = State::Connecting;
    ++attempt;
    host = HostOf(url);
    const auto timeoutUs = static_cast<std::int64_t>(connectTimeoutSeconds * 1e6);
    const auto self = weak_from_this();
    Phone* const phone = network->PhoneAt(host);
    if (phone != nullptr) {
        phone->Connect(self, attempt, timeoutUs);
        return;
    }
    network->After(timeoutUs, [self, number = attempt] {
        if (const auto socket = self.lock()) socket->NotEstablished(number, Error::ConnectFailed);
    });
}

void NetworkSocket::send(const char* text) {
    if (state != State::Open) {
        Tell(std::string("drops ") + text);
        return;
    }
    Tell(std::string("sends ") + text);
    Phone* const phone = network->PhoneAt(host);
    network->After(PhoneNetwork::kRoundTripUs / 2,
                   [phone, message = std::string(text), self = weak_from_this(), number = attempt] {
                       phone->Hear(self, number, message);
                   });
}

void NetworkSocket::close() {
    Tell("closed");
    LeavePhone();
    state = State::Idle;
    ++attempt;
}

void NetworkSocket::keepAlive(std::int32_t, std::int32_t, std::int32_t) {
    network->CountKeepAlive();
}

void NetworkSocket::Established(int ofAttempt) {
    if (state != State::Connecting || attempt != ofAttempt) return;
    state = State::Open;
    onOpen(shared_from_this());
}

void NetworkSocket::NotEstablished(int ofAttempt, Error error) {
    if (state != State::Connecting || attempt != ofAttempt) return;
    state = State::Idle;
    onError(error);
}

void NetworkSocket::Deliver(int ofAttempt, const std::string& text) {
    if (IsOpen(ofAttempt)) onMessage(text.c_str());
}

void NetworkSocket::Ended(int ofAttempt, std::optional<Error> error) {
    if (!IsOpen(ofAttempt)) return;
    state = State::Idle;
    onClose(error, !error.has_value());
}

void NetworkSocket::ReportError(Error error) {
    state = State::Idle;
    onError(error);
}

}  // namespace stories

std::shared_ptr<cWebSocket> cWebSocket::Factory() {
    return stories::PhoneNetwork::Current()->MakeSocket();
}
