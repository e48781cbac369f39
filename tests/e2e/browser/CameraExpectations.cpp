#include "tests/e2e/browser/CameraExpectations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

namespace browser {
namespace {

constexpr std::chrono::seconds kLimit{30};
constexpr double kSharpEnough = 32;  // dB
constexpr int kLumaTolerance = 3;
constexpr int kColourTolerance = 6;  // coders spend few bits on it
constexpr double kToneShare = 0.95;
constexpr double kLevelTolerance = 0.03;

}  // namespace

void CameraExpectations::SharpPictures() const {
    double best = 0;
    const auto look = [this, &best] {
        const auto picture = media.LatestPicture();
        const auto number = picture ? FrameNumberOf(*picture) : std::nullopt;
        if (number) best = std::max(best, LumaSignalToNoise(*picture, *number));
        return best >= kSharpEnough;
    };
    host.RunUntil(look, kLimit);
    std::cout << "luma against the camera's frame " << best << " dB\n";
    EXPECT_GE(best, kSharpEnough);
}

void CameraExpectations::CameraColours() const {
    const auto picture = media.LatestPicture();
    ASSERT_TRUE(picture);
    for (const Patch& patch : kPatches) {
        const Colour mean = MeanColour(*picture, patch.area);
        EXPECT_NEAR(mean.luma, patch.colour.luma, kLumaTolerance) << patch.name;
        EXPECT_NEAR(mean.blueDifference, patch.colour.blueDifference, kColourTolerance) << patch.name;
        EXPECT_NEAR(mean.redDifference, patch.colour.redDifference, kColourTolerance) << patch.name;
    }
}

void CameraExpectations::EveryFrame() const {
    const auto all = [this] { return media.FrameNumbers().size() == kCameraFrames; };
    EXPECT_TRUE(host.RunUntil(all, kLimit))
        << "only " << media.FrameNumbers().size() << " of the camera's " << kCameraFrames << " frames";
}

void CameraExpectations::CleanTone() const {
    Tone left;
    Tone right;
    const auto found = [this, &left, &right] {
        left = MeasureSteadyTone(media.LatestSecondLeft(), kToneHertz);
        right = MeasureSteadyTone(media.LatestSecondRight(), kToneHertz);
        return left.share > kToneShare && right.share > kToneShare;
    };
    EXPECT_TRUE(host.RunUntil(found, kLimit)) << "share of the tone " << left.share << ", " << right.share;
    EXPECT_NEAR(left.level, kToneLevel, kLevelTolerance);
    EXPECT_NEAR(right.level, kToneLevel, kLevelTolerance);
    std::cout << "tone level " << left.level << ", share " << left.share << "\n";
}

}  // namespace browser
