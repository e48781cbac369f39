#include "apps/petrel/TestPattern.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "apps/petrel/BeepTone.h"
#include "support/frame_stamp.h"

namespace {

namespace frame_stamp = support::frame_stamp;
using frame_stamp::Stamp;
using petrel::TestPattern;

// Planes wider than the picture, as decoders and encoders like them; the margin must stay untouched.
class Canvas {
public:
    static constexpr std::uint8_t kUntouched = 7;

    Canvas(int canvasWidth, int canvasHeight) : width(canvasWidth), height(canvasHeight) {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            const int scale = plane == 0 ? 1 : 2;
            view.strides[plane] = width / scale + kMargin;
            samples[plane].assign(static_cast<std::size_t>(view.strides[plane] * (height / scale + 1)),
                                  kUntouched);
            view.planes[plane] = samples[plane].data();
        }
    }
    int Luma(int x, int y) const { return view.planes[0][y * view.strides[0] + x]; }
    auto LumaReader() const {
        return [this](int x, int y) { return Luma(x, y); };
    }
    bool MarginUntouched() const {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            const int scale = plane == 0 ? 1 : 2;
            for (int y = 0; y <= height / scale; ++y) {
                const int from = y < height / scale ? width / scale : 0;
                for (int x = from; x < view.strides[plane]; ++x) {
                    if (view.planes[plane][y * view.strides[plane] + x] != kUntouched) return false;
                }
            }
        }
        return true;
    }
    const petrel::PictureView& View() const { return view; }

private:
    static constexpr int kMargin = 24;
    int width;
    int height;
    std::array<std::vector<std::uint8_t>, 3> samples;
    petrel::PictureView view;
};

TEST(TestPattern, StampIsReadBackAtEverySize) {
    const std::pair<int, int> kSizes[] = {{256, 144},   {640, 360},  {854, 480},
                                          {1080, 1920}, {1280, 720}, {1920, 1080}};
    for (const auto& [width, height] : kSizes) {
        const TestPattern pattern(width, height);
        Canvas canvas(width, height);
        const Stamp stamp{0x12345678, 0x9ABC'DEF0'1234};
        pattern.Paint(canvas.View(), 1'234'567);
        pattern.PaintStamp(canvas.View(), stamp);
        EXPECT_EQ(frame_stamp::Read(width, height, canvas.LumaReader()), stamp) << width << "x" << height;
        EXPECT_TRUE(canvas.MarginUntouched()) << width << "x" << height;
    }
}

TEST(TestPattern, StampIsReadBackAtEveryMoment) {
    const TestPattern pattern(640, 360);
    Canvas canvas(640, 360);
    for (std::uint32_t frame = 0; frame < 600; ++frame) {
        const Stamp stamp{frame, frame * 33'333ULL};
        pattern.Paint(canvas.View(), frame * 33'333LL);
        pattern.PaintStamp(canvas.View(), stamp);
        ASSERT_EQ(frame_stamp::Read(640, 360, canvas.LumaReader()), stamp);
    }
}

TEST(TestPattern, Moves) {
    const TestPattern pattern(640, 360);
    Canvas first(640, 360);
    Canvas second(640, 360);
    pattern.Paint(first.View(), 0);
    pattern.Paint(second.View(), 33'333);
    int changed = 0;
    for (int y = 0; y < 360; ++y) {
        for (int x = 0; x < 640; ++x)
            changed += first.Luma(x, y) != second.Luma(x, y) ? 1 : 0;
    }
    EXPECT_GT(changed, 640 * 360 / 10);
}

TEST(TestPattern, FlashesForATenthOfEachSecond) {
    const TestPattern pattern(640, 360);
    Canvas canvas(640, 360);
    const auto flashLuma = [&](std::int64_t timeUs) {
        pattern.Paint(canvas.View(), timeUs);
        return frame_stamp::MeanLuma(frame_stamp::FlashArea(640, 360), canvas.LumaReader());
    };
    EXPECT_EQ(flashLuma(0), 235);
    EXPECT_EQ(flashLuma(99'999), 235);
    EXPECT_EQ(flashLuma(100'000), 16);
    EXPECT_EQ(flashLuma(999'999), 16);
    EXPECT_EQ(flashLuma(7'000'000), 235);
}

class BeepToneTest : public testing::Test {
protected:
    std::vector<std::int16_t> Play(std::int64_t firstFrame) {
        std::vector<std::int16_t> block(petrel::kAudioBlockFrames * petrel::kAudioChannels);
        tone.NextBlock(firstFrame, block.data());
        return block;
    }
    static int Peak(const std::vector<std::int16_t>& block) {
        int peak = 0;
        for (const std::int16_t sample : block)
            peak = std::max(peak, std::abs(static_cast<int>(sample)));
        return peak;
    }
    petrel::BeepTone tone;
};

TEST_F(BeepToneTest, BeepsWhileThePictureFlashes) {
    for (std::int64_t frame = 0; frame < 3 * petrel::kAudioRate; frame += petrel::kAudioBlockFrames) {
        const std::int64_t timeUs = frame * 1'000'000 / petrel::kAudioRate;
        const bool loud = Peak(Play(frame)) > 10'000;
        EXPECT_EQ(loud, TestPattern::FlashesAt(timeUs)) << timeUs;
    }
}

TEST_F(BeepToneTest, BeepEndsAtTheSample) {
    // A block that begins 480 frames before the end of the beep is loud in its first half alone.
    const std::vector<std::int16_t> block = Play(4800 - 480);
    const std::vector<std::int16_t> beep(block.begin(), block.begin() + 960);
    const std::vector<std::int16_t> quiet(block.begin() + 960, block.end());
    EXPECT_GT(Peak(beep), 16'000);
    EXPECT_LE(Peak(quiet), 328);
}

TEST_F(BeepToneTest, QuietToneIsAtMinusFortyDecibels) {
    EXPECT_NEAR(Peak(Play(24'000)), 32767 / 100, 2);
}

TEST_F(BeepToneTest, BothChannelsAreAlike) {
    const std::vector<std::int16_t> block = Play(0);
    for (std::size_t frame = 0; frame < block.size(); frame += 2)
        ASSERT_EQ(block[frame], block[frame + 1]);
}

TEST_F(BeepToneTest, BlocksJoinWithoutAStep) {
    const std::vector<std::int16_t> before = Play(petrel::kAudioRate - petrel::kAudioBlockFrames);
    const std::vector<std::int16_t> after = Play(petrel::kAudioRate);
    // 440 Hz at this level moves less than 19 from one sample to the next; the beep begins at zero.
    EXPECT_LT(std::abs(before[before.size() - 1] - after[0]), 20);
}

}  // namespace
