#include "apps/halyard/Probe.h"

#include <algorithm>
#include <cstdlib>

#include "apps/halyard/PictureView.h"
#include "support/frame_stamp.h"

namespace halyard {
namespace {

namespace stamp = support::frame_stamp;

constexpr int kBrightLuma = 126;
constexpr int kLoudSample = 3'277;               // a tenth of full scale: between quiet tone and beep
constexpr std::int64_t kQuietBefore = 48 * 300;  // samples; a beep begins after at least so much quiet
constexpr std::int64_t kPairWithinUs = stamp::kFlashPeriodUs / 2;
constexpr double kLongestLatencyMs = 10'000.0;

}  // namespace

Probe::Probe() : latencies(0, kLongestLatencyMs), offsets(-500, 500) {}

bool Probe::OnNewPicture(nxBuffer2& picture, std::int64_t presentationTimeUs, std::int64_t nowUs) {
    lastLatencyMs.reset();
    const PictureView view(picture);
    if (!view.IsUsable()) return false;
    const auto lumaAt = [&view](int x, int y) { return view.LumaAt(x, y); };
    const auto read = stamp::Read(view.Width(), view.Height(), lumaAt);
    if (!read) return false;
    ++stampedPictures;

    const bool bright = stamp::MeanLuma(stamp::FlashArea(view.Width(), view.Height()), lumaAt) >= kBrightLuma;
    if (bright && !flashing) {
        flashUs = presentationTimeUs;
        PairFlashAndBeep();
    }
    flashing = bright;

    const bool repeated = lastFrame == read->frameNumber;
    if (repeated) {
        ++repeatedPictures;
        return true;
    }
    // A smaller number is another run of the sender, not a gap.
    if (lastFrame && read->frameNumber > *lastFrame) skippedPictures += read->frameNumber - *lastFrame - 1;
    lastFrame = read->frameNumber;
    lastLatencyMs = static_cast<double>(stamp::AgeUs(*read, nowUs)) / 1000.0;
    latencies.Add(*lastLatencyMs);
    return false;
}

void Probe::OnSound(std::span<const std::int16_t> samples, std::int64_t presentationTimeUs) {
    const std::size_t frames = samples.size() / 2;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        if (std::abs(int{samples[frame * 2]}) < kLoudSample) {
            ++quietSamples;
            continue;
        }
        if (quietSamples >= kQuietBefore) {
            beepUs = presentationTimeUs + static_cast<std::int64_t>(frame) * 1'000'000 / 48'000;
            PairFlashAndBeep();
        }
        quietSamples = 0;
    }
}

void Probe::PairFlashAndBeep() {
    if (!flashUs || !beepUs || std::llabs(*beepUs - *flashUs) >= kPairWithinUs) return;
    const double offsetMs = static_cast<double>(*beepUs - *flashUs) / 1000.0;
    const bool first = offsets.Count() == 0;
    smallestOffsetMs = first ? offsetMs : std::min(smallestOffsetMs, offsetMs);
    largestOffsetMs = first ? offsetMs : std::max(largestOffsetMs, offsetMs);
    offsetSumMs += offsetMs;
    offsets.Add(offsetMs);
    flashUs.reset();
    beepUs.reset();
}

std::optional<Probe::SoundOffset> Probe::SoundOffsets() const {
    const std::optional<double> median = offsets.Percentile(50);
    if (!median) return std::nullopt;
    const double mean = offsetSumMs / static_cast<double>(offsets.Count());
    return SoundOffset{*median, mean, std::max(largestOffsetMs - mean, mean - smallestOffsetMs)};
}

}  // namespace halyard
