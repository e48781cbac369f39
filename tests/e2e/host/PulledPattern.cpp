#include "tests/e2e/host/PulledPattern.h"

#include <cmath>
#include <cstdlib>

#include "host/media/nxBuffer2.h"

namespace e2e {
namespace {

constexpr int kLoudSample = 3'277;
constexpr std::int64_t kQuietBeforeBeep = 48 * 300;

}  // namespace

void PulledPattern::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!picture.isNew) return;
    nxBuffer2& buffer = *picture.buffer;
    const int width = buffer.GetDisplayWidth();
    const int height = buffer.GetDisplayHeight();
    const std::int32_t bytesPerRow = buffer.AsInt32(FourCC("mbpr"), 0);
    const std::uint8_t* data = buffer.Data();
    const auto stamp = support::frame_stamp::Read(width, height, [data, bytesPerRow](int x, int y) {
        return int{data[std::int64_t{y} * bytesPerRow + x * 2 + 1]};
    });

    const support::MutexLock lock(mutex);
    counts.width = width;
    counts.height = height;
    ++counts.newPictures;
    if (!stamp) return;
    ++counts.stampedPictures;
    if (!counts.lastStamp || counts.lastStamp->frameNumber != stamp->frameNumber) ++counts.distinctFrames;
    if (counts.lastStamp && stamp->frameNumber < counts.lastStamp->frameNumber) ++counts.framesOutOfOrder;
    counts.lastStamp = stamp;
}

void PulledPattern::OnSound(const host_runtime::PulledSound& sound) {
    const auto* samples = reinterpret_cast<const std::int16_t*>(sound.buffer->Data());
    const std::size_t frames = sound.buffer->DataSize() / 4;
    double squares = 0;
    const support::MutexLock lock(mutex);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const int sample = samples[frame * 2];
        squares += static_cast<double>(sample) * sample;
        if (std::abs(sample) < kLoudSample) {
            ++quietFrames;
            continue;
        }
        if (quietFrames >= kQuietBeforeBeep) {
            const std::int64_t beepUs =
                sound.presentationTimeUs + static_cast<std::int64_t>(frame) * 1'000'000 / 48'000;
            if (lastBeepUs) counts.beepPeriodUs = beepUs - *lastBeepUs;
            lastBeepUs = beepUs;
            ++counts.beeps;
        }
        quietFrames = 0;
    }
    ++counts.soundBlocks;
    const double expected = support::frame_stamp::kQuietToneLevel * 32'768.0 / std::sqrt(2.0);
    const double level = std::sqrt(squares / static_cast<double>(frames));
    if (level > expected * 0.7 && level < expected * 1.4) ++counts.quietToneBlocks;
}

PulledPattern::Counts PulledPattern::Now() const {
    const support::MutexLock lock(mutex);
    return counts;
}

}  // namespace e2e
