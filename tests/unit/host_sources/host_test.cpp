#include "host_runtime/sources/Host.h"

#include <gtest/gtest.h>

#include "host/media/nxBuffer2.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "tests/fakes/VirtualTime.h"
#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace host_runtime {
namespace {

class CountingConsumer final : public PullConsumer {
public:
    void OnPicture(const PulledPicture& picture) override { pictures += picture.isNew ? 1 : 0; }
    void OnSound(const PulledSound&) override { ++sounds; }
    int pictures = 0;
    int sounds = 0;
};

TEST(Host, LoadsThePluginAndPullsItsSources) {
    fakes::VirtualTime time;
    const tests::TemporaryDirectory state;
    std::string error;
    const auto consumer = std::make_shared<CountingConsumer>();
    {
        const auto host = Host::Make({FAKE_PLUGIN, state.Path(), {}}, error);
        ASSERT_TRUE(host) << error;
        const auto source = host->Sources().Add("320x180");
        ASSERT_TRUE(source);
        host->Puller().Add(source, consumer);
        host->Puller().PullPictures(0);
        host->Puller().PullSound(0);
        EXPECT_EQ(consumer->pictures, 1);
        EXPECT_EQ(consumer->sounds, 1);
    }
    const auto again = Host::Make({FAKE_PLUGIN, state.Path(), {}}, error);
    ASSERT_TRUE(again) << error;
    again->Sources().RestoreAll();
    EXPECT_EQ(again->Sources().Sources().size(), 1U);
}

TEST(Host, StoresNothingWithoutAStateDirectory) {
    fakes::VirtualTime time;
    std::string error;
    const auto host = Host::Make({FAKE_PLUGIN, {}, {}}, error);
    ASSERT_TRUE(host) << error;
    ASSERT_TRUE(host->Sources().Add("320x180"));
    EXPECT_TRUE(host->Store().Sources().empty());
}

TEST(Host, ASecondOneInTheProcessTakesJobsAgain) {
    fakes::VirtualTime time;
    std::string error;
    ASSERT_TRUE(Host::Make({FAKE_PLUGIN, {}, {}}, error)) << "and ends at once";
    const auto host = Host::Make({FAKE_PLUGIN, {}, {}}, error);
    ASSERT_TRUE(host) << error;
    EXPECT_GT(host_runtime::MainThreadQueue::Default().PendingCount(), 0U) << "the revival timer runs";
}

class ScriptedBrowser final : public ServiceBrowser {
public:
    explicit ScriptedBrowser(std::weak_ptr<ServiceListener>& started) : listener(started) {}
    void Start(std::weak_ptr<ServiceListener> toTell) override { listener = std::move(toTell); }

private:
    std::weak_ptr<ServiceListener>& listener;
};

TEST(Host, OffersThePhonesThatItsBrowserFinds) {
    fakes::VirtualTime time;
    std::string error;
    std::weak_ptr<ServiceListener> listener;
    {
        const auto host = Host::Make({FAKE_PLUGIN, {}, {}}, error);
        ASSERT_TRUE(host) << error;
        host->Discover(std::make_unique<ScriptedBrowser>(listener));
        const auto told = listener.lock();
        ASSERT_TRUE(told);
        told->BrowsingBegan();
        told->ServiceSeen({2, false, "Studio", "local"}, {"PHONE", "phone.local", "10.0.0.5", 9001});
        told->ServiceSeen({2, true, "Studio", "local"}, {"PHONE", "phone.local", "", 9001});
        time.RunDue();
        EXPECT_EQ(host->Sources().Phones(),
                  (std::vector<DiscoveredPhone>{{"PHONE", "10.0.0.5", "9001", "Studio"}}));
        told->ServiceGone({2, false, "Studio", "local"});
        told->ServiceGone({2, true, "Studio", "local"});
        time.AdvanceBy(SourceList::kLostGraceUs - 1);
        EXPECT_EQ(host->Sources().Phones().size(), 1U);
        time.AdvanceBy(1);
        EXPECT_TRUE(host->Sources().Phones().empty());
    }
    EXPECT_TRUE(listener.expired());
}

TEST(Host, SaysWhyItCannotStart) {
    fakes::VirtualTime time;
    const tests::TemporaryDirectory state;
    tests::WriteText(state / "file", "");
    std::string error;
    EXPECT_FALSE(Host::Make({NO_PLUGIN, state.Path(), {}}, error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(Host::Make({FAILING_PLUGIN, state.Path(), {}}, error));
    EXPECT_NE(error.find("did not start"), std::string::npos) << error;
    EXPECT_FALSE(Host::Make({FAKE_PLUGIN, state / "file", {}}, error));
    EXPECT_NE(error.find("state directory"), std::string::npos) << error;
}

TEST(Host, EndsWhileItsThreadsPull) {
    fakes::VirtualTime time;
    std::string error;
    for (int round = 0; round < 5; ++round) {
        const auto host = Host::Make({FAKE_PLUGIN, {}, {240, 1}}, error);
        ASSERT_TRUE(host) << error;
        for (const char* address : {"320x180", "silent", "black"})
            host->Puller().Add(host->Sources().Add(address), std::make_shared<CountingConsumer>());
        host->Puller().Start();
    }
}

}  // namespace
}  // namespace host_runtime
