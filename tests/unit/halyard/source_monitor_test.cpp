#include "apps/halyard/SourceMonitor.h"

#include <gtest/gtest.h>

#include "tests/unit/halyard/PatternPictures.h"

namespace halyard {
namespace {

class SourceMonitorTest : public testing::Test {
protected:
    const tests::PatternPictures pictures{};
};

TEST_F(SourceMonitorTest, CountsPullsAndNewPictures) {
    SourceMonitor monitor(false, nullptr);
    const auto black = pictures.Empty(720, 480);
    const auto picture = pictures.Picture(640, 360, 1, 0);
    monitor.OnPicture({black.Get(), 0, false, false});
    EXPECT_FALSE(monitor.Now().HasPicture());
    EXPECT_EQ(monitor.Now().width, 0) << "a plain colour has no size worth telling";
    monitor.OnPicture({picture.Get(), 1, true, true});
    monitor.OnPicture({picture.Get(), 2, true, false});
    const SourceMonitor::Counts counts = monitor.Now();
    EXPECT_EQ(counts.picturesPulled, 3);
    EXPECT_EQ(counts.distinctPictures, 1);
    EXPECT_EQ(counts.width, 640);
    EXPECT_EQ(counts.height, 360);
    EXPECT_TRUE(counts.firstPictureAtUs);
    EXPECT_FALSE(counts.probe);
}

TEST_F(SourceMonitorTest, AFrameSentTwiceIsNotDistinctWithTheProbe) {
    SourceMonitor monitor(true, nullptr);
    for (const std::uint32_t frame : {1U, 2U, 2U, 3U}) {
        const auto picture = pictures.Picture(640, 360, frame, 0);
        monitor.OnPicture({picture.Get(), 0, true, true});
    }
    const SourceMonitor::Counts counts = monitor.Now();
    EXPECT_EQ(counts.distinctPictures, 3);
    ASSERT_TRUE(counts.probe);
    EXPECT_EQ(counts.probe->repeatedPictures, 1);
}

TEST_F(SourceMonitorTest, CountsSilentBlocks) {
    SourceMonitor monitor(true, nullptr);
    const auto silence = pictures.Silence();
    const auto sound = pictures.Sound(0, 0);
    monitor.OnSound({silence.Get(), 0});
    EXPECT_FALSE(monitor.Now().HasSound());
    monitor.OnSound({sound.Get(), 33'333});
    EXPECT_TRUE(monitor.Now().HasSound());
    EXPECT_EQ(monitor.Now().soundBlocksPulled, 2);
    EXPECT_EQ(monitor.Now().silentSoundBlocks, 1);
    EXPECT_TRUE(monitor.TakeSoundLevel());
    EXPECT_FALSE(monitor.TakeSoundLevel());
}

}  // namespace
}  // namespace halyard
