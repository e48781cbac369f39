#include "webrtc/voColorspaceConverter.h"

#include <libyuv/convert_from.h>

namespace vo_webrtc {
namespace {

bool Fits(const voVideoFrame& destination, const voI420Frame& source) {
    if (destination.baseAddress == nullptr || source.y == nullptr || source.u == nullptr ||
        source.v == nullptr)
        return false;
    if (source.width <= 0 || source.height <= 0) return false;
    if (destination.width != source.width || destination.height != source.height) return false;
    const std::int64_t pairs = (std::int64_t{source.width} + 1) / 2;
    return destination.bytesPerRow >= pairs * 4 && source.strideY >= source.width &&
           source.strideU >= pairs && source.strideV >= pairs;
}

}  // namespace

std::int32_t voColorspaceConverter::I420ToUYVY(voVideoFrame& destination, const voI420Frame& source) {
    if (!Fits(destination, source)) return -1;
    const int status =
        libyuv::I420ToUYVY(source.y, source.strideY, source.u, source.strideU, source.v, source.strideV,
                           destination.baseAddress, destination.bytesPerRow, source.width, source.height);
    if (status != 0) return -1;
    if (source.width % 2 != 0) {
        // The second luma of the last pair has no pixel of its own.
        const std::ptrdiff_t lastPair = std::ptrdiff_t{source.width / 2} * 4;
        for (std::ptrdiff_t row = 0; row < source.height; ++row) {
            std::uint8_t* pair = destination.baseAddress + row * destination.bytesPerRow + lastPair;
            pair[3] = pair[1];
        }
    }
    return 0;
}

}  // namespace vo_webrtc
