#include "renderers/audio_position.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cstdint>

#include "support/scope_guard.h"

namespace {

constexpr std::int64_t kLowest = INT64_MIN;
constexpr std::int64_t kHighest = INT64_MAX;

TEST(AudioPosition, BaseLiesTwoBlocksBehindEverythingReceived) {
    struct Row {
        std::int64_t timeUs;
        std::uint64_t samplesWritten;
        std::int64_t base;
    };
    for (const Row row : {Row{0, 0, 66666}, Row{5'000'000, 96000, 5'000'000 - 1'000'000 + 66666},
                          Row{0, 960, -10'000 + 66666}, Row{0, 1, -10 + 66666},  // 10.4 us, truncated
                          Row{0, 95, -989 + 66666}}) {
        EXPECT_EQ(audio_position::BaseFor(row.timeUs, row.samplesWritten), row.base) << row.samplesWritten;
    }
}

TEST(AudioPosition, FirstBlockAfterOneSecondIsFrame44800) {
    const std::int64_t base = audio_position::BaseFor(123'456'789, 96000);
    EXPECT_EQ(audio_position::FrameAt(123'456'789, base), 44800);
}

TEST(AudioPosition, FramesLieOnTheGridOfBlocksHalvesAwayFromZero) {
    struct Row {
        std::int64_t elapsedUs, frame;
    };
    for (const Row row :
         {Row{0, 0}, Row{16'666, 0}, Row{16'667, 1600}, Row{33'333, 1600}, Row{33'334, 1600},
          Row{49'999, 1600}, Row{50'000, 3200}, Row{150'000, 8000}, Row{-16'666, 0}, Row{-16'667, -1600},
          Row{-50'000, -3200}, Row{-66'666, -3200}, Row{-150'000, -8000}, Row{1'000'000, 48000}}) {
        EXPECT_EQ(audio_position::FrameAt(900'000 + row.elapsedUs, 900'000), row.frame) << row.elapsedUs;
    }
}

TEST(AudioPosition, RoundingModeOfTheThreadDoesNotMatter) {
    const support::ScopeGuard restore([] { std::fesetround(FE_TONEAREST); });
    for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        EXPECT_EQ(audio_position::FrameAt(150'000, 0), 8000) << mode;
        EXPECT_EQ(audio_position::FrameAt(20'000, 0), 1600) << mode;
        EXPECT_EQ(audio_position::FrameAt(10'000, 0), 0) << mode;
    }
}

TEST(AudioPosition, GridOfThirtiethsHitsEveryBlockOnceForAnHour) {
    const std::int64_t base = audio_position::BaseFor(0, 48000);
    for (std::int64_t k = 0; k < 108'000; ++k) {
        const std::int64_t timeUs = (k * 100'000 * 2 + 3) / 6;  // rounded thirds
        ASSERT_EQ(audio_position::FrameAt(timeUs, base), 24000 - 3200 + 1600 * k) << k;
    }
}

TEST(AudioPosition, BlockMustLieBeforeTheNewestSample) {
    EXPECT_FALSE(audio_position::BlockIsWritten(0, 0));
    EXPECT_FALSE(audio_position::BlockIsWritten(0, 3200));  // ends exactly there
    EXPECT_TRUE(audio_position::BlockIsWritten(0, 3201));
    EXPECT_FALSE(audio_position::BlockIsWritten(1600, 6400));
    EXPECT_TRUE(audio_position::BlockIsWritten(1600, 6401));
    EXPECT_FALSE(audio_position::BlockIsWritten(-1600, 96000));
    EXPECT_FALSE(audio_position::BlockIsWritten(kLowest, 96000));
}

TEST(AudioPosition, SettlingLasts200MillisecondsInclusive) {
    EXPECT_TRUE(audio_position::IsSettling(1000, 1000));
    EXPECT_TRUE(audio_position::IsSettling(201'000, 1000));
    EXPECT_FALSE(audio_position::IsSettling(201'001, 1000));
    EXPECT_TRUE(audio_position::IsSettling(0, 1'000'000));  // before it
}

TEST(AudioPosition, ExtremeTimesAreDefined) {
    for (const std::int64_t time : {kLowest, kHighest, std::int64_t{-1}, std::int64_t{0}}) {
        for (const std::int64_t other : {kLowest, kHighest, std::int64_t{-1}, std::int64_t{0}}) {
            const std::int64_t frame = audio_position::FrameAt(time, other);
            EXPECT_EQ(frame % 1600, 0);
            static_cast<void>(audio_position::IsSettling(time, other));
        }
        static_cast<void>(audio_position::BaseFor(time, UINT64_MAX));
    }
}

}  // namespace
