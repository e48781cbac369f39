#include "apps/halyard/ServedPhones.h"

#include <gmock/gmock.h>

#include "host_runtime/discovery/PhoneDirectory.h"

namespace halyard {
namespace {

using host_runtime::DiscoveredPhone;
using testing::ElementsAre;
using testing::IsEmpty;

const ServedPhone kAnna{"ANNA", "Anna", "127.0.1.1", 9001};

class Told final : public host_runtime::PhoneListener {
public:
    void PhoneDiscovered(const DiscoveredPhone& phone) override {
        events.push_back("+" + phone.peerIdentifier + " " + phone.host + ":" + phone.port + " " + phone.name);
    }
    void PhoneLost(const std::string& peerIdentifier) override { events.push_back("-" + peerIdentifier); }

    std::vector<std::string> Take() { return std::exchange(events, {}); }

private:
    std::vector<std::string> events;
};

// Says what a test wants, in place of the network.
class ScriptedBrowser final : public host_runtime::ServiceBrowser {
public:
    explicit ScriptedBrowser(std::weak_ptr<host_runtime::ServiceListener>& whereToTell)
        : listener(whereToTell) {}
    void Start(std::weak_ptr<host_runtime::ServiceListener> toTell) override { listener = toTell; }

private:
    std::weak_ptr<host_runtime::ServiceListener>& listener;
};

class ServedPhonesTest : public testing::Test {
protected:
    void Start(bool withNetwork) {
        browser = phones->Browser(withNetwork ? std::make_unique<ScriptedBrowser>(network) : nullptr);
        browser->Start(directory);
        if (withNetwork) network.lock()->BrowsingBegan();
    }
    static host_runtime::ServiceKey InNetwork(const char* name) { return {1, false, name, "local"}; }

    const std::shared_ptr<Told> told = std::make_shared<Told>();
    const std::shared_ptr<host_runtime::PhoneDirectory> directory =
        std::make_shared<host_runtime::PhoneDirectory>(told);
    const std::shared_ptr<ServedPhones> phones = std::make_shared<ServedPhones>();
    std::unique_ptr<host_runtime::ServiceBrowser> browser;
    std::weak_ptr<host_runtime::ServiceListener> network;
};

TEST_F(ServedPhonesTest, AreFoundWithoutAnythingInTheNetwork) {
    Start(false);
    phones->Opened(kAnna);
    EXPECT_THAT(told->Take(), ElementsAre("+ANNA 127.0.1.1:9001 Anna"));
    EXPECT_EQ(phones->At("127.0.1.1")->name, "Anna");
    phones->Closed("127.0.1.1");
    EXPECT_THAT(told->Take(), ElementsAre("-ANNA"));
    EXPECT_EQ(phones->At("127.0.1.1"), nullptr);
    phones->Closed("127.0.1.1");
    EXPECT_THAT(told->Take(), IsEmpty());
}

TEST_F(ServedPhonesTest, ANewNameIsNoLoss) {
    Start(false);
    phones->Opened(kAnna);
    told->Take();
    phones->Opened({"ANNA", "Anna's phone", "127.0.1.1", 9001});
    EXPECT_THAT(told->Take(), ElementsAre("+ANNA 127.0.1.1:9001 Anna's phone"));
}

TEST_F(ServedPhonesTest, APhoneThatTheNetworkTellsOfTooIsOne) {
    Start(true);
    phones->Opened(kAnna);
    told->Take();
    network.lock()->ServiceSeen(InNetwork("Anna"), {"ANNA", "studio.local", "127.0.1.1", 9001});
    network.lock()->ServiceGone(InNetwork("Anna"));
    EXPECT_THAT(told->Take(), IsEmpty()) << "its page is still open";
    network.lock()->ServiceSeen(InNetwork("Bob"), {"BOB", "bob.local", "192.0.2.7", 9001});
    EXPECT_THAT(told->Take(), ElementsAre("+BOB 192.0.2.7:9001 Bob"));
}

TEST_F(ServedPhonesTest, StayWhenTheNetworkIsBrowsedAnew) {
    Start(true);
    phones->Opened(kAnna);
    network.lock()->ServiceSeen(InNetwork("Bob"), {"BOB", "bob.local", "192.0.2.7", 9001});
    told->Take();
    network.lock()->BrowsingBegan();
    // Whoever is told of again within a time of grace was not lost.
    EXPECT_THAT(told->Take(), ElementsAre("-ANNA", "-BOB", "+ANNA 127.0.1.1:9001 Anna"));
}

TEST_F(ServedPhonesTest, TellNobodyOnceTheBrowserIsGone) {
    Start(false);
    browser.reset();
    phones->Opened(kAnna);
    EXPECT_THAT(told->Take(), IsEmpty());
}

}  // namespace
}  // namespace halyard
