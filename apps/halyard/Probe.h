// Reads the test pattern back: how old pictures are when they are pulled, which are missing, and how far the
// sound is behind the picture.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "apps/halyard/Histogram.h"

class nxBuffer2;

namespace halyard {

class Probe {
public:
    Probe();

    // A new picture, pulled for `presentationTimeUs`; `nowUs` is the steady clock, which the sender of the
    // pattern shares. True when it shows a frame that was already seen.
    bool OnNewPicture(nxBuffer2& picture, std::int64_t presentationTimeUs, std::int64_t nowUs);
    // A block of interleaved stereo samples at 48 kHz.
    void OnSound(std::span<const std::int16_t> samples, std::int64_t presentationTimeUs);

    const Histogram& LatencyMs() const { return latencies; }
    // Of the last picture; nothing when it bore no stamp.
    std::optional<double> LastLatencyMs() const { return lastLatencyMs; }
    std::int64_t StampedPictures() const { return stampedPictures; }
    std::int64_t SkippedPictures() const { return skippedPictures; }
    std::int64_t RepeatedPictures() const { return repeatedPictures; }

    // Beep minus flash, over all pairs.
    struct SoundOffset {
        double medianMs = 0;
        double meanMs = 0;
        double largestDeviationMs = 0;  // of a pair from the mean, either way
    };
    std::optional<SoundOffset> SoundOffsets() const;  // nothing before the first pair

private:
    void PairFlashAndBeep();

    Histogram latencies;
    Histogram offsets;
    double offsetSumMs = 0;
    double smallestOffsetMs = 0;
    double largestOffsetMs = 0;
    std::int64_t stampedPictures = 0;
    std::int64_t skippedPictures = 0;
    std::int64_t repeatedPictures = 0;
    std::optional<std::uint32_t> lastFrame;
    std::optional<double> lastLatencyMs;

    bool flashing = true;  // a flash that is already on when the first picture comes does not count
    std::optional<std::int64_t> flashUs;
    std::optional<std::int64_t> beepUs;
    std::int64_t quietSamples = 0;
};

}  // namespace halyard
