#pragma once

#include <gst/video/video.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "webrtc/voI420Frame.h"
#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {

// Turns decoded samples into planar frames. A decoder's I420 planes are handed out as they lie; other
// formats and full-range pictures are converted, turned pictures are set upright. Size and format may
// change at every sample.
class PictureReader {
public:
    using Deliver = std::function<void(const vo_webrtc::voI420Frame& frame)>;

    explicit PictureReader(Deliver deliverFrame) : deliver(std::move(deliverFrame)) {}

    void Read(GstSample* sample);
    // Clockwise, in degrees: 0, 90, 180 or 270.
    void SetRotation(int degrees) { rotation = degrees; }

private:
    bool TakeCaps(GstCaps* newCaps);
    void Emit(const GstVideoFrame& picture);
    void EmitRotated(const vo_webrtc::voI420Frame& frame);

    const Deliver deliver;
    int rotation = 0;
    CapsPointer caps;  // of the last sample
    GstVideoInfo info{};
    // Set while the decoder's format is not what is handed out.
    VideoConverterPointer converter;
    GstVideoInfo convertedInfo{};
    BufferPointer converted;
    std::vector<std::uint8_t> rotated;
};

}  // namespace webrtc_gstreamer
