#include "tests/e2e/browser/ReceivedMedia.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace browser {
namespace {

constexpr double kSampleRate = 48'000;
constexpr std::size_t kWindow = 1920;  // 40 ms

std::uint8_t ByteAt(const ReceivedPicture& picture, int x, int y, int offset) {
    const auto row = static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) * 2;
    return picture.bytes[row + static_cast<std::size_t>(x) * 2 + static_cast<std::size_t>(offset)];
}

double MedianOf(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

int ReceivedPicture::LumaAt(int x, int y) const {
    return ByteAt(*this, x, y, 1);
}

ReceivedPicture CopyPicture(const std::uint8_t* pixels, int bytesPerRow, int width, int height) {
    const auto used = static_cast<std::size_t>(width) * 2;
    ReceivedPicture picture{width, height,
                            std::vector<std::uint8_t>(used * static_cast<std::size_t>(height))};
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(y) * bytesPerRow;
        std::memcpy(picture.bytes.data() + static_cast<std::size_t>(y) * used, pixels + from, used);
    }
    return picture;
}

std::optional<std::uint32_t> FrameNumberOf(const ReceivedPicture& picture) {
    const auto stamp = support::frame_stamp::Read(picture.width, picture.height,
                                                  [&picture](int x, int y) { return picture.LumaAt(x, y); });
    if (!stamp || stamp->senderTimeUs != 0 || stamp->frameNumber >= kCameraFrames) return std::nullopt;
    return stamp->frameNumber;
}

Colour MeanColour(const ReceivedPicture& picture, const Area& area) {
    const auto scaledX = [&picture](int x) { return x * picture.width / kCameraWidth; };
    const auto scaledY = [&picture](int y) { return y * picture.height / kCameraHeight; };
    const int left = scaledX(area.x + area.width / 8) & ~1;
    const int right = scaledX(area.x + area.width - area.width / 8) & ~1;
    const int top = scaledY(area.y + area.height / 8);
    const int bottom = scaledY(area.y + area.height - area.height / 8);

    long luma = 0;
    long blueDifference = 0;
    long redDifference = 0;
    long pairs = 0;
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; x += 2) {
            blueDifference += ByteAt(picture, x, y, 0);
            luma += ByteAt(picture, x, y, 1) + ByteAt(picture, x, y, 3);
            redDifference += ByteAt(picture, x, y, 2);
            ++pairs;
        }
    }
    if (pairs == 0) return {};
    return {static_cast<int>(luma / (2 * pairs)), static_cast<int>(blueDifference / pairs),
            static_cast<int>(redDifference / pairs)};
}

double LumaSignalToNoise(const ReceivedPicture& picture, std::uint32_t frameNumber) {
    if (picture.width != kCameraWidth || picture.height != kCameraHeight) return 0;
    const CameraPicture expected = MakeCameraPicture(frameNumber);
    double squares = 0;
    for (std::size_t index = 0; index < expected.luma.size(); ++index) {
        const double difference = static_cast<double>(picture.bytes[2 * index + 1]) - expected.luma[index];
        squares += difference * difference;
    }
    const double mean = squares / static_cast<double>(expected.luma.size());
    return mean > 0 ? 10 * std::log10(255.0 * 255.0 / mean) : 100;
}

// Goertzel's algorithm over the whole signal.
Tone MeasureTone(std::span<const std::int16_t> samples, double hertz) {
    const double factor = 2 * std::cos(2 * std::numbers::pi * hertz / kSampleRate);
    double last = 0;
    double beforeLast = 0;
    double energy = 0;
    for (const std::int16_t sample : samples) {
        const double value = sample / 32767.0;
        const double next = value + factor * last - beforeLast;
        beforeLast = last;
        last = next;
        energy += value * value;
    }
    if (energy <= 0) return {};
    const double power = last * last + beforeLast * beforeLast - factor * last * beforeLast;
    const auto count = static_cast<double>(samples.size());
    return {2 * std::sqrt(power) / count, 2 * power / (count * energy)};
}

Tone MeasureSteadyTone(std::span<const std::int16_t> samples, double hertz) {
    std::vector<double> levels;
    std::vector<double> shares;
    for (; samples.size() >= kWindow; samples = samples.subspan(kWindow)) {
        const Tone tone = MeasureTone(samples.first(kWindow), hertz);
        levels.push_back(tone.level);
        shares.push_back(tone.share);
    }
    return {MedianOf(std::move(levels)), MedianOf(std::move(shares))};
}

}  // namespace browser
