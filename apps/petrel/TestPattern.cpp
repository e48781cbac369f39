#include "apps/petrel/TestPattern.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace petrel {
namespace {

namespace frame_stamp = support::frame_stamp;

constexpr std::uint8_t kBlackLuma = 16;
constexpr std::uint8_t kWhiteLuma = 235;
constexpr std::uint8_t kNoColour = 128;
constexpr int kStripePeriod = 128;
constexpr int kStripePixelsPerSecond = 120;

// Goes from 0 to `range` and back, once in `periodUs`.
int Swing(std::int64_t timeUs, std::int64_t periodUs, int range) {
    const std::int64_t phase = timeUs % periodUs;
    const std::int64_t half = periodUs / 2;
    const std::int64_t distance = phase < half ? phase : periodUs - phase;
    return static_cast<int>(distance * range / half);
}

std::uint8_t Sample(double value) {
    return static_cast<std::uint8_t>(std::clamp(value, 16.0, 235.0));
}

}  // namespace

TestPattern::TestPattern(int pictureWidth, int pictureHeight)
    : width(pictureWidth), height(pictureHeight), stripes(static_cast<std::size_t>(width + kStripePeriod)) {
    const int halfWidth = width / 2;
    const int halfHeight = height / 2;
    background[0].reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            background[0].push_back(Sample(60.0 + 70.0 * x / width + 50.0 * y / height));
        }
    }
    for (int y = 0; y < halfHeight; ++y) {
        for (int x = 0; x < halfWidth; ++x) {
            background[1].push_back(Sample(96.0 + 64.0 * x / halfWidth));
            background[2].push_back(Sample(160.0 - 64.0 * y / halfHeight));
        }
    }
    for (std::size_t x = 0; x < stripes.size(); ++x) {
        constexpr double kFullTurn = 6.283185307179586;
        stripes[x] = Sample(126.0 + 70.0 * std::sin(kFullTurn * static_cast<double>(x) / kStripePeriod));
    }
}

bool TestPattern::FlashesAt(std::int64_t mediaTimeUs) {
    return mediaTimeUs % frame_stamp::kFlashPeriodUs < frame_stamp::kFlashLengthUs;
}

void TestPattern::Paint(const PictureView& picture, std::int64_t mediaTimeUs) const {
    CopyBackground(picture);
    PaintStripes(picture, mediaTimeUs);
    PaintMovingShapes(picture, mediaTimeUs);
    const Colour flash{FlashesAt(mediaTimeUs) ? kWhiteLuma : kBlackLuma, kNoColour, kNoColour};
    FillArea(picture, frame_stamp::FlashArea(width, height), flash);
}

void TestPattern::CopyBackground(const PictureView& picture) const {
    for (std::size_t plane = 0; plane < background.size(); ++plane) {
        const int planeWidth = plane == 0 ? width : width / 2;
        const int planeHeight = plane == 0 ? height : height / 2;
        const std::uint8_t* from = background[plane].data();
        std::uint8_t* to = picture.planes[plane];
        for (int y = 0; y < planeHeight; ++y) {
            std::memcpy(to, from, static_cast<std::size_t>(planeWidth));
            from += planeWidth;
            to += picture.strides[plane];
        }
    }
}

// A band of soft slanted stripes that wanders sideways: detail that an encoder can follow.
void TestPattern::PaintStripes(const PictureView& picture, std::int64_t mediaTimeUs) const {
    const int top = height * 3 / 4;
    const auto shift = static_cast<int>(mediaTimeUs * kStripePixelsPerSecond / 1'000'000 % kStripePeriod);
    std::uint8_t* row = picture.planes[0] + static_cast<std::ptrdiff_t>(top) * picture.strides[0];
    for (int y = top; y < height; ++y) {
        std::memcpy(row, stripes.data() + (shift + y) % kStripePeriod, static_cast<std::size_t>(width));
        row += picture.strides[0];
    }
}

void TestPattern::PaintMovingShapes(const PictureView& picture, std::int64_t mediaTimeUs) const {
    constexpr Colour kBox{180, 90, 160};
    constexpr Colour kBoxCore{70, 160, 100};
    constexpr Colour kBar{210, 110, 120};
    const int top = frame_stamp::kRows * (width / frame_stamp::kColumns);
    const int bottom = height * 3 / 4;

    const int barWidth = width / 40;
    FillArea(picture, {Swing(mediaTimeUs, 8'000'000, width - barWidth), top, barWidth, bottom - top}, kBar);

    const int boxWidth = width / 6;
    const int boxHeight = (bottom - top) / 3;
    const int x = Swing(mediaTimeUs, 6'000'000, width - boxWidth);
    const int y = top + Swing(mediaTimeUs, 3'700'000, bottom - top - boxHeight);
    FillArea(picture, {x, y, boxWidth, boxHeight}, kBox);
    FillArea(picture, {x + boxWidth / 4, y + boxHeight / 4, boxWidth / 2, boxHeight / 2}, kBoxCore);
}

void TestPattern::PaintStamp(const PictureView& picture, const frame_stamp::Stamp& stamp) const {
    const auto bits = frame_stamp::Encode(stamp);
    for (int index = 0; index < frame_stamp::kBits; ++index) {
        const bool white = bits[static_cast<std::size_t>(index)];
        FillArea(picture, frame_stamp::BlockArea(index, width),
                 {white ? kWhiteLuma : kBlackLuma, kNoColour, kNoColour});
    }
}

void TestPattern::FillArea(const PictureView& picture, const frame_stamp::Area& area, Colour colour) const {
    const std::array<std::uint8_t, 3> values{colour.luma, colour.blue, colour.red};
    for (std::size_t plane = 0; plane < values.size(); ++plane) {
        const int scale = plane == 0 ? 1 : 2;
        const int left = plane == 0 ? area.x : area.x / 2;
        const int top = plane == 0 ? area.y : area.y / 2;
        const int right = (area.x + area.width) / scale;
        const int bottom = (area.y + area.height) / scale;
        std::uint8_t* row =
            picture.planes[plane] + static_cast<std::ptrdiff_t>(top) * picture.strides[plane] + left;
        for (int y = top; y < bottom; ++y) {
            std::memset(row, values[plane], static_cast<std::size_t>(right - left));
            row += picture.strides[plane];
        }
    }
}

}  // namespace petrel
