// A decoded picture into a host buffer: the whole way through the renderer, beside copying as many bytes and
// beside the converters that others would take. Each argument is a picture's height.
#include <benchmark/benchmark.h>
#include <gst/video/video.h>

#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "benchmarks/pieces/HostBuffers.h"
#include "benchmarks/pieces/RealRenderers.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

namespace benchmarks {
namespace {

void AllSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(720)->Arg(1080)->Arg(2160)->Unit(benchmark::kMicrosecond);
}

void FrameIntoHostBuffer(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    RealRenderers renderers(size);
    PlanarPictures pictures(size);
    for (auto _ : state)
        renderers.Video().OnVideoFrame(pictures.Next());
}
BENCHMARK(FrameIntoHostBuffer)->Apply(AllSizes);

void CopyIntoHostBuffer(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    HostBuffers buffers(size);
    PackedPictures pictures(size);
    for (auto _ : state) {
        std::memcpy(buffers.Next().baseAddress, pictures.Next(), size.PackedBytes());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CopyIntoHostBuffer)->Apply(AllSizes);

void SwscaleIntoHostBuffer(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    HostBuffers buffers(size);
    PlanarPictures pictures(size);
    SwsContext* const context =
        sws_getContext(size.width, size.height, AV_PIX_FMT_YUV420P, size.width, size.height,
                       AV_PIX_FMT_UYVY422, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    for (auto _ : state) {
        const vo_webrtc::voI420Frame& frame = pictures.Next();
        const std::array<const std::uint8_t*, 3> planes = {frame.y, frame.u, frame.v};
        const std::array<int, 3> strides = {frame.strideY, frame.strideU, frame.strideV};
        const nxPixelStore pixels = buffers.Next();
        std::uint8_t* const target[] = {pixels.baseAddress};
        const int targetStride[] = {pixels.bytesPerRow};
        sws_scale(context, planes.data(), strides.data(), 0, size.height, target, targetStride);
    }
    sws_freeContext(context);
}
BENCHMARK(SwscaleIntoHostBuffer)->Apply(AllSizes);

// A mapped frame around memory that is there already.
GstVideoFrame FrameAround(const GstVideoInfo& info) {
    GstVideoFrame frame{};
    frame.info = info;
    return frame;
}

// What the element videoconvert calls for each picture.
void VideoconvertIntoHostBuffer(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    HostBuffers buffers(size);
    PlanarPictures pictures(size);
    GstVideoInfo from;
    GstVideoInfo to;
    const auto width = static_cast<guint>(size.width);
    const auto height = static_cast<guint>(size.height);
    gst_video_info_set_format(&from, GST_VIDEO_FORMAT_I420, width, height);
    gst_video_info_set_format(&to, GST_VIDEO_FORMAT_UYVY, width, height);
    GstVideoConverter* const converter = gst_video_converter_new(&from, &to, nullptr);
    GstVideoFrame source = FrameAround(from);
    GstVideoFrame target = FrameAround(to);
    for (auto _ : state) {
        const vo_webrtc::voI420Frame& frame = pictures.Next();
        const std::array<const std::uint8_t*, 3> planes = {frame.y, frame.u, frame.v};
        const std::array<int, 3> strides = {frame.strideY, frame.strideU, frame.strideV};
        for (std::size_t plane = 0; plane < planes.size(); ++plane) {
            source.data[plane] = const_cast<std::uint8_t*>(planes[plane]);
            source.info.stride[plane] = strides[plane];
        }
        target.data[0] = buffers.Next().baseAddress;
        gst_video_converter_frame(converter, &source, &target);
    }
    gst_video_converter_free(converter);
}
BENCHMARK(VideoconvertIntoHostBuffer)->Apply(AllSizes);

// The host reads what it pulled, to mix or to upload it: a conversion must not win by leaving the caches
// cold.
void FrameIntoHostBufferAndRead(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    RealRenderers renderers(size);
    PlanarPictures pictures(size);
    std::vector<std::uint8_t> read(size.PackedBytes());
    for (auto _ : state) {
        renderers.Video().OnVideoFrame(pictures.Next());
        nxBuffer2* buffer = nullptr;
        renderers.Video().BufferForParameters(&buffer, {1000, 1});
        std::memcpy(read.data(), buffer->Data(), size.PackedBytes());
        benchmark::ClobberMemory();
        buffer->Release();
    }
}
BENCHMARK(FrameIntoHostBufferAndRead)->Apply(AllSizes);

void CopyIntoHostBufferAndRead(benchmark::State& state) {
    const PictureSize size = SizeOfHeight(state.range(0));
    HostBuffers buffers(size);
    PackedPictures pictures(size);
    std::vector<std::uint8_t> read(size.PackedBytes());
    for (auto _ : state) {
        std::uint8_t* const memory = buffers.Next().baseAddress;
        std::memcpy(memory, pictures.Next(), size.PackedBytes());
        benchmark::ClobberMemory();
        std::memcpy(read.data(), memory, size.PackedBytes());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CopyIntoHostBufferAndRead)->Apply(AllSizes);

}  // namespace
}  // namespace benchmarks
