#include "webrtc_gstreamer/AudioPlayout.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace webrtc_gstreamer {
namespace {

constexpr int kFadeFrames = 240;              // 5 ms
constexpr double kSmoothing = 0.01;           // per read: a time constant of one second
constexpr double kSpeedPerFrame = 1e-6;       // 480 frames too many: 0.05 % faster
constexpr double kRaisedTargetFrames = 960;   // after an underrun
constexpr double kTargetDecayPerRead = 0.02;  // 10 minutes back from 200 ms to 40 ms are fine
constexpr std::size_t kSlackFrames = 9600;    // above the target, before a cut

AudioPlayout::Frame Scaled(AudioPlayout::Frame frame, double gain) {
    return {static_cast<std::int16_t>(std::lround(frame.left * gain)),
            static_cast<std::int16_t>(std::lround(frame.right * gain))};
}

AudioPlayout::Frame Mixed(AudioPlayout::Frame from, AudioPlayout::Frame to, double share) {
    return {static_cast<std::int16_t>(std::lround(from.left * (1 - share) + to.left * share)),
            static_cast<std::int16_t>(std::lround(from.right * (1 - share) + to.right * share))};
}

}  // namespace

AudioPlayout::AudioPlayout() : ring(kCapacityFrames) {}

void AudioPlayout::Write(std::span<const Frame> frames) {
    if (frames.size() > ring.size()) frames = frames.last(ring.size());
    if (stored + frames.size() > ring.size()) {
        Drop(stored + frames.size() - ring.size());
        ++cuts;
        fadeIn = kFadeFrames;
    }
    for (const Frame& frame : frames) {
        At(stored) = frame;
        ++stored;
    }
}

void AudioPlayout::Read(std::span<Frame, kBlockFrames> block) {
    if (!playing) {
        if (fadeOut > 0 || static_cast<double>(stored) < target + Resampler::kTaps) return FadeOut(block);
        playing = true;
        fadeIn = kFadeFrames;
        smoothedStore = static_cast<double>(stored);
    }
    UpdateSpeed();
    for (std::size_t index = 0; index < block.size(); ++index) {
        if (stored < static_cast<std::size_t>(Resampler::kTaps) + 1) {
            Stop(index > 0 ? block[index - 1] : last);
            return FadeOut(block.subspan(index));
        }
        block[index] = Next();
    }
    last = block.back();
}

AudioPlayout::Frame AudioPlayout::Next() {
    Frame frame;
    if (fraction == 0) {
        frame = At(Resampler::kBefore);
    } else {
        std::array<Frame, Resampler::kTaps> window;
        for (std::size_t tap = 0; tap < window.size(); ++tap)
            window[tap] = At(tap);
        frame = Resampler::Interpolate(window, fraction);
    }
    fraction += speed;
    const double whole = std::floor(fraction);
    fraction -= whole;
    if (fraction < 1e-9) fraction = 0;
    Drop(static_cast<std::size_t>(whole));
    if (fadeIn > 0) frame = Scaled(frame, 1.0 - static_cast<double>(fadeIn--) / kFadeFrames);
    return frame;
}

void AudioPlayout::Drop(std::size_t count) {
    count = std::min(count, stored);
    first = (first + count) % kCapacityFrames;
    stored -= count;
}

void AudioPlayout::UpdateSpeed() {
    if (static_cast<double>(stored) > target + static_cast<double>(kSlackFrames)) {
        CutTo(static_cast<std::size_t>(target));
    }
    target = std::max<double>(kFirstTargetFrames, target - kTargetDecayPerRead);
    smoothedStore += (static_cast<double>(stored) - smoothedStore) * kSmoothing;
    // A lump of up to 20 ms that has just arrived is no reason to hurry, hence the smoothing.
    const double wanted = (smoothedStore - target) * kSpeedPerFrame;
    speed = 1 + std::clamp(wanted, -kHighestSpeedChange, kHighestSpeedChange);
}

void AudioPlayout::CutTo(std::size_t wanted) {
    if (stored <= wanted + kFadeFrames) return;
    const std::size_t dropped = stored - wanted;
    for (std::size_t index = 0; index < kFadeFrames; ++index) {
        const double share = static_cast<double>(index) / kFadeFrames;
        Frame& later = At(dropped + index);
        later = Mixed(At(index), later, share);
    }
    Drop(dropped);
    smoothedStore = static_cast<double>(stored);
    ++cuts;
}

void AudioPlayout::Stop(Frame lastPlayed) {
    last = lastPlayed;
    fadeOut = kFadeFrames;
    playing = false;
    ++underruns;
    target = std::min<double>(kHighestTargetFrames, target + kRaisedTargetFrames);
}

void AudioPlayout::FadeOut(std::span<Frame> block) {
    for (Frame& frame : block) {
        if (fadeOut > 0) --fadeOut;
        frame = Scaled(last, static_cast<double>(fadeOut) / kFadeFrames);
    }
}

}  // namespace webrtc_gstreamer
