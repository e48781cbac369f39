// When a decoded picture is handed out.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace webrtc_gstreamer {

// A picture that was late is soon followed by the next one, which was not; whoever pulls on a grid then sees
// only the second. So a picture follows the one before by three fifths of the time that lay between them at
// the sender, 20 ms at most: a host that pulls 60 times a second sees each of 30. What is on time waits for
// nothing, and what waits makes up for it with the next pictures. For one thread.
class PictureSpacing {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;
    static constexpr std::chrono::milliseconds kLongest{20};

    // When a picture that is `ready` now is to be handed out. Its stamp is that of the stream's clock;
    // without one, and after a stamp that is no earlier, that is at once.
    TimePoint Due(TimePoint ready, std::optional<Duration> stamp) const {
        if (!stamp || !lastStamp) return ready;
        return std::max(ready, lastHandedOut + std::min<Duration>((*stamp - *lastStamp) * 3 / 5, kLongest));
    }
    void HandedOut(TimePoint when, std::optional<Duration> stamp) {
        lastHandedOut = when;
        lastStamp = stamp;
    }

private:
    std::optional<Duration> lastStamp;
    TimePoint lastHandedOut{};
};

}  // namespace webrtc_gstreamer
