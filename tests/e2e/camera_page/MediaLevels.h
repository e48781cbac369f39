// How bright the newest picture is and how loud the newest sound, of what the host pulled.
#pragma once

#include <array>
#include <cstdint>

#include "host_runtime/sources/PullConsumer.h"
#include "support/annotated_mutex.h"

namespace camera_page {

class MediaLevels final : public host_runtime::PullConsumer {
public:
    struct Levels {
        std::int64_t pictures = 0;
        int luma = 0;  // mean of the whole picture
        int peak = 0;  // of the newest half second, of 32768
    };

    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound& sound) override;

    Levels Now() const;  // [any-thread]

private:
    mutable support::Mutex mutex;
    std::int64_t pictures GUARDED_BY(mutex) = 0;
    int luma GUARDED_BY(mutex) = 0;
    std::array<int, 15> peaks GUARDED_BY(mutex) = {};  // of the newest blocks
    std::size_t nextPeak GUARDED_BY(mutex) = 0;
};

}  // namespace camera_page
