#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "webrtc_gstreamer/Resampler.h"
#include "webrtc_gstreamer/StoreControl.h"

namespace webrtc_gstreamer {

// Between the sender's sound, which arrives in lumps on the sender's clock, and the playout, which takes
// 10 ms at a time on ours. Keeps the store at its target by playing up to 0.2 % faster or slower; a store
// that runs empty fades out and fills up again to a raised target, one that is far too full is cut with a
// cross-fade. No locks, no allocation after construction.
class AudioPlayout {
public:
    using Frame = Resampler::Frame;

    static constexpr int kBlockFrames = 480;
    static constexpr int kCapacityFrames = 32768;  // a power of two

    AudioPlayout();

    void Write(std::span<const Frame> frames);
    // Sound that was lost: the block goes on with silence once the store is empty.
    void Read(std::span<Frame, kBlockFrames> block);

    int StoredFrames() const { return static_cast<int>(stored); }
    double TargetFrames() const { return control.Target(); }
    double Speed() const { return speed; }
    std::int64_t Underruns() const { return underruns; }
    std::int64_t Cuts() const { return cuts; }

private:
    std::size_t Place(std::size_t index) const { return (first + index) % kCapacityFrames; }
    void Put(std::size_t place, float leftSample, float rightSample);
    bool MayBegin();
    Frame Next();
    void Drop(std::size_t count);
    void CutOut(std::size_t count);
    void Stop(Frame lastPlayed);
    void FadeOut(std::span<Frame> block);

    // The channels apart. The first frames stand again behind the last place, so that the resampler's windows
    // never wrap.
    std::vector<float> left;
    std::vector<float> right;
    std::size_t first = 0;  // oldest stored frame
    std::size_t stored = 0;
    StoreControl control{kBlockFrames, Resampler::kTaps + 1};
    bool playing = false;
    int fadeIn = 0;       // frames still to be faded in
    double fraction = 0;  // between two stored frames
    double speed = 1;
    Frame last;       // played
    int fadeOut = 0;  // frames still to be faded out, from `last`
    std::int64_t underruns = 0;
    std::int64_t cuts = 0;
};

}  // namespace webrtc_gstreamer
