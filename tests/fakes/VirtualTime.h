// Drives the main-thread queue that zThread uses with a clock that only moves when told to.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace fakes {

// The thread that makes it plays the main thread. Its end drops the jobs still queued and brings the
// steady clock back.
class VirtualTime {
public:
    static constexpr std::int64_t kStartUs = 1'000'000'000;

    VirtualTime();
    ~VirtualTime();
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

    // Runs the jobs that fall due meanwhile, also those that jobs post, each with the clock at its due
    // time. Throws when jobs keep posting without time moving on.
    void AdvanceBy(std::int64_t durationUs);
    // Runs what is due without moving the clock.
    void RunDue() { AdvanceBy(0); }

    std::int64_t NowUs() const { return nowUs->load(); }

private:
    std::shared_ptr<std::atomic<std::int64_t>> nowUs;
};

}  // namespace fakes
