// The measures must see what is wrong, or the comparisons below them prove nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/e2e/browser/ReceivedMedia.h"

namespace browser {
namespace {

// The camera's own picture as it would arrive over a perfect line.
ReceivedPicture Perfect(std::uint32_t frameNumber) {
    const CameraPicture camera = MakeCameraPicture(frameNumber);
    ReceivedPicture picture{kCameraWidth, kCameraHeight, {}};
    for (int y = 0; y < kCameraHeight; ++y) {
        for (int x = 0; x < kCameraWidth; x += 2) {
            const auto luma = static_cast<std::size_t>(y * kCameraWidth + x);
            const auto chroma = static_cast<std::size_t>(y / 2 * (kCameraWidth / 2) + x / 2);
            picture.bytes.push_back(camera.blueDifference[chroma]);
            picture.bytes.push_back(camera.luma[luma]);
            picture.bytes.push_back(camera.redDifference[chroma]);
            picture.bytes.push_back(camera.luma[luma + 1]);
        }
    }
    return picture;
}

std::vector<std::int16_t> Sine(double hertz, double level, int samples) {
    std::vector<std::int16_t> sine;
    for (int sample = 0; sample < samples; ++sample) {
        const double value = level * 32767 * std::sin(2 * std::numbers::pi * hertz * sample / 48'000);
        sine.push_back(static_cast<std::int16_t>(std::lround(value)));
    }
    return sine;
}

TEST(PictureMeasure, ReadsTheFrameNumberOfEveryCameraFrame) {
    for (std::uint32_t number = 0; number < kCameraFrames; ++number) {
        EXPECT_EQ(FrameNumberOf(Perfect(number)), number);
    }
}

TEST(PictureMeasure, FindsNoNumberInAnEmptyPicture) {
    ReceivedPicture grey{kCameraWidth, kCameraHeight,
                         std::vector<std::uint8_t>(std::size_t{2} * kCameraWidth * kCameraHeight, 128)};
    EXPECT_EQ(FrameNumberOf(grey), std::nullopt);
}

TEST(PictureMeasure, TellsNeighbouringFramesApart) {
    EXPECT_GT(LumaSignalToNoise(Perfect(17), 17), 99);
    EXPECT_LT(LumaSignalToNoise(Perfect(17), 16), 30);
    EXPECT_LT(LumaSignalToNoise(Perfect(17), 18), 30);
}

TEST(PictureMeasure, SeesTheColourOfEveryPatch) {
    const ReceivedPicture picture = Perfect(3);
    for (const Patch& patch : kPatches) {
        const Colour mean = MeanColour(picture, patch.area);
        EXPECT_EQ(mean.luma, patch.colour.luma) << patch.name;
        EXPECT_EQ(mean.blueDifference, patch.colour.blueDifference) << patch.name;
        EXPECT_EQ(mean.redDifference, patch.colour.redDifference) << patch.name;
    }
}

TEST(PictureMeasure, SeesSwappedColourDifferences) {
    ReceivedPicture picture = Perfect(3);
    for (std::size_t index = 0; index < picture.bytes.size(); index += 4) {
        std::swap(picture.bytes[index], picture.bytes[index + 2]);
    }
    const Colour red = MeanColour(picture, kPatches[0].area);
    EXPECT_EQ(red.blueDifference, kPatches[0].colour.redDifference);
    EXPECT_EQ(red.redDifference, kPatches[0].colour.blueDifference);
}

TEST(ToneMeasure, FindsTheToneAndItsLevel) {
    const Tone tone = MeasureTone(Sine(kToneHertz, kToneLevel, 48'000), kToneHertz);
    EXPECT_NEAR(tone.level, kToneLevel, 0.001);
    EXPECT_NEAR(tone.share, 1, 0.001);
}

TEST(ToneMeasure, DoesNotFindAnotherTone) {
    EXPECT_LT(MeasureTone(Sine(1100, kToneLevel, 48'000), kToneHertz).share, 0.001);
    EXPECT_EQ(MeasureTone(std::vector<std::int16_t>(48'000, 0), kToneHertz).share, 0);
}

TEST(ToneMeasure, ASteadyToneMayBeATrifleFast) {
    const Tone tone = MeasureSteadyTone(Sine(kToneHertz * 1.002, kToneLevel, 48'000), kToneHertz);
    EXPECT_NEAR(tone.level, kToneLevel, 0.005);
    EXPECT_GT(tone.share, 0.97);
    EXPECT_LT(MeasureSteadyTone(Sine(kToneHertz * 1.05, kToneLevel, 48'000), kToneHertz).share, 0.1);
}

TEST(ToneMeasure, SeesMissingPieces) {
    std::vector<std::int16_t> samples = Sine(kToneHertz, kToneLevel, 48'000);
    for (std::size_t index = 0; index < samples.size(); ++index) {
        if (index / 480 % 2 == 0) samples[index] = 0;
    }
    EXPECT_LT(MeasureTone(samples, kToneHertz).share, 0.6);
    EXPECT_LT(MeasureSteadyTone(samples, kToneHertz).share, 0.6);
}

}  // namespace
}  // namespace browser
