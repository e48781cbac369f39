// The browser on a machine without a message bus; what it does with one is tested in network namespaces.
#include "host_runtime/discovery/AvahiBrowser.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "host/core/zThread.h"
#include "host_runtime/core/MainThreadQueue.h"
#include "mdns/AvahiConnection.h"

namespace host_runtime {
namespace {

class Failures final : public ServiceListener {
public:
    void BrowsingBegan() override { ADD_FAILURE() << "there is no daemon"; }
    void ServiceSeen(const ServiceKey&, const ServiceDetails&) override { ADD_FAILURE(); }
    void ServiceGone(const ServiceKey&) override { ADD_FAILURE(); }
    void BrowsingFailed(const std::string& reason) override {
        EXPECT_FALSE(reason.empty());
        ++count;
        MainThreadQueue::Default().Quit();
    }

    int count = 0;
};

class AvahiBrowserTest : public testing::Test {
protected:
    AvahiBrowserTest() {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        MainThreadQueue::Default().Reopen();
    }
    ~AvahiBrowserTest() override {
        MainThreadQueue::Default().ShutDown();
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    // Until Quit(), at most so long.
    static void RunFor(std::int64_t microseconds) {
        const auto deadline = std::make_shared<zObject>();
        zThread::ExecuteOnMainThread(deadline, microseconds, {}, [] { MainThreadQueue::Default().Quit(); });
        MainThreadQueue::Default().Run();
    }
};

TEST_F(AvahiBrowserTest, SaysOnceThatThereIsNoDaemonHoweverOftenItTries) {
    const auto listener = std::make_shared<Failures>();
    const auto browser = MakeAvahiBrowser();
    browser->Start(listener);
    EXPECT_EQ(listener->count, 0) << "never inside Start";
    RunFor(20'000'000);
    ASSERT_EQ(listener->count, 1);
    RunFor(std::int64_t{2'500} * mdns::AvahiConnection::kRetryMs);
    EXPECT_EQ(listener->count, 1) << "it has tried twice more by now";
}

TEST_F(AvahiBrowserTest, MayEndAtAnyTime) {
    const auto listener = std::make_shared<Failures>();
    for (int count = 0; count < 20; ++count)
        MakeAvahiBrowser()->Start(listener);
    RunFor(1'000);
    EXPECT_EQ(listener->count, 0) << "what was posted ends with its browser";
}

TEST_F(AvahiBrowserTest, NeedsNoStart) {
    EXPECT_TRUE(MakeAvahiBrowser());
    EXPECT_EQ(mdns::AvahiConnection::Alive(), 0);
}

}  // namespace
}  // namespace host_runtime
