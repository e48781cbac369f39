#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

namespace webrtc_gstreamer {

// Changes the speed of 16-bit stereo sound by a few parts in a thousand, without clicks when the ratio
// changes: a windowed sinc between samples, read at a position that only ever moves forward.
class Resampler {
public:
    static constexpr int kTaps = 16;
    // Frames before and after the position that take part in one output frame.
    static constexpr int kBefore = kTaps / 2 - 1;
    static constexpr int kAfter = kTaps / 2;

    struct Frame {
        std::int16_t left = 0;
        std::int16_t right = 0;
        friend bool operator==(const Frame&, const Frame&) = default;
    };
    // Samples of one channel, in units of 16-bit samples.
    using Window = std::span<const float, kTaps>;

    // One output frame at `fraction` (0 to 1) between the windows' [kBefore] and [kBefore + 1].
    static Frame Interpolate(Window left, Window right, double fraction);
    // The nearest 16-bit sample, halves away from zero.
    static std::int16_t ToSample(float value) {
        const float limited = std::clamp(value, -32768.0F, 32767.0F);
        return static_cast<std::int16_t>(static_cast<int>(limited + std::copysign(0.5F, limited)));
    }
};

}  // namespace webrtc_gstreamer
