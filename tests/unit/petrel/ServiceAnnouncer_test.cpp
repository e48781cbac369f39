// The announcer on a machine without a message bus; what it announces is tested in network namespaces.
#include "apps/petrel/ServiceAnnouncer.h"

#include <gtest/gtest.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <cstdlib>

#include "support/annotated_mutex.h"

namespace {

// Counts the lines of the log.
class LineCount final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
    bool WaitFor(int lines, std::chrono::milliseconds limit) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        const support::MutexLock lock(mutex);
        while (count < lines) {
            if (!changed.WaitUntil(mutex, deadline)) return false;
        }
        return true;
    }

protected:
    void sink_it_(const spdlog::details::log_msg&) override {
        const support::MutexLock lock(mutex);
        ++count;
        changed.NotifyAll();
    }
    void flush_() override {}

private:
    support::Mutex mutex;
    support::Condition changed;
    int count GUARDED_BY(mutex) = 0;
};

class ServiceAnnouncerTest : public testing::Test {
protected:
    ServiceAnnouncerTest() {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        spdlog::set_default_logger(std::make_shared<spdlog::logger>("petrel", lines));
    }
    ~ServiceAnnouncerTest() override {
        spdlog::set_default_logger(before);
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    const std::shared_ptr<spdlog::logger> before = spdlog::default_logger();
    const std::shared_ptr<LineCount> lines = std::make_shared<LineCount>();
};

TEST_F(ServiceAnnouncerTest, SaysOnceThatThereIsNoDaemonHoweverOftenItTries) {
    const petrel::ServiceAnnouncer announcer({{"Studio", "192.168.1.20", 9001, "PHONE"}});
    EXPECT_TRUE(lines->WaitFor(1, std::chrono::seconds(20)));
    EXPECT_FALSE(lines->WaitFor(2, std::chrono::milliseconds(5 * mdns::AvahiConnection::kRetryMs / 2)));
}

TEST_F(ServiceAnnouncerTest, TakesPhonesThatComeAndGoWithoutADaemonToo) {
    petrel::ServiceAnnouncer announcer({});
    announcer.Add({"Studio", "192.168.1.20", 9001, "PHONE"});
    announcer.Add({"Studio renamed", "192.168.1.20", 9001, "PHONE"});
    announcer.Remove("192.168.1.20");
    announcer.Remove("192.168.1.21");
    announcer.Add({"Pocket", "192.168.1.21", 9001, "OTHER"});
    EXPECT_TRUE(lines->WaitFor(1, std::chrono::seconds(20)));
}

TEST_F(ServiceAnnouncerTest, MayEndAtAnyTime) {
    for (int count = 0; count < 20; ++count)
        petrel::ServiceAnnouncer({{"Studio", "192.168.1.20", 9001, "PHONE"}});
    EXPECT_EQ(mdns::AvahiConnection::Alive(), 0);
}

}  // namespace
