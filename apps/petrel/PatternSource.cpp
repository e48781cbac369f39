#include "apps/petrel/PatternSource.h"

#include <chrono>

namespace petrel {
namespace {

// Enough for the encoder's queue, the picture in work and the next one.
constexpr unsigned kPooledPictures = 4;

std::uint64_t SteadyTimeUs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace

PatternSource::Canvas::Canvas(int width, int height)
    : pattern(width, height), pool(gst_video_buffer_pool_new()) {
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, static_cast<guint>(width),
                              static_cast<guint>(height));
    const GstHandle<GstCaps> caps(gst_video_info_to_caps(&info));
    GstStructure* config = gst_buffer_pool_get_config(pool.get());
    gst_buffer_pool_config_set_params(config, caps.get(), static_cast<guint>(GST_VIDEO_INFO_SIZE(&info)),
                                      kPooledPictures, 0);
    gst_buffer_pool_set_config(pool.get(), config);
    gst_buffer_pool_set_active(pool.get(), TRUE);
}

PatternSource::PatternSource(int pictureWidth, int pictureHeight, int secondsBetweenTurns,
                             StampedTime timeToStamp)
    : usBetweenTurns(std::int64_t{secondsBetweenTurns} * 1'000'000), stampedTime(timeToStamp) {
    canvases.emplace_back(pictureWidth, pictureHeight);
    if (secondsBetweenTurns > 0) canvases.emplace_back(pictureHeight, pictureWidth);
}

PatternSource::~PatternSource() {
    for (const Canvas& canvas : canvases)
        gst_buffer_pool_set_active(canvas.pool.get(), FALSE);
}

GstHandle<GstBuffer> PatternSource::NextPicture(std::int64_t mediaTimeUs) {
    const bool turned = usBetweenTurns > 0 && mediaTimeUs / usBetweenTurns % 2 != 0;
    posture = turned ? Posture::Turned : Posture::AsAsked;
    Canvas& canvas = turned ? canvases.back() : canvases.front();
    GstBuffer* acquired = nullptr;
    if (gst_buffer_pool_acquire_buffer(canvas.pool.get(), &acquired, nullptr) != GST_FLOW_OK) return nullptr;
    GstHandle<GstBuffer> buffer(acquired);

    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &canvas.info, buffer.get(), GST_MAP_WRITE)) return nullptr;
    PictureView view;
    for (std::size_t plane = 0; plane < view.planes.size(); ++plane) {
        view.planes[plane] = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
        view.strides[plane] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
    }
    canvas.pattern.Paint(view, mediaTimeUs);
    // Last, as a camera's picture exists when it has been read out: its age begins here.
    const bool now = stampedTime == StampedTime::Painted;
    canvas.pattern.PaintStamp(
        view, {nextFrameNumber++, now ? SteadyTimeUs() : static_cast<std::uint64_t>(mediaTimeUs)});
    gst_video_frame_unmap(&frame);
    return buffer;
}

}  // namespace petrel
