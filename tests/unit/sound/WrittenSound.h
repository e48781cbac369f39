// What the playout gave, block by block: the last two seconds of it, how sharply it ever bent, and where its
// newest mark stands.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "webrtc_gstreamer/AudioPlayout.h"

namespace tests {

class WrittenSound {
public:
    using Frame = webrtc_gstreamer::AudioPlayout::Frame;

    void Add(std::span<const Frame, webrtc_gstreamer::AudioPlayout::kBlockFrames> block);

    std::int64_t Frames() const { return frames; }
    // Whether the block of 1600 frames that begins at `frame`, a multiple of it, is this one.
    bool Matches(std::int64_t frame, const std::uint8_t* block) const;

    // The largest second difference of the left channel since the last call.
    int TakeSharpestBend();
    // The frame at which the newest mark begins; -1: none yet.
    std::int64_t NewestMark() const { return newestMark; }

private:
    static constexpr std::int64_t kKeptFrames = 96'000;  // a multiple of both sizes of block

    std::vector<Frame> kept = std::vector<Frame>(kKeptFrames);
    std::int64_t frames = 0;
    int before = 0;
    int stepBefore = 0;
    int sharpestBend = 0;
    bool inMark = false;
    std::int64_t newestMark = -1;
};

}  // namespace tests
