#include "webrtc_gstreamer/PictureReader.h"

#include <libyuv/rotate.h>

#include "support/scope_guard.h"
#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {

using vo_webrtc::voI420Frame;

void PictureReader::Read(GstSample* sample) {
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    GstCaps* sampleCaps = gst_sample_get_caps(sample);
    if (buffer == nullptr || sampleCaps == nullptr || !TakeCaps(sampleCaps)) return;
    GstVideoFrame picture;
    if (gst_video_frame_map(&picture, &info, buffer, GST_MAP_READ) == FALSE) return;
    const support::ScopeGuard unmap([&picture] { gst_video_frame_unmap(&picture); });
    if (!converter) {
        Emit(picture);
        return;
    }
    GstVideoFrame target;
    if (gst_video_frame_map(&target, &convertedInfo, converted.get(), GST_MAP_READWRITE) == FALSE) return;
    const support::ScopeGuard unmapTarget([&target] { gst_video_frame_unmap(&target); });
    gst_video_converter_frame(converter.get(), &picture, &target);
    Emit(target);
}

bool PictureReader::TakeCaps(GstCaps* newCaps) {
    if (newCaps == caps.get()) return true;
    caps.reset(gst_caps_ref(newCaps));
    converter.reset();
    if (gst_video_info_from_caps(&info, newCaps) == FALSE) {
        caps.reset();
        return false;
    }
    const bool planar = GST_VIDEO_INFO_FORMAT(&info) == GST_VIDEO_FORMAT_I420;
    if (planar && info.colorimetry.range != GST_VIDEO_COLOR_RANGE_0_255) return true;
    gst_video_info_set_format(&convertedInfo, GST_VIDEO_FORMAT_I420, static_cast<guint>(info.width),
                              static_cast<guint>(info.height));
    convertedInfo.colorimetry = info.colorimetry;
    convertedInfo.colorimetry.range = GST_VIDEO_COLOR_RANGE_16_235;
    converter.reset(gst_video_converter_new(&info, &convertedInfo, nullptr));
    converted.reset(gst_buffer_new_allocate(nullptr, convertedInfo.size, nullptr));
    if (converter && converted) return true;
    LogWarning("pictures of an unknown format are dropped");
    caps.reset();
    return false;
}

void PictureReader::Emit(const GstVideoFrame& picture) {
    const auto plane = [&picture](guint index) {
        return static_cast<const std::uint8_t*>(picture.data[index]);
    };
    const voI420Frame frame{.width = picture.info.width,
                            .height = picture.info.height,
                            .y = plane(0),
                            .u = plane(1),
                            .v = plane(2),
                            .strideY = picture.info.stride[0],
                            .strideU = picture.info.stride[1],
                            .strideV = picture.info.stride[2]};
    if (rotation == 0) {
        deliver(frame);
    } else {
        EmitRotated(frame);
    }
}

void PictureReader::EmitRotated(const voI420Frame& frame) {
    const bool swapsSides = rotation == 90 || rotation == 270;
    voI420Frame upright;
    upright.width = swapsSides ? frame.height : frame.width;
    upright.height = swapsSides ? frame.width : frame.height;
    upright.strideY = upright.width;
    upright.strideU = upright.strideV = (upright.width + 1) / 2;
    const std::size_t lumaSize =
        static_cast<std::size_t>(upright.strideY) * static_cast<std::size_t>(upright.height);
    const std::size_t chromaSize =
        static_cast<std::size_t>(upright.strideU) * static_cast<std::size_t>((upright.height + 1) / 2);
    rotated.resize(lumaSize + 2 * chromaSize);
    std::uint8_t* y = rotated.data();
    std::uint8_t* u = y + lumaSize;
    std::uint8_t* v = u + chromaSize;
    const int status =
        libyuv::I420Rotate(frame.y, frame.strideY, frame.u, frame.strideU, frame.v, frame.strideV, y,
                           upright.strideY, u, upright.strideU, v, upright.strideV, frame.width, frame.height,
                           static_cast<libyuv::RotationMode>(rotation));
    if (status != 0) return;
    upright.y = y;
    upright.u = u;
    upright.v = v;
    deliver(upright);
}

}  // namespace webrtc_gstreamer
