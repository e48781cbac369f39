#include "apps/petrel/BeepTone.h"

#include <cmath>

#include "support/frame_stamp.h"

namespace petrel {
namespace {

namespace frame_stamp = support::frame_stamp;

constexpr double kFullTurn = 6.283185307179586;
constexpr double kFullScale = 32767.0;
constexpr std::int64_t kBeepFrames = frame_stamp::kFlashLengthUs * kAudioRate / 1'000'000;
static_assert(frame_stamp::kFlashPeriodUs == 1'000'000, "the table holds one second");

}  // namespace

BeepTone::BeepTone() {
    second.reserve(kAudioRate);
    for (int frame = 0; frame < kAudioRate; ++frame) {
        const double time = static_cast<double>(frame) / kAudioRate;
        double value =
            frame_stamp::kQuietToneLevel * std::sin(kFullTurn * frame_stamp::kQuietToneHertz * time);
        if (frame < kBeepFrames) {
            value += frame_stamp::kBeepLevel * std::sin(kFullTurn * frame_stamp::kBeepHertz * time);
        }
        second.push_back(static_cast<std::int16_t>(std::lround(value * kFullScale)));
    }
}

void BeepTone::NextBlock(std::int64_t firstFrame, std::int16_t* samples) {
    auto position = static_cast<std::size_t>(firstFrame % kAudioRate);
    for (int frame = 0; frame < kAudioBlockFrames; ++frame) {
        for (int channel = 0; channel < kAudioChannels; ++channel)
            *samples++ = second[position];
        if (++position == second.size()) position = 0;
    }
}

}  // namespace petrel
