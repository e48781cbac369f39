// A consumer of the host: pulls on the grid of 1600 frames and knows which of the written sound it hears.
#pragma once

#include <cstdint>

#include "renderers/nxWebRtcAudioRenderer.h"
#include "tests/unit/sound/SimulatedLink.h"
#include "tests/unit/sound/WrittenSound.h"

namespace tests {

class Listener {
public:
    Listener(std::uint64_t consumerKey, std::int64_t firstPullUs) : key(consumerKey), originUs(firstPullUs) {}

    // When the next block is due by the grid; pulling it later changes nothing of the time it is pulled for.
    std::int64_t NextPullUs() const;
    void Pull(nxWebRtcAudioRenderer& renderer, const WrittenSound& written, const SimulatedLink& link);

    // Blocks without any sound after the first sound: a resynchronisation gives seven or eight.
    std::int64_t SilentPulls() const { return silentPulls; }
    // Blocks that do not go on where the one before ended. What is heard stays in step with what was written
    // exactly as long as there is none.
    std::int64_t Jumps() const { return jumps; }
    std::int64_t Pulls() const { return pulls; }

    // Between the moment a mark was sent and the moment it is heard, since the last ForgetOffsets().
    struct Offsets {
        double smallestMs = 1e9;
        double largestMs = -1e9;
        double sumMs = 0;
        std::int64_t count = 0;
        double MeanMs() const { return sumMs / static_cast<double>(count); }
    };
    const Offsets& HeardOffsets() const { return offsets; }
    void ForgetOffsets() { offsets = {}; }

private:
    void Hear(const WrittenSound& written, const SimulatedLink& link, std::int64_t timeUs);

    const std::uint64_t key;
    const std::int64_t originUs;
    std::int64_t pulls = 0;
    std::int64_t position = -1;  // of the block to be heard next, in the written sound
    std::int64_t silentPulls = 0;
    std::int64_t jumps = 0;
    std::int64_t lastMark = -1;
    Offsets offsets;
};

}  // namespace tests
