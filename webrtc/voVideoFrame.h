#pragma once

#include <cstdint>

namespace vo_webrtc {

// A packed destination frame, top row first.
struct voVideoFrame {
    std::uint8_t* baseAddress = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bytesPerRow = 0;
};

}  // namespace vo_webrtc
