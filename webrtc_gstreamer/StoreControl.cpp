#include "webrtc_gstreamer/StoreControl.h"

#include <algorithm>

namespace webrtc_gstreamer {
namespace {

constexpr double kHalfPacket = 480;  // packets of 20 ms: the store saws by as much around its mean
// Above the worst dip so far, for one that is worse: 10 ms.
constexpr double kLeastMargin = 480;
// Where dips are deep they also vary more: so many times the worst of most minutes.
constexpr double kTypicalShare = 1.7;
constexpr double kSmoothing = 0.002;        // per block: a time constant of five seconds
constexpr double kSpeedPerFrame = 2e-6;     // 480 frames too many: 0.1 % faster
constexpr int kBlocksPerSpan = 6000;        // a minute
constexpr double kMostAboveAtOnce = 9600;   // 200 ms
constexpr double kMostAboveInMean = 2'880;  // 60 ms: half a minute at the highest speed

}  // namespace

StoreControl::StoreControl(int blockFrames, int lookAhead)
    : block(blockFrames), leastRest(blockFrames + lookAhead) {
    // Nothing is known of the link yet.
    worstDips[span] = kFirstTarget - leastRest - kLeastMargin;
}

double StoreControl::BeginAt() const {
    return target + kHalfPacket / 2;
}

void StoreControl::Begin() {
    mean = target;
    speed = 1;
}

double StoreControl::SpeedFor(double stored) {
    // What the speed itself changes is known and no news of the link.
    mean += (stored - mean) * kSmoothing - block * (speed - 1);
    NoteDip(mean - stored);
    speed = 1 + std::clamp((mean - target) * kSpeedPerFrame, -kHighestSpeedChange, kHighestSpeedChange);
    return speed;
}

double StoreControl::Excess(double stored) const {
    if (stored > target + kMostAboveAtOnce) return stored - target;
    if (mean > target + kMostAboveInMean && stored > mean - target + leastRest + kLeastMargin)
        return mean - target;
    return 0;
}

void StoreControl::RunEmpty() {
    NoteDip(mean);
}

void StoreControl::NoteDip(double dip) {
    if (++blocksInSpan == kBlocksPerSpan) {
        blocksInSpan = 0;
        span = (span + 1) % worstDips.size();
        worstDips[span] = 0;
        UpdateTarget();
    }
    if (dip <= worstDips[span]) return;
    worstDips[span] = dip;
    UpdateTarget();
}

void StoreControl::UpdateTarget() {
    std::array<double, kDipSpans> dips = worstDips;
    std::sort(dips.begin(), dips.end());
    // Minutes that have not been yet count as none.
    const auto seen = std::upper_bound(dips.begin(), dips.end(), 0.0);
    const auto typical = seen + (dips.end() - seen) / 2;
    const double needed =
        typical == dips.end() ? 0 : std::max(dips.back() + kLeastMargin, *typical * kTypicalShare);
    target = std::min(leastRest + std::max(needed, kLeastMargin), kHighestTarget);
}

}  // namespace webrtc_gstreamer
