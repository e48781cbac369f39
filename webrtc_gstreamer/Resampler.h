#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace webrtc_gstreamer {

// Changes the speed of 16-bit stereo sound by a few parts in a thousand, without clicks when the ratio
// changes: a windowed sinc between samples, read at a position that only ever moves forward. At ratio 1
// from the start the output is the input.
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

    // One output frame at `fraction` (0 to 1) between window[kBefore] and window[kBefore + 1].
    static Frame Interpolate(std::span<const Frame, kTaps> window, double fraction);
};

}  // namespace webrtc_gstreamer
