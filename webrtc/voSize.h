#pragma once

#include <cstdint>

#pragma GCC visibility push(default)
namespace vo_webrtc {

struct voSize {
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool operator==(const voSize& other) const { return width == other.width && height == other.height; }
    bool operator!=(const voSize& other) const { return !(*this == other); }
};

}  // namespace vo_webrtc
#pragma GCC visibility pop
