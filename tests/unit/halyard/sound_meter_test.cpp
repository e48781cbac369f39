#include "apps/halyard/SoundMeter.h"

#include <gtest/gtest.h>

#include <vector>

namespace halyard {
namespace {

TEST(SoundMeter, ASilentBlockHasOnlyZeros) {
    SoundMeter meter;
    std::vector<std::int16_t> block(3'200, 0);
    meter.Add(block);
    EXPECT_FALSE(meter.HasSound());
    block.back() = -1;
    meter.Add(block);
    EXPECT_TRUE(meter.HasSound());
    EXPECT_EQ(meter.Blocks(), 2);
    EXPECT_EQ(meter.SilentBlocks(), 1);
}

TEST(SoundMeter, MeasuresTheMeanLevelSinceTheLastTime) {
    SoundMeter meter;
    EXPECT_FALSE(meter.TakeLevel());
    meter.Add(std::vector<std::int16_t>(3'200, -32'768));
    EXPECT_NEAR(*meter.TakeLevel(), 0.0, 1e-6);
    meter.Add(std::vector<std::int16_t>(3'200, 3'277));
    EXPECT_NEAR(*meter.TakeLevel(), -20.0, 0.01);
    meter.Add(std::vector<std::int16_t>(3'200, 0));
    EXPECT_FALSE(meter.TakeLevel()) << "silence has no level";
}

TEST(SoundMeter, DoesNotOverflow) {
    SoundMeter meter;
    const std::vector<std::int16_t> block(1 << 20, -32'768);
    for (int count = 0; count < 8; ++count)
        meter.Add(block);
    EXPECT_NEAR(*meter.TakeLevel(), 0.0, 1e-6);
}

}  // namespace
}  // namespace halyard
