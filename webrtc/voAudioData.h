#pragma once

#include <cstdint>

namespace vo_webrtc {

// One block of decoded sound, valid only during the call that delivers it.
struct voAudioData {
    const std::int16_t* samples = nullptr;  // interleaved
    int bitsPerSample = 16;
    int sampleRate = 48000;
    std::uint64_t channels = 0;
    std::uint64_t frames = 0;  // samples per channel
};

}  // namespace vo_webrtc
