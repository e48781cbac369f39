// Keeps what the host pulled from the browser: the newest picture, which frames came, and the newest sound.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"
#include "tests/e2e/browser/ReceivedMedia.h"

namespace browser {

class PulledMedia final : public host_runtime::PullConsumer {
public:
    static constexpr std::size_t kKeptSamples = 48'000;

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    // [any-thread]
    std::int64_t FirstPictureAtUs() const;  // steady clock; 0 before
    int NewPictures() const;
    std::optional<ReceivedPicture> LatestPicture() const;
    std::set<std::uint32_t> FrameNumbers() const;  // all that were ever read
    // The newest second, without a silent block in it; empty before there is one.
    std::vector<std::int16_t> LatestSecondLeft() const;
    std::vector<std::int16_t> LatestSecondRight() const;

private:
    mutable support::Mutex mutex;
    std::int64_t firstPictureAtUs GUARDED_BY(mutex) = 0;
    int newPictures GUARDED_BY(mutex) = 0;
    std::optional<ReceivedPicture> latest GUARDED_BY(mutex);
    std::set<std::uint32_t> frameNumbers GUARDED_BY(mutex);
    std::vector<std::int16_t> left GUARDED_BY(mutex);
    std::vector<std::int16_t> right GUARDED_BY(mutex);
};

}  // namespace browser
