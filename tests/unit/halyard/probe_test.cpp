#include "apps/halyard/Probe.h"

#include <gtest/gtest.h>

#include "host_runtime/sources/PullGrid.h"
#include "tests/unit/halyard/PatternPictures.h"

namespace halyard {
namespace {

constexpr std::int64_t kSecondUs = 1'000'000;

class ProbeTest : public testing::Test {
protected:
    bool Show(std::uint32_t frame, std::uint64_t senderTimeUs, std::int64_t nowUs, bool flash = false) {
        return probe.OnNewPicture(*pictures.Picture(640, 360, frame, senderTimeUs, flash), nowUs, nowUs);
    }

    const tests::PatternPictures pictures{};
    Probe probe;
};

TEST_F(ProbeTest, MeasuresTheAgeOfPictures) {
    for (std::uint32_t frame = 0; frame < 100; ++frame)
        EXPECT_FALSE(Show(frame, 1'000'000 + frame * 33'333, 1'000'000 + frame * 33'333 + 12'300));
    EXPECT_NEAR(*probe.LatencyMs().Percentile(50), 12.3, 0.05);
    EXPECT_NEAR(*probe.LatencyMs().Maximum(), 12.3, 0.05);
    EXPECT_EQ(probe.StampedPictures(), 100);
    EXPECT_EQ(probe.SkippedPictures(), 0);
}

TEST_F(ProbeTest, TheClockOfAStampWrapsAround) {
    constexpr std::int64_t wrapUs = std::int64_t{1} << 48;
    Show(1, static_cast<std::uint64_t>(wrapUs - 5'000), wrapUs + 5'000);
    EXPECT_NEAR(*probe.LatencyMs().Maximum(), 10.0, 0.05);
}

TEST_F(ProbeTest, CountsGapsAndRepeats) {
    EXPECT_FALSE(Show(10, 0, 0));
    EXPECT_FALSE(Show(11, 0, 0));
    EXPECT_FALSE(Show(14, 0, 0));
    EXPECT_TRUE(Show(14, 0, 0));
    EXPECT_FALSE(Show(15, 0, 0));
    EXPECT_EQ(probe.SkippedPictures(), 2);
    EXPECT_EQ(probe.RepeatedPictures(), 1);
}

TEST_F(ProbeTest, ASenderThatStartsAnewLeavesNoGap) {
    Show(900, 0, 0);
    Show(0, 0, 0);
    Show(1, 0, 0);
    EXPECT_EQ(probe.SkippedPictures(), 0);
    EXPECT_EQ(probe.RepeatedPictures(), 0);
}

TEST_F(ProbeTest, IgnoresPicturesWithoutAStamp) {
    const auto plain = pictures.Empty(640, 360);
    const auto small = pictures.Empty(64, 36);
    EXPECT_FALSE(probe.OnNewPicture(*plain, 0, 0));
    EXPECT_FALSE(probe.OnNewPicture(*small, 0, 0));
    EXPECT_EQ(probe.StampedPictures(), 0);
    EXPECT_FALSE(probe.LatencyMs().Percentile(50));
}

TEST_F(ProbeTest, MeasuresHowFarTheBeepIsBehindTheFlash) {
    constexpr std::int64_t beepUs = 104'000;
    for (std::int64_t k = 0; k < 150; ++k) {
        const std::int64_t timeUs = host_runtime::SoundPullTimeUs(0, k);
        const bool flash = timeUs % kSecondUs < 100'000;
        Show(static_cast<std::uint32_t>(k), 0, timeUs, flash);
        const auto sound = pictures.Sound(timeUs, beepUs);
        probe.OnSound(tests::PatternPictures::Samples(*sound), timeUs);
    }
    ASSERT_TRUE(probe.SoundOffsets());
    EXPECT_NEAR(probe.SoundOffsets()->medianMs, 104.0, 1.0);
    EXPECT_NEAR(probe.SoundOffsets()->meanMs, 104.0, 1.0);
    EXPECT_LT(probe.SoundOffsets()->largestDeviationMs, 1.0);
}

TEST_F(ProbeTest, TellsHowFarBeepsStrayFromTheirMean) {
    // Four beeps 60 ms behind their flashes, the last one 120 ms.
    for (std::int64_t k = 0; k < 150; ++k) {
        const std::int64_t timeUs = host_runtime::SoundPullTimeUs(0, k);
        Show(static_cast<std::uint32_t>(k), 0, timeUs, timeUs % kSecondUs < 100'000);
        const auto sound = pictures.Sound(timeUs, timeUs < 4 * kSecondUs ? 60'000 : 120'000);
        probe.OnSound(tests::PatternPictures::Samples(*sound), timeUs);
    }
    ASSERT_TRUE(probe.SoundOffsets());
    // The flash that is on at first does not count, which leaves three pairs and the last one.
    EXPECT_NEAR(probe.SoundOffsets()->medianMs, 60.0, 1.0);
    EXPECT_NEAR(probe.SoundOffsets()->meanMs, 75.0, 1.0);
    EXPECT_NEAR(probe.SoundOffsets()->largestDeviationMs, 45.0, 1.0);
}

TEST_F(ProbeTest, ASoundBeforeThePictureIsNegative) {
    for (std::int64_t k = 0; k < 150; ++k) {
        const std::int64_t timeUs = host_runtime::SoundPullTimeUs(0, k);
        const auto sound = pictures.Sound(timeUs, -50'000);
        probe.OnSound(tests::PatternPictures::Samples(*sound), timeUs);
        Show(static_cast<std::uint32_t>(k), 0, timeUs, timeUs % kSecondUs < 100'000);
    }
    ASSERT_TRUE(probe.SoundOffsets());
    EXPECT_NEAR(probe.SoundOffsets()->medianMs, -50.0, 1.0);
}

TEST_F(ProbeTest, HasNoOffsetWithoutBeeps) {
    for (std::int64_t k = 0; k < 90; ++k)
        Show(static_cast<std::uint32_t>(k), 0, k * 33'333, (k * 33'333) % kSecondUs < 100'000);
    EXPECT_FALSE(probe.SoundOffsets());
}

}  // namespace
}  // namespace halyard
