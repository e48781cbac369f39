// How a link behaves in one direction, and the commands that change it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace faults {

struct Conditions {
    bool up = true;  // down: what comes is lost, and so is what is under way
    double lossPercent = 0;
    std::int64_t delayUs = 0;
    std::int64_t jitterUs =
        0;  // added to the delay: even between minus and plus so much, each packet for itself
    double reorderPercent = 0;           // held back by kHeldBackUs, so that others pass
    double duplicatePercent = 0;         // come twice
    std::int64_t rateKbits = 0;          // 0: no limit
    std::size_t queueBytes = 64 * 1024;  // waiting for the rate; what does not fit is lost

    static constexpr std::int64_t kHeldBackUs = 10'000;
};

// Applies one command: "up", "down", "loss P", "delay MS", "jitter MS", "reorder P", "duplicate P", "rate
// KBITS" or "queue BYTES". False when it is none; then nothing has changed.
bool Apply(const std::string& command, Conditions& conditions);

}  // namespace faults
