// The order in which the factory goes through its sources, and in which it comes and goes itself.
#include <stdexcept>

#include "plugin/initialize_sources_plugin.h"
#include "session/nxWebRtcSession.h"
#include "tests/unit/plugin/FactoryTest.h"

namespace {

using fakes::FakeWebSocket;
using testing::ElementsAre;

// Tells of its end.
class Witness final : public zObject {
public:
    explicit Witness(std::function<void()> tell) : atEnd(std::move(tell)) {}
    ~Witness() override { atEnd(); }

private:
    const std::function<void()> atEnd;
};

class FactoryOrder : public tests::FactoryTest {
protected:
    // Where the newest sockets lead, oldest first.
    static std::vector<std::string> NewestUrls(std::size_t count) {
        const auto made = FakeWebSocket::Made();
        std::vector<std::string> urls;
        for (std::size_t index = made.size() - count; index < made.size(); ++index)
            urls.push_back(made[index]->Openings().at(0).url);
        return urls;
    }
    static std::string Url(int host) { return "ws://127.0.0." + std::to_string(host) + ":9001/"; }
    void ActivateAt(const std::string& identifier, int host) {
        Activate(identifier, "127.0.0." + std::to_string(host));
    }
};

TEST_F(FactoryOrder, OfTheSweepIsThatOfTheSources) {
    ActivateAt("b", 4);
    ActivateAt("c", 2);
    ActivateAt("a", 3);
    time.AdvanceBy(6 * kSecondUs);
    ASSERT_EQ(FakeWebSocket::MadeCount(), 6U);
    EXPECT_THAT(NewestUrls(3), ElementsAre(Url(4), Url(2), Url(3)));
}

TEST_F(FactoryOrder, OfTheOtherSourcesStaysWhenAPhoneIsLost) {
    ActivateAt("first", 2);
    zRecord settings = DiscoveredSettings("phone", "127.0.0.9");
    factory->ActivateSource("phone", settings);
    ActivateAt("second", 3);
    ActivateAt("third", 4);
    zRecord lost = Discovery("phone");
    factory->PeerLost(lost);
    time.AdvanceBy(6 * kSecondUs);
    ASSERT_EQ(FakeWebSocket::MadeCount(), 7U);
    EXPECT_THAT(NewestUrls(3), ElementsAre(Url(2), Url(3), Url(4)));
}

TEST_F(FactoryOrder, OfTheTallyIsThatOfTheSources) {
    std::vector<std::string> told;
    for (const std::string name : {"b", "c", "a"}) {
        const auto socket = ActivateAndOpen(name, "127.0.0." + std::to_string(name[0]));
        Join(socket, "phone of " + name, name);
        Renderer(name, "vido");
        socket->whenSending = [&told, name] { told.push_back(name); };
    }
    factory->SetTallyValue(1);
    EXPECT_THAT(told, ElementsAre("b", "c", "a"));
}

TEST_F(FactoryOrder, OfTheSweepLeavesOutASourceThatEndedMeanwhile) {
    const auto first = ActivateAndOpen("first", "127.0.0.2");
    Join(first, "phone", "first");
    ActivateAt("second", 3);
    // The first source gives up, so the sweep stops it and the host hears of a withdrawal.
    for (int error = 0; error < 10; ++error)
        first->Fail(cWebSocket::Error::ConnectFailed);
    time.RunDue();
    registry.onWithdraw = [this] {
        registry.onWithdraw = nullptr;
        zRecord named = DiscoveredSettings("other phone", "127.0.0.3");
        factory->ActivateSource("second", named);
        zRecord lost = Discovery("other phone");
        factory->PeerLost(lost);
    };
    time.AdvanceBy(6 * kSecondUs);
    EXPECT_EQ(registry.onWithdraw, nullptr);
    ASSERT_EQ(FakeWebSocket::MadeCount(), 3U);
    EXPECT_THAT(NewestUrls(1), ElementsAre(Url(2)));
}

TEST_F(FactoryOrder, OfTheEndIsRegistryTokenListenersSessions) {
    Activate("source");
    const std::weak_ptr<zObject> token = factory->LifetimeToken();
    std::vector<std::string> ended;
    const auto witness = [&](const char* name) {
        return std::make_shared<Witness>([&, name] {
            ended.emplace_back(name);
            EXPECT_TRUE(token.expired()) << name;
            EXPECT_EQ(nxWebRtcSession::Alive(), 1) << name;
        });
    };
    factory->AddChangeListener(witness("first set"), [] {});
    factory->AddWithdrawListener(witness("second set"), [](const char*) {});
    factory->AddJoinListener(witness("third set"), [](const char*, const char*, const char*) {});
    registry.onRelease = [&] {
        ended.emplace_back("registry");
        EXPECT_FALSE(token.expired());
    };
    EndFactory();
    EXPECT_THAT(ended, ElementsAre("registry", "third set", "second set", "first set"));
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
}

TEST_F(FactoryOrder, OfTheStartHasTheRegistryLastAndUndoesItAllOnAnError) {
    registry.onAddRef = [] {
        EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 2);
        throw std::runtime_error("no reference to be had");
    };
    EXPECT_THROW(initialize_sources_plugin(&registry), std::runtime_error);
    EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 1);
    EXPECT_EQ(registry.references, 2);  // the test's own and that of the factory that stands
    EXPECT_EQ(registry.releases, 0);
}

// A session outlives the factory for the length of the job in which it was told of its message.
TEST_F(FactoryOrder, OfTheEndMayBeginInsideAListener) {
    const auto owner = std::make_shared<zObject>();
    factory->AddWithdrawListener(owner, [this](const char*) { EndFactory(); });
    const auto socket = ActivateAndOpen("source");
    Join(socket, "phone", "source");
    Deliver(socket, R"({"action":"peerDisconnected","peersIdentifier":"phone"})");
    EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 0);
    EXPECT_EQ(nxWebRtcSession::Alive(), 0);
    EXPECT_EQ(owner.use_count(), 1);
    EXPECT_EQ(registry.withdrawn.size(), 1U);
    EXPECT_EQ(socket->CloseCount(), 1);
}

TEST_F(FactoryOrder, EveryBaseEndsTheWholeFactory) {
    const zObject* const base = static_cast<nxRendererFactory2*>(factory);
    delete base;
    factory = nullptr;
    EXPECT_EQ(nxKestrelRenderersFactory::Alive(), 0);
    EXPECT_EQ(registry.references, 1);
}

}  // namespace
