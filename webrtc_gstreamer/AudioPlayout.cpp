#include "webrtc_gstreamer/AudioPlayout.h"

#include <algorithm>
#include <cmath>

namespace webrtc_gstreamer {
namespace {

constexpr int kFadeFrames = 240;  // 5 ms
constexpr std::size_t kTaps = Resampler::kTaps;

AudioPlayout::Frame Scaled(AudioPlayout::Frame frame, double gain) {
    return {static_cast<std::int16_t>(std::lround(frame.left * gain)),
            static_cast<std::int16_t>(std::lround(frame.right * gain))};
}

}  // namespace

AudioPlayout::AudioPlayout() : left(kCapacityFrames + kTaps), right(kCapacityFrames + kTaps) {}

void AudioPlayout::Write(std::span<const Frame> frames) {
    if (frames.size() > kCapacityFrames) frames = frames.last(kCapacityFrames);
    if (stored + frames.size() > kCapacityFrames) {
        Drop(stored + frames.size() - kCapacityFrames);
        ++cuts;
        fadeIn = kFadeFrames;
    }
    std::size_t place = Place(stored);
    for (const Frame& frame : frames) {
        Put(place, frame.left, frame.right);
        place = (place + 1) % kCapacityFrames;
    }
    stored += frames.size();
}

void AudioPlayout::Put(std::size_t place, float leftSample, float rightSample) {
    left[place] = leftSample;
    right[place] = rightSample;
    if (place >= kTaps) return;
    left[place + kCapacityFrames] = leftSample;
    right[place + kCapacityFrames] = rightSample;
}

void AudioPlayout::Read(std::span<Frame, kBlockFrames> block) {
    if (!playing && !MayBegin()) return FadeOut(block);
    speed = control.SpeedFor(static_cast<double>(stored));
    if (const double excess = control.Excess(static_cast<double>(stored)); excess > 0)
        CutOut(static_cast<std::size_t>(excess));
    for (std::size_t index = 0; index < block.size(); ++index) {
        if (stored < kTaps + 1) {
            Stop(index > 0 ? block[index - 1] : last);
            return FadeOut(block.subspan(index));
        }
        block[index] = Next();
    }
    last = block.back();
}

// What has come above the target meanwhile is left out: nothing of it has been heard yet.
bool AudioPlayout::MayBegin() {
    if (fadeOut > 0) return false;
    const auto wanted = static_cast<std::size_t>(control.BeginAt());
    if (stored < wanted) return false;
    Drop(stored - wanted);
    control.Begin();
    playing = true;
    fadeIn = kFadeFrames;
    return true;
}

AudioPlayout::Frame AudioPlayout::Next() {
    Frame frame;
    if (fraction == 0) {
        const std::size_t place = first + Resampler::kBefore;
        frame = {Resampler::ToSample(left[place]), Resampler::ToSample(right[place])};
    } else {
        frame = Resampler::Interpolate(Resampler::Window(left.data() + first, kTaps),
                                       Resampler::Window(right.data() + first, kTaps), fraction);
    }
    fraction += speed;
    const auto whole = static_cast<std::size_t>(fraction);
    fraction -= static_cast<double>(whole);
    Drop(whole);
    if (fadeIn > 0) frame = Scaled(frame, 1.0 - static_cast<double>(fadeIn--) / kFadeFrames);
    return frame;
}

void AudioPlayout::Drop(std::size_t count) {
    count = std::min(count, stored);
    first = Place(count);
    stored -= count;
}

void AudioPlayout::CutOut(std::size_t count) {
    if (stored <= count + kFadeFrames) return;
    for (std::size_t index = 0; index < kFadeFrames; ++index) {
        const float share = static_cast<float>(index) / kFadeFrames;
        const std::size_t from = Place(index);
        const std::size_t to = Place(count + index);
        Put(to, left[from] + (left[to] - left[from]) * share,
            right[from] + (right[to] - right[from]) * share);
    }
    Drop(count);
    control.LeaveOut(static_cast<double>(count));
    ++cuts;
}

void AudioPlayout::Stop(Frame lastPlayed) {
    last = lastPlayed;
    fadeOut = kFadeFrames;
    playing = false;
    ++underruns;
    control.RunEmpty();
}

void AudioPlayout::FadeOut(std::span<Frame> block) {
    for (Frame& frame : block) {
        if (fadeOut > 0) --fadeOut;
        frame = Scaled(last, static_cast<double>(fadeOut) / kFadeFrames);
    }
}

}  // namespace webrtc_gstreamer
