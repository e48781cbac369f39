// One process that hands descriptions to live peer connections, one after another, and counts what becomes of
// them where the parent can read it after the process's end.
#pragma once

#include <cstdint>

namespace sdpabort {

constexpr std::uint64_t kUnmutatedEvery = 25;
constexpr std::uint64_t kLiveEvery = 40;  // with a phone at the far end, and media
constexpr std::uint64_t kOfferEvery = 10;

// Lies in memory shared with the parent.
struct Tally {
    std::uint64_t current = 0;
    std::uint64_t taken = 0;
    std::uint64_t refused = 0;
    std::uint64_t withPictures = 0;     // of the live ones
    std::uint64_t notSet = 0;           // taken, but the engine did not become stable
    std::uint64_t unanswered = 0;       // neither taken nor refused in time
    std::uint64_t goodOnesRefused = 0;  // must be 0
    std::uint64_t criticals = 0;        // complaints of the libraries about how they are used
    char text[512 * 1024] = {};         // the description under way
};

// Tries the numbers from `tally.current` up to `end`.
void RunTrials(std::uint64_t seed, std::uint64_t end, Tally& tally);

}  // namespace sdpabort
