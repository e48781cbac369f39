#pragma once

#include <cstdint>

namespace vo_webrtc {

// A decoded planar frame, 8 bit, 4:2:0, BT.601 limited range, upright. The planes belong to the library and
// are valid only during the call that delivers the frame. Chroma planes are (width+1)/2 x (height+1)/2.
struct voI420Frame {
    std::int32_t width = 0;
    std::int32_t height = 0;
    const std::uint8_t* y = nullptr;
    const std::uint8_t* u = nullptr;
    const std::uint8_t* v = nullptr;
    std::int32_t strideY = 0;  // bytes
    std::int32_t strideU = 0;
    std::int32_t strideV = 0;
};

}  // namespace vo_webrtc
