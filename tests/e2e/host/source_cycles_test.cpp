// Sources that come and go leave nothing behind.
#include <gtest/gtest.h>

#include "host_runtime/media/BufferGroup.h"
#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/ProcessResources.h"
#include "tests/e2e/host/SimulatedPhone.h"
#include "webrtc_gstreamer/LivingObjects.h"

namespace e2e {
namespace {

using std::chrono::seconds;

constexpr int kWarmUpCycles = 10;
constexpr int kCycles = 50;

// What ends on threads of its own is given time to end.
bool SettlesAt(HostHarness& harness, const ProcessResources& limit, ProcessResources& latest) {
    return harness.RunUntil(
        [&] {
            latest = OwnResources();
            return latest.threads <= limit.threads && latest.descriptors <= limit.descriptors;
        },
        seconds(15));
}

TEST(SourceCycles, FiftyLeaveNothingBehind) {
    SimulatedPhone phone("127.0.13.2", {"--size", "320x180"});
    HostHarness harness;
    const ProcessResources none{1'000'000, 1'000'000, 0, 0, {}};
    ProcessResources atTen = none;
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        const auto pulled = harness.Add(phone.Address());
        ASSERT_TRUE(pulled.source) << "cycle " << cycle;
        ASSERT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().stampedPictures > 0; }, seconds(30)))
            << "cycle " << cycle;
        harness.Remove(pulled);
        if (cycle == kWarmUpCycles) {
            harness.RunFor(seconds(5));
            atTen = OwnResources();
            std::cout << "after " << cycle << " cycles: " << Text(atTen) << "\n";
        }
    }
    ProcessResources atFifty;
    EXPECT_TRUE(SettlesAt(harness, atTen, atFifty))
        << "after ten: " << Text(atTen) << "\nafter fifty: " << Text(atFifty);
    std::cout << "after " << kCycles << " cycles: " << Text(atFifty) << "\n";
    EXPECT_TRUE(harness.RunUntil([] { return webrtc_gstreamer::LivingObjects() == 0; }, seconds(15)))
        << webrtc_gstreamer::LivingObjects() << " wrapper objects";
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
    EXPECT_EQ(host_runtime::Source::Alive(), 0);
    // Forty sources left behind would show: each one's ring of sound alone has 187 KiB.
    EXPECT_LT(atFifty.residentKib, atTen.residentKib + 4'000);
}

TEST(SourceCycles, SourcesThatNeverConnectLeaveNothingBehind) {
    HostHarness harness;
    ProcessResources atTen;
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        const auto pulled = harness.Add("127.0.13.3");  // nobody listens there
        harness.RunFor(std::chrono::milliseconds(20));
        harness.Remove(pulled);
        if (cycle == kWarmUpCycles) {
            harness.RunFor(seconds(5));
            atTen = OwnResources();
        }
    }
    ProcessResources atFifty;
    EXPECT_TRUE(SettlesAt(harness, atTen, atFifty))
        << "after ten: " << Text(atTen) << "\nafter fifty: " << Text(atFifty);
    EXPECT_EQ(host_runtime::BufferGroup::BuffersAlive(), 0);
}

TEST(SourceCycles, AHostThatEndsAndBeginsAgainLeavesNothingBehind) {
    SimulatedPhone phone("127.0.13.4", {"--size", "320x180"});
    ProcessResources atThree;
    for (int round = 1; round <= 10; ++round) {
        HostHarness harness;
        const auto pulled = harness.Add(phone.Address());
        ASSERT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().stampedPictures > 0; }, seconds(30)));
        if (round == 3) {
            harness.RunFor(seconds(3));
            atThree = OwnResources();
        }
        if (round == 10) {
            ProcessResources atTen;
            EXPECT_TRUE(SettlesAt(harness, atThree, atTen))
                << "third: " << Text(atThree) << "\ntenth: " << Text(atTen);
        }
    }
}

}  // namespace
}  // namespace e2e
