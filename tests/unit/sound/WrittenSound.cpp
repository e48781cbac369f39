#include "tests/unit/sound/WrittenSound.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "tests/unit/sound/SimulatedLink.h"

namespace tests {

void WrittenSound::Add(std::span<const Frame, webrtc_gstreamer::AudioPlayout::kBlockFrames> block) {
    std::copy(block.begin(), block.end(), kept.begin() + frames % kKeptFrames);
    for (const Frame& frame : block) {
        const int step = frame.left - before;
        sharpestBend = std::max(sharpestBend, std::abs(step - stepBefore));
        stepBefore = step;
        before = frame.left;
        const bool marked = frame.right > SimulatedLink::kMarkHeight / 2;
        if (marked && !inMark) newestMark = frames + (&frame - block.data());
        inMark = marked;
    }
    frames += static_cast<std::int64_t>(block.size());
}

bool WrittenSound::Matches(std::int64_t frame, const std::uint8_t* block) const {
    constexpr std::int64_t kBlockFrames = 1600;
    if (frame < 0 || frame + kBlockFrames > frames) return false;
    const Frame* const expected = kept.data() + frame % kKeptFrames;
    return std::memcmp(expected, block, kBlockFrames * sizeof(Frame)) == 0;
}

int WrittenSound::TakeSharpestBend() {
    return std::exchange(sharpestBend, 0);
}

}  // namespace tests
