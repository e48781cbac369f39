// While a phone streams, the plug-in, the wrapper and the host allocate nothing: not where a picture comes in
// and is converted, not where sound is played out, not where the host pulls.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <set>

#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"
#include "tests/e2e/host/ThreadAllocations.h"

namespace e2e {
namespace {

using std::chrono::seconds;

class Counter : public host_runtime::PullConsumer {
public:
    void OnPicture(const host_runtime::PulledPicture& picture) override {
        if (picture.isNew) pictures.fetch_add(1);
    }
    void OnSound(const host_runtime::PulledSound&) override { sounds.fetch_add(1); }

    std::atomic<int> pictures{0};
    std::atomic<int> sounds{0};
};

class HotPath : public testing::Test {
protected:
    // Until so many more new pictures and blocks of sound have been pulled.
    void Stream(int pictures, int sounds) {
        const int wantedPictures = counter->pictures.load() + pictures;
        const int wantedSounds = counter->sounds.load() + sounds;
        ASSERT_TRUE(harness.RunUntil(
            [&] { return counter->pictures >= wantedPictures && counter->sounds >= wantedSounds; },
            seconds(60)))
            << phone.Process().Errors();
    }

    void SetUp() override {
        source = harness.Host().Sources().Add(phone.Address());
        ASSERT_TRUE(source);
        harness.Host().Puller().Add(source, counter);
        Stream(150, 100);  // warm
    }
    void TearDown() override {
        harness.Host().Puller().Remove(*source);
        harness.Host().Sources().Remove(source->Identifier());
    }

    SimulatedPhone phone{"127.0.10.21", {"--size", "640x360"}};
    HostHarness harness{{60, 1}};
    std::shared_ptr<Counter> counter = std::make_shared<Counter>();
    std::shared_ptr<host_runtime::Source> source;
};

TEST_F(HotPath, AllocatesNothingAfterWarmUp) {
    const auto before = UseByThread();
    ASSERT_GT(before.at(getpid()).allocations, 0) << "the counter counts";
    Stream(150, 150);
    const auto after = UseByThread();

    // These two carry no media: jobs and socket events.
    const std::set<std::string> exempt = {"network", before.at(getpid()).name};
    std::set<std::string> seen;
    for (const auto& [thread, use] : after) {
        const auto old = before.find(thread);
        if (old == before.end()) continue;
        seen.insert(use.name);
        if (exempt.contains(use.name)) continue;
        EXPECT_EQ(use.allocations - old->second.allocations, 0) << use.name;
    }
    for (const char* name : {"output:src", "vo-playout", "pull-picture", "pull-sound"})
        EXPECT_TRUE(seen.contains(name)) << name;
}

TEST_F(HotPath, TouchesNoFreshPageAfterWarmUp) {
    // The kernel may move pages at any time, which counts as faults; a fresh page per picture would show in
    // every series.
    std::map<std::string, std::int64_t> fewest;
    for (int series = 0; series < 5; ++series) {
        const auto before = UseByThread();
        Stream(60, 40);
        for (const auto& [thread, use] : UseByThread()) {
            const auto old = before.find(thread);
            if (old == before.end()) continue;
            const std::int64_t faults = use.pageFaults - old->second.pageFaults;
            const auto [entry, first] = fewest.try_emplace(use.name, faults);
            if (!first) entry->second = std::min(entry->second, faults);
        }
    }
    for (const char* name : {"output:src", "vo-playout", "pull-picture", "pull-sound"}) {
        ASSERT_TRUE(fewest.contains(name)) << name;
        EXPECT_EQ(fewest[name], 0) << name;
    }
}

}  // namespace
}  // namespace e2e
