#include "webrtc_gstreamer/Resampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace webrtc_gstreamer {
namespace {

constexpr int kPhases = 256;
using Kernel = std::array<float, Resampler::kTaps>;

// One kernel per phase, and one more so that the next phase always exists.
std::vector<Kernel> MakeKernels() {
    std::vector<Kernel> kernels(kPhases + 1);
    for (int phase = 0; phase <= kPhases; ++phase) {
        const double fraction = static_cast<double>(phase) / kPhases;
        std::array<double, Resampler::kTaps> weights{};
        double sum = 0;
        for (int tap = 0; tap < Resampler::kTaps; ++tap) {
            const double x = tap - Resampler::kBefore - fraction;
            const double sinc =
                std::abs(x) < 1e-9 ? 1.0 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
            const double reach = Resampler::kTaps / 2.0;
            const double window = std::abs(x) >= reach
                                      ? 0.0
                                      : 0.42 + 0.5 * std::cos(std::numbers::pi * x / reach) +
                                            0.08 * std::cos(2 * std::numbers::pi * x / reach);
            weights[static_cast<std::size_t>(tap)] = sinc * window;
            sum += sinc * window;
        }
        Kernel& kernel = kernels[static_cast<std::size_t>(phase)];
        for (std::size_t tap = 0; tap < weights.size(); ++tap)
            kernel[tap] = static_cast<float>(weights[tap] / sum);
    }
    return kernels;
}

std::int16_t ToSample(float value) {
    return static_cast<std::int16_t>(std::lrintf(std::clamp(value, -32768.0F, 32767.0F)));
}

}  // namespace

Resampler::Frame Resampler::Interpolate(std::span<const Frame, kTaps> window, double fraction) {
    static const std::vector<Kernel> kernels = MakeKernels();
    const double position = std::clamp(fraction, 0.0, 1.0) * kPhases;
    const int phase = std::min(static_cast<int>(position), kPhases - 1);
    const auto between = static_cast<float>(position - phase);
    const Kernel& first = kernels[static_cast<std::size_t>(phase)];
    const Kernel& second = kernels[static_cast<std::size_t>(phase) + 1];
    float left = 0;
    float right = 0;
    for (std::size_t tap = 0; tap < window.size(); ++tap) {
        const float weight = first[tap] + between * (second[tap] - first[tap]);
        left += weight * static_cast<float>(window[tap].left);
        right += weight * static_cast<float>(window[tap].right);
    }
    return {ToSample(left), ToSample(right)};
}

}  // namespace webrtc_gstreamer
