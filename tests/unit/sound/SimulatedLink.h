// A phone's sound on its way to the playout: packets of 20 ms by the phone's clock, over a link that behaves
// like a busy Wi-Fi. Packets keep their order, as behind a jitter buffer. Times are microseconds of our
// clock.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "tests/unit/sound/Random.h"
#include "webrtc_gstreamer/AudioPlayout.h"

namespace tests {

class SimulatedLink {
public:
    using Frame = webrtc_gstreamer::AudioPlayout::Frame;

    // Left: a tone that never pauses. Right: silence, and at the beginning of each second a mark.
    static constexpr double kToneHertz = 997;
    static constexpr double kToneHeight = 8000;
    static constexpr std::int16_t kMarkHeight = 8000;
    static constexpr int kMarkFrames = 480;
    static constexpr int kPacketFrames = 960;

    struct Behaviour {
        double partsPerMillion = 0;  // by which the phone's clock is fast
        double leastDelayUs = 2'000;
        double meanFurtherDelayUs = 1'500;  // exponential, for each packet
        // The air is taken now and then: everything waits, and comes at once.
        double secondsBetweenHolds = 3;  // on average
        double shortestHoldUs = 8'000;
        double holdExponent = 1.5;
        double longestHoldUs = 60'000;
        // A lost packet is concealed when the jitter buffer gives it up; those behind it wait for that.
        double lossShare = 0.003;
        double concealedAfterUs = 40'000;
        std::uint64_t seed = 1;
    };

    explicit SimulatedLink(const Behaviour& toSimulate);

    std::int64_t NextArrivalUs() const { return static_cast<std::int64_t>(arrivalUs); }
    // The packet that arrives next. The tone of a lost one is concealed, a mark in it is not.
    std::span<const Frame> Take();
    // Nothing arrives in between; then everything at once.
    void Hold(std::int64_t fromUs, std::int64_t untilUs);

    // The way has become longer or shorter.
    void SetLeastDelayUs(double delayUs) { behaviour.leastDelayUs = delayUs; }

    // How long ago by our clock the newest mark was sent.
    double SinceMarkUs(double nowUs) const;
    std::int64_t LostPackets() const { return lostPackets; }
    std::int64_t Holds() const { return holds; }

private:
    void Schedule();
    double AfterHolds(double comesUs);

    Behaviour behaviour;
    const double usPerSecond;  // of the phone, by our clock
    Random random;
    std::vector<Frame> second;
    std::vector<Frame> concealed;
    std::int64_t packet = 0;
    double arrivalUs = 0;
    double holdFromUs = 0;
    double holdUntilUs = 0;
    double extraFromUs = -1;
    double extraUntilUs = -1;
    bool lost = false;
    std::int64_t lostPackets = 0;
    std::int64_t holds = 0;
};

}  // namespace tests
