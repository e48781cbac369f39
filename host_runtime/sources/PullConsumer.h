// Who gets what is pulled from a source.
#pragma once

#include <cstdint>

class nxBuffer2;

namespace host_runtime {

struct PulledPicture {
    nxBuffer2* buffer = nullptr;  // valid during the call; AddRef to keep it. Never null
    std::int64_t presentationTimeUs = 0;
    bool isPicture = false;  // false: a plain colour, because none arrived yet or the source is muted
    bool isNew = false;      // a picture that the last pull did not give
};

struct PulledSound {
    nxBuffer2* buffer = nullptr;  // 1600 frames, 48 kHz, 16-bit stereo; never null
    std::int64_t presentationTimeUs = 0;
};

class PullConsumer {
public:
    virtual ~PullConsumer() = default;
    // [render-thread] The two come from different threads, each always from the same one. They must
    // return soon: the other sources wait.
    virtual void OnPicture(const PulledPicture& picture) = 0;
    virtual void OnSound(const PulledSound& sound) = 0;
};

}  // namespace host_runtime
