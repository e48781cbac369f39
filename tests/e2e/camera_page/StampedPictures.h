// What the host pulled of a phone whose pictures tell their number and when they were painted.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"

namespace camera_page {

class StampedPictures final : public host_runtime::PullConsumer {
public:
    struct Counts {
        int width = 0;
        int height = 0;
        int lowerLuma = 0;  // of the picture below the stamp
        std::int64_t distinct = 0;
        std::int64_t outOfOrder = 0;  // a smaller number than before
        std::int64_t lastAtUs = 0;    // when the newest was pulled, steady clock
        std::int64_t longestGapUs = 0;
        std::vector<double> latenciesMs;
    };

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    Counts Now() const;  // [any-thread]
    void BeginAnew();    // forgets gaps and latencies

private:
    mutable support::Mutex mutex;
    Counts counts GUARDED_BY(mutex);
    std::optional<std::uint32_t> lastNumber GUARDED_BY(mutex);
};

std::int64_t SteadyNowUs();

// The value below which a share of the values lies.
double Percentile(std::vector<double> values, double share);

}  // namespace camera_page
