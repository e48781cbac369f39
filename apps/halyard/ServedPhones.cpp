#include "apps/halyard/ServedPhones.h"

#include <utility>

namespace halyard {
namespace {

using host_runtime::ServiceBrowser;
using host_runtime::ServiceDetails;
using host_runtime::ServiceKey;
using host_runtime::ServiceListener;

// No interface of the network has this number, so these never are one of its sightings.
constexpr int kNoInterface = -1;

ServiceKey KeyOf(const ServedPhone& phone) {
    return {kNoInterface, false, phone.name, phone.address};
}

}  // namespace

class ServedPhones::Handle final : public ServiceBrowser {
public:
    Handle(std::shared_ptr<ServedPhones> toOwn, std::unique_ptr<ServiceBrowser> toAskToo)
        : phones(std::move(toOwn)), network(std::move(toAskToo)) {}
    ~Handle() override { phones->listener.reset(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void Start(std::weak_ptr<ServiceListener> toTell) override {
        phones->listener = std::move(toTell);
        if (network) network->Start(phones);
    }

private:
    const std::shared_ptr<ServedPhones> phones;
    const std::unique_ptr<ServiceBrowser> network;
};

std::unique_ptr<ServiceBrowser> ServedPhones::Browser(std::unique_ptr<ServiceBrowser> network) {
    return std::make_unique<Handle>(shared_from_this(), std::move(network));
}

// The new one is told before the old one is withdrawn: a phone of another name has lost nothing.
void ServedPhones::Opened(const ServedPhone& phone) {
    const ServedPhone before = std::exchange(phones[phone.address], phone);
    Tell(phone);
    const auto told = listener.lock();
    if (told && !before.address.empty() && KeyOf(before) != KeyOf(phone)) told->ServiceGone(KeyOf(before));
}

void ServedPhones::Closed(const std::string& address) {
    const auto found = phones.find(address);
    if (found == phones.end()) return;
    const ServiceKey key = KeyOf(found->second);
    phones.erase(found);
    if (const auto told = listener.lock()) told->ServiceGone(key);
}

const ServedPhone* ServedPhones::At(const std::string& address) const {
    const auto found = phones.find(address);
    return found == phones.end() ? nullptr : &found->second;
}

// What was seen before counts no more, except for what does not come from the network.
void ServedPhones::BrowsingBegan() {
    const auto told = listener.lock();
    if (!told) return;
    told->BrowsingBegan();
    for (const auto& [address, phone] : phones)
        Tell(phone);
}

void ServedPhones::BrowsingFailed(const std::string& reason) {
    if (const auto told = listener.lock()) told->BrowsingFailed(reason);
}

void ServedPhones::ServiceSeen(const ServiceKey& key, const ServiceDetails& details) {
    if (const auto told = listener.lock()) told->ServiceSeen(key, details);
}

void ServedPhones::ServiceGone(const ServiceKey& key) {
    if (const auto told = listener.lock()) told->ServiceGone(key);
}

void ServedPhones::Tell(const ServedPhone& phone) const {
    if (const auto told = listener.lock())
        told->ServiceSeen(KeyOf(phone), {phone.identifier, {}, phone.address, phone.port});
}

}  // namespace halyard
