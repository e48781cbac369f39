#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "webrtc_gstreamer/Resampler.h"

namespace webrtc_gstreamer {

// Between the sender's sound, which arrives in lumps on the sender's clock, and the playout, which takes
// 10 ms at a time on ours. Keeps the store near a target by playing up to 0.2 % faster or slower; a store
// that runs empty fades out and fills up again to a raised target, one that overflows is cut with a
// cross-fade. No locks, no allocation after construction.
class AudioPlayout {
public:
    using Frame = Resampler::Frame;

    static constexpr int kBlockFrames = 480;
    static constexpr int kFirstTargetFrames = 1920;    // 40 ms
    static constexpr int kHighestTargetFrames = 9600;  // 200 ms
    static constexpr int kCapacityFrames = 65536;      // a power of two
    static constexpr double kHighestSpeedChange = 0.002;

    AudioPlayout();

    void Write(std::span<const Frame> frames);
    // Sound that was lost: the block goes on with silence once the store is empty.
    void Read(std::span<Frame, kBlockFrames> block);

    int StoredFrames() const { return static_cast<int>(stored); }
    double Speed() const { return speed; }
    std::int64_t Underruns() const { return underruns; }
    std::int64_t Cuts() const { return cuts; }

private:
    Frame& At(std::size_t index) { return ring[(first + index) % kCapacityFrames]; }
    Frame Next();
    void Drop(std::size_t count);
    void UpdateSpeed();
    void CutTo(std::size_t target);
    void Stop(Frame lastPlayed);
    void FadeOut(std::span<Frame> block);

    std::vector<Frame> ring;
    std::size_t first = 0;  // oldest stored frame
    std::size_t stored = 0;
    bool playing = false;
    int fadeIn = 0;       // frames still to be faded in
    double fraction = 0;  // between two stored frames
    double speed = 1;
    double smoothedStore = 0;  // seen at each read
    double target = kFirstTargetFrames;
    Frame last;       // played
    int fadeOut = 0;  // frames still to be faded out, from `last`
    std::int64_t underruns = 0;
    std::int64_t cuts = 0;
};

}  // namespace webrtc_gstreamer
