#include "apps/petrel/EncoderPipeline.h"

#include <fmt/format.h>
#include <gst/video/video.h>
#include <spdlog/spdlog.h>

#include <utility>

#include "support/frame_stamp.h"

namespace petrel {
namespace {

// Key pictures also come by themselves, for clients that lost one and cannot say so.
constexpr int kSecondsBetweenKeyPictures = 2;
// One thread codes this many in a fraction of a frame's time. Above it two of them share each picture, so
// that it is not older when it leaves.
constexpr int kSingleThreadPixels = 1280 * 720;

int EncoderThreads(const SimulateOptions& options) {
    return options.width * options.height > kSingleThreadPixels ? 2 : 1;
}

std::string VideoDescription(const SimulateOptions& options) {
    const int kbits = VideoBitrateKbits(options);
    const int threads = EncoderThreads(options);
    const int keyDistance = kSecondsBetweenKeyPictures * options.framesPerSecond;
    std::string text = fmt::format(
        "appsrc name=video_in is-live=true format=time max-buffers=2 max-bytes=0 leaky-type=downstream "
        "caps=video/x-raw,format=I420,width={},height={},framerate={}/1,pixel-aspect-ratio=1/1 ! ",
        options.width, options.height, options.framesPerSecond);
    if (options.codec == VideoCodec::H264) {
        text += fmt::format(
            "x264enc name=video_encoder speed-preset=ultrafast tune=zerolatency bitrate={} key-int-max={} "
            "threads={} vbv-buf-capacity=400 byte-stream=true ! "
            "video/x-h264,profile=constrained-baseline,stream-format=byte-stream,alignment=au ! ",
            kbits, keyDistance, threads);
    } else {
        // Both VP8 and VP9 at their fastest. Two threads of VP9 share the rows of two columns of tiles.
        text += fmt::format(
            "{}enc name=video_encoder deadline=1 cpu-used=8 end-usage=cbr target-bitrate={} "
            "keyframe-max-dist={} lag-in-frames=0 threads={} {}! ",
            options.codec == VideoCodec::Vp9 ? "vp9" : "vp8", kbits * 1000, keyDistance, threads,
            options.codec == VideoCodec::Vp9 ? "row-mt=true tile-columns=1 " : "");
    }
    return text + "appsink name=video_out sync=false async=false max-buffers=0 ";
}

std::string AudioDescription() {
    return fmt::format(
        "appsrc name=audio_in is-live=true format=time max-bytes=0 "
        "caps=audio/x-raw,format=S16LE,rate={},channels={},layout=interleaved ! "
        "opusenc frame-size=20 bitrate=64000 ! appsink name=audio_out sync=false async=false max-buffers=0",
        kAudioRate, kAudioChannels);
}

template <class Type>
GstHandle<Type> Child(GstElement* pipeline, const char* name) {
    return GstHandle<Type>(reinterpret_cast<Type*>(gst_bin_get_by_name(GST_BIN(pipeline), name)));
}

GstBusSyncReply OnBusMessage(GstBus*, GstMessage* message, gpointer) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const GstHandle<GError> owned(error);
        spdlog::error("encoding stopped: {}", error->message);
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

}  // namespace

std::unique_ptr<EncoderPipeline> EncoderPipeline::Make(const SimulateOptions& options, bool withAudio,
                                                       CodedMediaSink& sink, std::string& error) {
    std::unique_ptr<EncoderPipeline> made(new EncoderPipeline(sink));
    if (!made->Build(options, withAudio, error)) return nullptr;
    return made;
}

EncoderPipeline::~EncoderPipeline() {
    if (pipeline != nullptr) gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

bool EncoderPipeline::Build(const SimulateOptions& options, bool withAudio, std::string& error) {
    const std::string description = VideoDescription(options) + (withAudio ? AudioDescription() : "");
    GError* problem = nullptr;
    GstElement* parsed = gst_parse_launch(description.c_str(), &problem);
    const GstHandle<GError> ownedProblem(problem);
    if (parsed != nullptr) pipeline.reset(GST_ELEMENT(gst_object_ref_sink(parsed)));
    if (pipeline == nullptr || problem != nullptr) {
        error =
            fmt::format("the encoder cannot be made: {}", problem != nullptr ? problem->message : "unknown");
        return false;
    }
    videoEncoder = Child<GstElement>(pipeline.get(), "video_encoder");
    videoInput = Child<GstAppSrc>(pipeline.get(), "video_in");
    audioInput = Child<GstAppSrc>(pipeline.get(), "audio_in");

    const GstHandle<GstAppSink> videoOutput = Child<GstAppSink>(pipeline.get(), "video_out");
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = &EncoderPipeline::OnVideoSample;
    gst_app_sink_set_callbacks(videoOutput.get(), &callbacks, this, nullptr);
    if (const GstHandle<GstAppSink> audioOutput = Child<GstAppSink>(pipeline.get(), "audio_out")) {
        callbacks.new_sample = &EncoderPipeline::OnAudioSample;
        gst_app_sink_set_callbacks(audioOutput.get(), &callbacks, this, nullptr);
    }

    const GstHandle<GstBus> bus(gst_element_get_bus(pipeline.get()));
    gst_bus_set_sync_handler(bus.get(), OnBusMessage, nullptr, nullptr);

    clock.reset(gst_system_clock_obtain());
    baseTime = gst_clock_get_time(clock.get());
    if (options.encodeOnce) baseTime -= baseTime % (support::frame_stamp::kLoopUs * GST_USECOND);
    gst_pipeline_use_clock(GST_PIPELINE(pipeline.get()), clock.get());
    gst_element_set_start_time(pipeline.get(), GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline.get(), baseTime);
    if (gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        error = "the encoder does not start";
        return false;
    }
    return true;
}

void EncoderPipeline::ForceKeyPicture() {
    gst_element_send_event(videoEncoder.get(),
                           gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

void EncoderPipeline::PushPicture(GstHandle<GstBuffer> picture, Posture posture, GstClockTime time) {
    if (posture != pushedPosture) {
        pushedPosture = posture;
        SwapWidthAndHeight();
    }
    GstBuffer* buffer = nullptr;
    {
        const support::MutexLock lock(handOver);
        buffer = gst_buffer_make_writable(picture.release());
        GST_BUFFER_PTS(buffer) = time;
    }
    gst_app_src_push_buffer(videoInput.get(), buffer);
}

// The input keeps the order: the pictures before are still coded in their own size.
void EncoderPipeline::SwapWidthAndHeight() {
    const GstHandle<GstCaps> now(gst_app_src_get_caps(videoInput.get()));
    const GstHandle<GstCaps> swapped(gst_caps_copy(now.get()));
    GstStructure* shape = gst_caps_get_structure(swapped.get(), 0);
    int width = 0;
    int height = 0;
    gst_structure_get(shape, "width", G_TYPE_INT, &width, "height", G_TYPE_INT, &height, nullptr);
    gst_structure_set(shape, "width", G_TYPE_INT, height, "height", G_TYPE_INT, width, nullptr);
    gst_app_src_set_caps(videoInput.get(), swapped.get());
}

void EncoderPipeline::PushSound(GstHandle<GstBuffer> block, GstClockTime time) {
    if (audioInput == nullptr) return;
    {
        const support::MutexLock lock(handOver);
        GST_BUFFER_PTS(block.get()) = time;
    }
    gst_app_src_push_buffer(audioInput.get(), block.release());
}

// A coded buffer whose timestamp is running time, whatever offset the encoder put on its own.
GstHandle<GstBuffer> EncoderPipeline::AtRunningTime(GstSample* sample) {
    const support::MutexLock lock(handOver);
    GstHandle<GstBuffer> buffer(gst_buffer_copy(gst_sample_get_buffer(sample)));
    const GstSegment* segment = gst_sample_get_segment(sample);
    GST_BUFFER_PTS(buffer.get()) =
        gst_segment_to_running_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer.get()));
    GST_BUFFER_DTS(buffer.get()) = GST_CLOCK_TIME_NONE;
    return buffer;
}

GstFlowReturn EncoderPipeline::OnVideoSample(GstAppSink* sink, gpointer data) {
    auto* self = static_cast<EncoderPipeline*>(data);
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    const GstHandle<GstBuffer> unit = self->AtRunningTime(sample.get());
    self->coded.PushVideo(unit.get(), gst_sample_get_caps(sample.get()));
    return GST_FLOW_OK;
}

GstFlowReturn EncoderPipeline::OnAudioSample(GstAppSink* sink, gpointer data) {
    auto* self = static_cast<EncoderPipeline*>(data);
    const GstHandle<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample == nullptr) return GST_FLOW_EOS;
    const GstHandle<GstBuffer> packet = self->AtRunningTime(sample.get());
    self->coded.PushAudio(packet.get(), gst_sample_get_caps(sample.get()));
    return GST_FLOW_OK;
}

}  // namespace petrel
