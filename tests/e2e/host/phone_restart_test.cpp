// A phone that goes away and comes back.
#include <gtest/gtest.h>

#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

using std::chrono::seconds;

bool ShowsPictures(HostHarness& harness, const PulledPattern& pattern) {
    const std::int64_t before = pattern.Now().distinctFrames;
    return harness.RunUntil([&] { return pattern.Now().distinctFrames > before + 10; }, seconds(40));
}

TEST(PhoneRestart, ThePictureReturnsAfterTheAppWasKilled) {
    SimulatedPhone phone("127.0.11.2", {"--size", "640x360"});
    HostHarness harness;
    const auto pulled = harness.Add(phone.Address());
    ASSERT_TRUE(ShowsPictures(harness, *pulled.pattern));
    for (int round = 0; round < 2; ++round) {
        phone.Kill();
        harness.RunFor(seconds(2));
        const auto atRest = pulled.pattern->Now();
        harness.RunFor(seconds(2));
        EXPECT_EQ(pulled.pattern->Now().newPictures, atRest.newPictures) << "nothing comes from nowhere";
        phone.Start();
        EXPECT_TRUE(ShowsPictures(harness, *pulled.pattern)) << "round " << round;
        const std::int64_t beeps = pulled.pattern->Now().beeps;
        EXPECT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().beeps > beeps; }, seconds(20)))
            << "and the sound";
    }
}

TEST(PhoneRestart, APhoneThatIsSwitchedOnLateIsFound) {
    HostHarness harness;
    const auto pulled = harness.Add("127.0.11.3");
    harness.RunFor(seconds(8));  // beyond the first sweep
    EXPECT_EQ(pulled.pattern->Now().newPictures, 0);
    SimulatedPhone phone("127.0.11.3", {"--size", "640x360"});
    EXPECT_TRUE(ShowsPictures(harness, *pulled.pattern));
}

TEST(PhoneRestart, AnotherAddressBringsAnotherPhone) {
    SimulatedPhone first("127.0.11.4", {"--size", "640x360"});
    SimulatedPhone second("127.0.11.5", {"--size", "320x180"});
    HostHarness harness;
    const auto pulled = harness.Add(first.Address());
    ASSERT_TRUE(ShowsPictures(harness, *pulled.pattern));
    EXPECT_EQ(pulled.pattern->Now().width, 640);
    ASSERT_TRUE(harness.Host().Sources().ChangeAddress(pulled.source->Identifier(), second.Address()));
    EXPECT_TRUE(harness.RunUntil([&] { return pulled.pattern->Now().width == 320; }, seconds(40)));
    EXPECT_TRUE(ShowsPictures(harness, *pulled.pattern));
}

TEST(PhoneRestart, ARemovedSourceLeavesItsAddressFree) {
    SimulatedPhone phone("127.0.11.6", {"--size", "640x360"});
    HostHarness harness;
    auto pulled = harness.Add(phone.Address());
    ASSERT_TRUE(ShowsPictures(harness, *pulled.pattern));
    harness.Remove(pulled);
    pulled = harness.Add(phone.Address());
    ASSERT_TRUE(pulled.source);
    EXPECT_TRUE(ShowsPictures(harness, *pulled.pattern));
}

}  // namespace
}  // namespace e2e
