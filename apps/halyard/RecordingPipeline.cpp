#include "apps/halyard/RecordingPipeline.h"

#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <algorithm>
#include <utility>

#include "host/media/nxBuffer2.h"

namespace halyard {
namespace {

constexpr guint64 kMostWaitingPictures = 4;
constexpr guint64 kMostWaitingSounds = 30;
constexpr guint64 kSoundBlockNs = 100'000'000 / 3;

// H.264 pictures with 4:2:0 chroma have even sides.
int EvenSide(int side) {
    return std::max(side + side % 2, 16);
}

GstElement* MakeElements(int width, int height, std::string& error) {
    const std::string text =
        "appsrc name=pictures format=time block=false max-buffers=0 max-bytes=0 "
        "! videoconvertscale add-borders=true "
        "! video/x-raw,format=I420,pixel-aspect-ratio=1/1,width=" +
        std::to_string(EvenSide(width)) + ",height=" + std::to_string(EvenSide(height)) +
        " ! x264enc speed-preset=superfast tune=zerolatency pass=qual quantizer=20 key-int-max=60 "
        "! h264parse ! queue max-size-buffers=0 max-size-time=0 max-size-bytes=67108864 "
        "! matroskamux name=mux ! filesink name=file buffer-mode=unbuffered "
        "appsrc name=sounds format=time block=false max-buffers=0 max-bytes=0 "
        "caps=audio/x-raw,format=S16LE,rate=48000,channels=2,layout=interleaved "
        "! opusenc bitrate=128000 ! queue max-size-buffers=0 max-size-time=0 max-size-bytes=67108864 ! mux.";
    GError* failure = nullptr;
    GstElement* made = gst_parse_launch_full(text.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &failure);
    if (failure != nullptr) {
        error = std::string("Cannot record: ") + failure->message + ".";
        g_clear_error(&failure);
    }
    return made;
}

GstBuffer* WrapMemory(nxBuffer2& buffer, std::size_t size) {
    buffer.AddRef();
    return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, buffer.Data(), size, 0, size, &buffer,
                                       [](gpointer held) { static_cast<nxBuffer2*>(held)->Release(); });
}

}  // namespace

std::unique_ptr<RecordingPipeline> RecordingPipeline::Start(const std::filesystem::path& file, int width,
                                                            int height, std::int64_t originUs,
                                                            std::function<void()> onProgress,
                                                            std::string& error) {
    GstElement* made = MakeElements(width, height, error);
    if (made == nullptr) return nullptr;
    std::unique_ptr<RecordingPipeline> recording(
        new RecordingPipeline(made, originUs, std::move(onProgress)));
    GstElement* sink = gst_bin_get_by_name(GST_BIN(made), "file");
    g_object_set(sink, "location", file.c_str(), nullptr);
    gst_object_unref(sink);
    if (gst_element_set_state(made, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        if (recording->IsWell(error)) error = "Cannot record into " + file.string() + ".";
        return nullptr;
    }
    return recording;
}

RecordingPipeline::RecordingPipeline(GstElement* ownedPipeline, std::int64_t startUs,
                                     std::function<void()> toTell)
    : pipeline(ownedPipeline),
      pictures(gst_bin_get_by_name(GST_BIN(ownedPipeline), "pictures")),
      sounds(gst_bin_get_by_name(GST_BIN(ownedPipeline), "sounds")),
      originUs(startUs),
      onProgress(std::move(toTell)) {
    TellWhenTaken(pictures);
    TellWhenTaken(sounds);
    GstBus* bus = gst_element_get_bus(pipeline);
    const auto onMessage = [](GstBus*, GstMessage* message, gpointer self) {
        static_cast<RecordingPipeline*>(self)->OnMessage(*message);
        gst_message_unref(message);
        return GST_BUS_DROP;
    };
    gst_bus_set_sync_handler(bus, onMessage, this, nullptr);
    gst_object_unref(bus);
}

// A buffer passes the pad after it has left the source's queue.
void RecordingPipeline::TellWhenTaken(GstElement* source) {
    GstPad* pad = gst_element_get_static_pad(source, "src");
    const auto onBuffer = [](GstPad*, GstPadProbeInfo*, gpointer self) {
        auto& recording = *static_cast<RecordingPipeline*>(self);
        ++recording.taken;
        recording.onProgress();
        return GST_PAD_PROBE_OK;
    };
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, onBuffer, this, nullptr);
    gst_object_unref(pad);
}

RecordingPipeline::~RecordingPipeline() {
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pictures);
    gst_object_unref(sounds);
    gst_object_unref(pipeline);
}

bool RecordingPipeline::HasRoom() const {
    return gst_app_src_get_current_level_buffers(GST_APP_SRC(pictures)) < kMostWaitingPictures &&
           gst_app_src_get_current_level_buffers(GST_APP_SRC(sounds)) < kMostWaitingSounds;
}

void RecordingPipeline::PushPicture(nxBuffer2& picture, std::int64_t timeUs) {
    const int width = picture.GetDisplayWidth();
    const int height = picture.GetDisplayHeight();
    const int bytesPerRow = picture.AsInt32(FourCC("mbpr"), 0);
    const std::size_t size = static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(height);
    const bool uyvy = static_cast<zFourCC>(picture.AsInt32(FourCC("mcol"), 0)) == kPixelFormatUYVY;
    if (!uyvy || width <= 0 || height <= 0 || bytesPerRow < width * 2 || size > picture.DataSize()) return;
    if (width != pictureWidth || height != pictureHeight) {
        GstCaps* caps =
            gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "UYVY", "width", G_TYPE_INT, width,
                                "height", G_TYPE_INT, height, "framerate", GST_TYPE_FRACTION, 0, 1,
                                "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr);
        gst_app_src_set_caps(GST_APP_SRC(pictures), caps);
        gst_caps_unref(caps);
        pictureWidth = width;
        pictureHeight = height;
    }
    GstBuffer* buffer = WrapMemory(picture, size);
    gsize offsets[GST_VIDEO_MAX_PLANES] = {0};
    gint strides[GST_VIDEO_MAX_PLANES] = {bytesPerRow};
    gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_UYVY,
                                   static_cast<guint>(width), static_cast<guint>(height), 1, offsets,
                                   strides);
    GST_BUFFER_PTS(buffer) = static_cast<guint64>(timeUs - originUs) * GST_USECOND;
    gst_app_src_push_buffer(GST_APP_SRC(pictures), buffer);
}

void RecordingPipeline::PushSound(nxBuffer2& sound, std::int64_t timeUs) {
    if (timeUs < originUs) return;
    GstBuffer* buffer = WrapMemory(sound, sound.DataSize());
    GST_BUFFER_PTS(buffer) = static_cast<guint64>(timeUs - originUs) * GST_USECOND;
    GST_BUFFER_DURATION(buffer) = kSoundBlockNs;
    gst_app_src_push_buffer(GST_APP_SRC(sounds), buffer);
}

void RecordingPipeline::OnMessage(GstMessage& message) {
    const GstMessageType type = GST_MESSAGE_TYPE(&message);
    if (type == GST_MESSAGE_ERROR) {
        GError* reason = nullptr;
        gst_message_parse_error(&message, &reason, nullptr);
        const support::MutexLock lock(mutex);
        if (failure.empty()) failure = std::string("The recording failed: ") + reason->message;
        g_clear_error(&reason);
    } else if (type == GST_MESSAGE_EOS) {
        complete = true;
    } else {
        return;
    }
    onProgress();
}

bool RecordingPipeline::IsWell(std::string& error) const {
    const support::MutexLock lock(mutex);
    if (!failure.empty()) error = failure;
    return failure.empty();
}

void RecordingPipeline::End() {
    gst_app_src_end_of_stream(GST_APP_SRC(pictures));
    gst_app_src_end_of_stream(GST_APP_SRC(sounds));
}

}  // namespace halyard
