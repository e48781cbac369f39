#include "webrtc_gstreamer/Resampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace webrtc_gstreamer {
namespace {

// Steps so small that the nearest one will do: half a step shifts a tone of 1 kHz by less than it is rounded.
constexpr int kPhases = 2048;
using Kernel = std::array<float, Resampler::kTaps>;

// Written as vectors, because compilers make three times as many instructions of the plain loop.
constexpr std::size_t kLanes = 4;
using Four [[gnu::vector_size(kLanes * sizeof(float))]] = float;

Four Load(const float* from) {
    Four loaded;
    std::memcpy(&loaded, from, sizeof loaded);
    return loaded;
}

float Sum(Four values) {
    return values[0] + values[1] + values[2] + values[3];
}

// From one sample to the next, both included.
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

}  // namespace

Resampler::Frame Resampler::Interpolate(Window left, Window right, double fraction) {
    // Never destroyed: the library's threads play on while a process ends.
    static const std::vector<Kernel>& kernels = *new const std::vector<Kernel>(MakeKernels());
    const int phase = std::clamp(static_cast<int>(fraction * kPhases + 0.5), 0, kPhases);
    const Kernel& kernel = kernels[static_cast<std::size_t>(phase)];
    Four lefts{};
    Four rights{};
    for (std::size_t tap = 0; tap < kTaps; tap += kLanes) {
        const Four weight = Load(&kernel[tap]);
        lefts += weight * Load(&left[tap]);
        rights += weight * Load(&right[tap]);
    }
    return {ToSample(Sum(lefts)), ToSample(Sum(rights))};
}

}  // namespace webrtc_gstreamer
