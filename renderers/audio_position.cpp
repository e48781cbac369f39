#include "renderers/audio_position.h"

#include <cmath>

namespace audio_position {
namespace {

constexpr std::uint64_t kSamplesPerSecond = kSampleRate * kChannels;
constexpr std::uint64_t kUsPerSecond = 1'000'000;
constexpr double kSettlingSeconds = 0.2;

// Sums and products wrap, so that no time is undefined.
std::uint64_t Bits(std::int64_t value) {
    return static_cast<std::uint64_t>(value);
}

std::int64_t Elapsed(std::int64_t timeUs, std::int64_t sinceUs) {
    return static_cast<std::int64_t>(Bits(timeUs) - Bits(sinceUs));
}

}  // namespace

std::int64_t BaseFor(std::int64_t timeUs, std::uint64_t samplesWritten) {
    const std::uint64_t receivedUs = samplesWritten * kUsPerSecond / kSamplesPerSecond;
    return static_cast<std::int64_t>(Bits(timeUs) - receivedUs + Bits(kDelayUs));
}

std::int64_t FrameAt(std::int64_t timeUs, std::int64_t baseUs) {
    const auto product = static_cast<std::int64_t>(Bits(Elapsed(timeUs, baseUs)) * Bits(kSampleRate));
    const double blocks =
        static_cast<double>(product) / static_cast<double>(kUsPerSecond) / static_cast<double>(kBlockFrames);
    return static_cast<std::int64_t>(std::round(blocks) * static_cast<double>(kBlockFrames));
}

bool BlockIsWritten(std::int64_t frame, std::uint64_t samplesWritten) {
    if (frame < 0) return false;
    return Bits(frame) * Bits(kChannels) + Bits(kBlockFrames * kChannels) < samplesWritten;
}

bool IsSettling(std::int64_t timeUs, std::int64_t syncTimeUs) {
    return static_cast<double>(Elapsed(timeUs, syncTimeUs)) / static_cast<double>(kUsPerSecond) <=
           kSettlingSeconds;
}

}  // namespace audio_position
