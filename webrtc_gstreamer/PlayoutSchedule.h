#pragma once

#include <chrono>

namespace webrtc_gstreamer {

// When blocks of sound are due: every 10 ms by absolute times, so that the number of blocks follows the clock
// however late whoever plays them wakes up.
class PlayoutSchedule {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    static constexpr std::chrono::milliseconds kPeriod{10};
    // After a longer stop (a suspended machine) the missed blocks are not made up for.
    static constexpr std::chrono::seconds kLongestCatchUp{1};

    void Begin(TimePoint now) { due = now + kPeriod; }
    TimePoint Due() const { return due; }
    // The due block is played at `now`.
    void Play(TimePoint now) { due = now - due > kLongestCatchUp ? now + kPeriod : due + kPeriod; }

private:
    TimePoint due{};
};

}  // namespace webrtc_gstreamer
