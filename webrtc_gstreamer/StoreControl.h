#pragma once

#include <array>
#include <cstddef>

namespace webrtc_gstreamer {

// How much sound waits between the sender's clock and ours, and how fast it is played so that it stays that
// way. The store aims at what it needs on average to outlast the worst dip of the last ten minutes, and 1.7
// times the worst dip of most minutes: little on a calm link, more on one that delivers in lumps. All amounts
// are frames; asked once per block of 10 ms.
class StoreControl {
public:
    static constexpr double kFirstTarget = 1440;    // 30 ms
    static constexpr double kHighestTarget = 9600;  // 200 ms
    static constexpr double kHighestSpeedChange = 0.002;

    // What a block of `blockFrames` takes besides itself: frames that the resampler looks at.
    StoreControl(int blockFrames, int lookAhead);

    // How much shall be stored when playing begins: just after a packet has come.
    double BeginAt() const;
    void Begin();
    // Before a block is taken from the store; the speed to take it with.
    double SpeedFor(double stored);
    // A shift too large for small steps of the speed: so many frames are to be left out. 0: none.
    double Excess(double stored) const;
    void LeaveOut(double frames) { mean -= frames; }
    // The store could not give the block: it dipped by all of its mean at least.
    void RunEmpty();

    double Target() const { return target; }

private:
    static constexpr std::size_t kDipSpans = 10;

    void NoteDip(double dip);
    void UpdateTarget();

    const double block;
    const double leastRest;  // what must be left at the bottom of a dip
    double mean = 0;         // of the store, seen before each block
    double speed = 1;
    double target = kFirstTarget;
    std::array<double, kDipSpans> worstDips{};  // below the mean, one per minute
    std::size_t span = 0;
    int blocksInSpan = 0;
};

}  // namespace webrtc_gstreamer
