#pragma once

#include <cstdint>
#include <optional>

namespace webrtc_gstreamer {

// When an alarm will next be wanted, from when it was before: pictures come at a steady pace. An alarm that
// is set where the one before it rings wakes a thread once, one that is set from elsewhere twice. A rule on
// times; it has no clock and no thread of its own.
class AlarmForecast {
public:
    // Before the time that is expected, so that an alarm that is wanted somewhat sooner is there as well.
    static constexpr std::int64_t kEarlyUs = 3'000;
    // What is further apart, or less, is no pace.
    static constexpr std::int64_t kShortestUs = 10'000;
    static constexpr std::int64_t kLongestUs = 100'000;

    // It is wanted for then, and was not wanted before.
    void Wanted(std::int64_t dueUs) {
        const std::int64_t distanceUs = dueUs - lastUs;
        lastUs = dueUs;
        wantedSince = true;
        if (distanceUs < kShortestUs || distanceUs > kLongestUs) return;
        paceUs = paceUs ? *paceUs + (distanceUs - *paceUs) / kMemory : distanceUs;
    }

    // For when to set it, as it rings without anything to do. Nothing when that cannot be told, or when it
    // was not wanted since it was last set in this way.
    std::optional<std::int64_t> AfterRinging(std::int64_t nowUs) {
        const bool wasWanted = wantedSince;
        wantedSince = false;
        if (!wasWanted || !paceUs || lastUs + *paceUs - kEarlyUs <= nowUs) return std::nullopt;
        return lastUs + *paceUs - kEarlyUs;
    }

private:
    static constexpr std::int64_t kMemory = 8;  // distances

    std::int64_t lastUs = -kLongestUs;
    bool wantedSince = false;
    std::optional<std::int64_t> paceUs;
};

}  // namespace webrtc_gstreamer
