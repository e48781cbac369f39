#include "tests/unit/sound/SimulatedLink.h"

#include <cmath>
#include <numbers>

namespace tests {
namespace {

constexpr int kRate = 48'000;
constexpr double kSecondUs = 1e6;

}  // namespace

SimulatedLink::SimulatedLink(const Behaviour& toSimulate)
    : behaviour(toSimulate),
      usPerSecond(kSecondUs / (1 + toSimulate.partsPerMillion * 1e-6)),
      random(toSimulate.seed),
      second(kRate),
      concealed(kPacketFrames) {
    for (int frame = 0; frame < kRate; ++frame) {
        const double angle = 2 * std::numbers::pi * kToneHertz * frame / kRate;
        Frame& made = second[static_cast<std::size_t>(frame)];
        made.left = static_cast<std::int16_t>(std::lround(kToneHeight * std::sin(angle)));
        made.right = frame < kMarkFrames ? kMarkHeight : std::int16_t{0};
    }
    Schedule();
}

std::span<const SimulatedLink::Frame> SimulatedLink::Take() {
    const auto first = static_cast<std::size_t>(packet * kPacketFrames % kRate);
    std::span<const Frame> frames = std::span<const Frame>(second).subspan(first, kPacketFrames);
    if (lost) {
        for (std::size_t frame = 0; frame < concealed.size(); ++frame)
            concealed[frame] = {frames[frame].left, 0};
        frames = concealed;
    }
    ++packet;
    Schedule();
    return frames;
}

void SimulatedLink::Hold(std::int64_t fromUs, std::int64_t untilUs) {
    extraFromUs = static_cast<double>(fromUs);
    extraUntilUs = static_cast<double>(untilUs);
}

void SimulatedLink::Schedule() {
    const double sentUs = static_cast<double>(packet + 1) * kPacketFrames / kRate * usPerSecond;
    lost = random.Happens(behaviour.lossShare);
    const double comesUs = sentUs + behaviour.leastDelayUs + random.Exponential(behaviour.meanFurtherDelayUs);
    if (!lost) {
        arrivalUs = std::max(arrivalUs, AfterHolds(comesUs));
        return;
    }
    // The next packet shows that one is missing; it is given up when its time is over.
    ++lostPackets;
    const double shownUs = AfterHolds(comesUs + kPacketFrames * usPerSecond / kRate);
    arrivalUs = std::max({arrivalUs, shownUs, sentUs + behaviour.leastDelayUs + behaviour.concealedAfterUs});
}

double SimulatedLink::AfterHolds(double comesUs) {
    while (comesUs >= holdUntilUs) {
        holdFromUs = holdUntilUs + random.Exponential(behaviour.secondsBetweenHolds * kSecondUs);
        holdUntilUs = holdFromUs + random.Pareto(behaviour.shortestHoldUs, behaviour.holdExponent,
                                                 behaviour.longestHoldUs);
        ++holds;
    }
    if (comesUs >= holdFromUs) comesUs = holdUntilUs;
    if (comesUs >= extraFromUs && comesUs < extraUntilUs) comesUs = extraUntilUs;
    return comesUs;
}

double SimulatedLink::SinceMarkUs(double nowUs) const {
    return std::fmod(nowUs, usPerSecond);
}

}  // namespace tests
