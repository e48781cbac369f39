// The times at which a consumer pulls. They follow from a counter and never from a wall clock: a
// microsecond of jitter in the time of a sound block would make the source repeat or skip blocks.
#pragma once

#include <cstdint>

namespace host_runtime {

struct FrameRate {
    std::int64_t numerator = 30;
    std::int64_t denominator = 1;
};

inline constexpr std::int64_t kSoundBlockFrames = 1600;
inline constexpr std::int64_t kSoundRate = 48'000;

// Non-negative `dividend`; halves round up.
constexpr std::int64_t RoundedQuotient(std::int64_t dividend, std::int64_t divisor) {
    return (dividend + divisor / 2) / divisor;
}

// t(k) = t(0) + round(k * 100000 / 3) microseconds.
constexpr std::int64_t SoundPullTimeUs(std::int64_t originUs, std::int64_t block) {
    return originUs + RoundedQuotient(block * 100'000, 3);
}

constexpr std::int64_t PicturePullTimeUs(std::int64_t originUs, std::int64_t picture, FrameRate rate) {
    const std::int64_t ticks = 1'000'000 * rate.denominator;
    const std::int64_t whole = picture / rate.numerator;
    const std::int64_t rest = picture % rate.numerator;
    return originUs + whole * ticks + RoundedQuotient(rest * ticks, rate.numerator);
}

// The last pull of a timeline that is due at `nowUs`, at least `next`: pulls in between are left out.
template <class TimeOf>
constexpr std::int64_t LatestDue(std::int64_t next, std::int64_t nowUs, TimeOf timeOf) {
    while (timeOf(next + 1) <= nowUs)
        ++next;
    return next;
}

}  // namespace host_runtime
