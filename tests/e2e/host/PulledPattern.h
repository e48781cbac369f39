// What the host pulled from a phone that shows the test pattern.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"
#include "support/frame_stamp.h"

namespace e2e {

class PulledPattern final : public host_runtime::PullConsumer {
public:
    struct Counts {
        int width = 0;
        int height = 0;
        std::int64_t newPictures = 0;
        std::int64_t stampedPictures = 0;   // new pictures whose stamp could be read
        std::int64_t distinctFrames = 0;    // other frame numbers than the one before
        std::int64_t framesOutOfOrder = 0;  // a smaller number than before
        std::int64_t beeps = 0;
        std::int64_t quietToneBlocks = 0;  // blocks at about the level of the quiet tone
        std::int64_t soundBlocks = 0;
        std::optional<support::frame_stamp::Stamp> lastStamp;
        std::optional<std::int64_t> beepPeriodUs;  // between the last two
    };

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    Counts Now() const;  // [any-thread]

private:
    mutable support::Mutex mutex;
    Counts counts GUARDED_BY(mutex);
    std::int64_t quietFrames GUARDED_BY(mutex) = 0;
    std::optional<std::int64_t> lastBeepUs GUARDED_BY(mutex);
};

}  // namespace e2e
