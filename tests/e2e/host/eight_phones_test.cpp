// Eight phones at once.
#include <gtest/gtest.h>

#include <vector>

#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"

namespace e2e {
namespace {

constexpr int kPhones = 8;
constexpr std::chrono::seconds kTime{30};
constexpr double kLeastPicturesPerSecond = 29.5;

TEST(EightPhones, EachGivesAllItsPictures) {
    SimulatedPhone phones("127.0.12.2", {"--phones", "8", "--size", "640x360"});
    // Faster than the phones, so that no picture is missed between two pulls.
    HostHarness harness({90, 1});
    std::vector<HostHarness::Pulled> all;
    for (int index = 0; index < kPhones; ++index)
        all.push_back(harness.Add("127.0.12." + std::to_string(2 + index)));
    const auto allShowPictures = [&] {
        for (const auto& pulled : all) {
            if (pulled.pattern->Now().distinctFrames < 30) return false;
        }
        return true;
    };
    ASSERT_TRUE(harness.RunUntil(allShowPictures, std::chrono::seconds(40))) << phones.Process().Errors();

    std::vector<PulledPattern::Counts> before;
    for (const auto& pulled : all)
        before.push_back(pulled.pattern->Now());
    const auto begin = std::chrono::steady_clock::now();
    harness.RunFor(kTime);
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (std::size_t index = 0; index < all.size(); ++index) {
        const auto after = all[index].pattern->Now();
        const auto frames = static_cast<double>(after.distinctFrames - before[index].distinctFrames);
        const double rate = frames / elapsed;
        EXPECT_GE(rate, kLeastPicturesPerSecond) << all[index].source->Address();
        EXPECT_GT(after.beeps, before[index].beeps) << all[index].source->Address();
        RecordProperty("picturesPerSecond" + std::to_string(index), std::to_string(rate));
        std::cout << all[index].source->Address() << ": " << rate << " pictures per second\n";
    }
}

}  // namespace
}  // namespace e2e
