// One direction of a link: takes packets and gives each back when it is due, if it is not lost. Knows no
// clock: every moment is given, in microseconds, and never goes back. The same seed gives the same fate to
// the same packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <vector>

#include "tests/faults/link/Conditions.h"

namespace faults {

using Packet = std::vector<std::byte>;

class LinkQueue {
public:
    struct Counts {
        std::int64_t taken = 0;
        std::int64_t lost = 0;      // by chance, or because the link is down
        std::int64_t overflow = 0;  // lost because the queue was full
        std::int64_t delivered = 0;
        std::int64_t latestUs = 0;  // the longest that a packet was taken away after it was due
    };

    explicit LinkQueue(std::uint64_t seed) : random(seed) {}

    void Change(const Conditions& changed);
    const Conditions& Now() const { return conditions; }

    void Put(Packet packet, std::int64_t nowUs);
    std::optional<std::int64_t> NextDueUs() const;
    // The packet that is due longest; nothing when none is due yet.
    std::optional<Packet> Take(std::int64_t nowUs);

    const Counts& Counted() const { return counts; }

private:
    bool Happens(double percent);
    void Schedule(const Packet& packet, std::int64_t sentUs);
    std::int64_t BacklogBytes(std::int64_t nowUs) const;

    Conditions conditions;
    std::mt19937_64 random;
    std::int64_t busyUntilUs = 0;                  // by the rate
    std::multimap<std::int64_t, Packet> underWay;  // by when it is due; equal ones in the order they came
    Counts counts;
};

}  // namespace faults
