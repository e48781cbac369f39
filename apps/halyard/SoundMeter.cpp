#include "apps/halyard/SoundMeter.h"

#include <cmath>

namespace halyard {

void SoundMeter::Add(std::span<const std::int16_t> samples) {
    std::int64_t blockSquares = 0;
    for (const std::int16_t sample : samples)
        blockSquares += std::int64_t{sample} * sample;
    ++blocks;
    if (blockSquares == 0) ++silentBlocks;
    squares += static_cast<double>(blockSquares);
    samplesSinceLevel += static_cast<std::int64_t>(samples.size());
}

std::optional<double> SoundMeter::TakeLevel() {
    constexpr double kFullScale = 32'768.0;
    std::optional<double> level;
    if (squares > 0) {
        const double mean = squares / static_cast<double>(samplesSinceLevel);
        level = 10.0 * std::log10(mean / (kFullScale * kFullScale));
    }
    squares = 0;
    samplesSinceLevel = 0;
    return level;
}

}  // namespace halyard
