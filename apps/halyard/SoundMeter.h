// How loud a source is, and how much of its sound is nothing at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace halyard {

class SoundMeter {
public:
    // One block of interleaved samples.
    void Add(std::span<const std::int16_t> samples);

    std::int64_t Blocks() const { return blocks; }
    std::int64_t SilentBlocks() const { return silentBlocks; }  // all samples zero
    bool HasSound() const { return blocks > silentBlocks; }

    // The mean level since the last call in dB of full scale; nothing when all samples were zero.
    std::optional<double> TakeLevel();

private:
    std::int64_t blocks = 0;
    std::int64_t silentBlocks = 0;
    double squares = 0;
    std::int64_t samplesSinceLevel = 0;
};

}  // namespace halyard
