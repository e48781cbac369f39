#include "host_runtime/sources/PullGrid.h"

#include <gtest/gtest.h>

namespace host_runtime {
namespace {

TEST(SoundGrid, RoundsEachBlockFromTheCounter) {
    EXPECT_EQ(SoundPullTimeUs(7, 0), 7);
    EXPECT_EQ(SoundPullTimeUs(0, 1), 33'333);
    EXPECT_EQ(SoundPullTimeUs(0, 2), 66'667);
    EXPECT_EQ(SoundPullTimeUs(0, 3), 100'000);
}

TEST(SoundGrid, DoesNotDriftInADay) {
    constexpr std::int64_t blocksADay = 30LL * 86'400;
    EXPECT_EQ(SoundPullTimeUs(0, blocksADay), 86'400LL * 1'000'000);
    EXPECT_EQ(SoundPullTimeUs(0, blocksADay + 1), 86'400LL * 1'000'000 + 33'333);
}

TEST(SoundGrid, StepsByOneBlockAlways) {
    for (std::int64_t block = 0; block < 10'000; ++block) {
        const std::int64_t step = SoundPullTimeUs(0, block + 1) - SoundPullTimeUs(0, block);
        EXPECT_TRUE(step == 33'333 || step == 33'334) << block;
    }
}

TEST(PictureGrid, FollowsTheFrameRate) {
    EXPECT_EQ(PicturePullTimeUs(100, 25, {25, 1}), 100 + 1'000'000);
    EXPECT_EQ(PicturePullTimeUs(0, 1, {60, 1}), 16'667);
    EXPECT_EQ(PicturePullTimeUs(0, 30'000, {30'000, 1'001}), 1'001'000'000);
    EXPECT_EQ(PicturePullTimeUs(0, 1, {1, 2}), 2'000'000);
}

TEST(PictureGrid, DoesNotOverflowInTenYears) {
    constexpr std::int64_t pictures = 240LL * 86'400 * 3'653;
    EXPECT_EQ(PicturePullTimeUs(0, pictures, {240, 1}), 86'400LL * 3'653 * 1'000'000);
    EXPECT_EQ(PicturePullTimeUs(0, pictures, {240'000, 1'001}), 86'400LL * 3'653 * 1'001'000);
}

TEST(LatestDue, LeavesOutWhatWasMissed) {
    const auto every10 = [](std::int64_t k) { return k * 10; };
    EXPECT_EQ(LatestDue(3, 30, every10), 3);
    EXPECT_EQ(LatestDue(3, 39, every10), 3);
    EXPECT_EQ(LatestDue(3, 40, every10), 4);
    EXPECT_EQ(LatestDue(3, 1'005, every10), 100);
    EXPECT_EQ(LatestDue(3, 5, every10), 3) << "never back";
}

}  // namespace
}  // namespace host_runtime
