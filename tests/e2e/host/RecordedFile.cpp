#include "tests/e2e/host/RecordedFile.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <cstdlib>

namespace e2e {
namespace {

namespace stamp = support::frame_stamp;

constexpr int kLoudSample = 3'277;
constexpr std::size_t kQuietBeforeBeep = 48 * 300;

RecordedPicture ReadPicture(GstSample* sample) {
    GstVideoInfo info;
    gst_video_info_from_caps(&info, gst_sample_get_caps(sample));
    GstVideoFrame frame;
    RecordedPicture picture;
    if (!gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) return picture;
    picture.timeUs = static_cast<std::int64_t>(GST_BUFFER_PTS(gst_sample_get_buffer(sample)) / GST_USECOND);
    picture.width = GST_VIDEO_FRAME_WIDTH(&frame);
    picture.height = GST_VIDEO_FRAME_HEIGHT(&frame);
    const auto* luma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    const auto lumaAt = [luma, stride](int x, int y) { return int{luma[y * stride + x]}; };
    picture.stamp = stamp::Read(picture.width, picture.height, lumaAt);
    picture.flash = stamp::MeanLuma(stamp::FlashArea(picture.width, picture.height), lumaAt) >= 126;
    gst_video_frame_unmap(&frame);
    return picture;
}

void ReadPictures(GstElement* sink, RecordedFile& recorded) {
    while (GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(sink))) {
        recorded.pictures.push_back(ReadPicture(sample));
        gst_sample_unref(sample);
    }
}

void ReadSound(GstElement* sink, RecordedFile& recorded) {
    while (GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(sink))) {
        GstBuffer* buffer = gst_sample_get_buffer(sample);
        if (recorded.left.empty())
            recorded.soundBeginsUs = static_cast<std::int64_t>(GST_BUFFER_PTS(buffer) / GST_USECOND);
        GstMapInfo map;
        if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
            const auto* samples = reinterpret_cast<const std::int16_t*>(map.data);
            for (gsize index = 0; index < map.size / sizeof(std::int16_t); index += 2)
                recorded.left.push_back(samples[index]);
            gst_buffer_unmap(buffer, &map);
        }
        gst_sample_unref(sample);
    }
}

}  // namespace

RecordedFile Decode(const std::filesystem::path& file) {
    gst_init(nullptr, nullptr);
    RecordedFile recorded;
    const std::string text =
        "filesrc location=\"" + file.string() +
        "\" ! matroskademux name=demux "
        "demux. ! video/x-h264 ! queue max-size-time=0 max-size-bytes=0 max-size-buffers=0 ! h264parse "
        "! avdec_h264 ! videoconvert ! video/x-raw,format=I420 "
        "! appsink name=pictures sync=false wait-on-eos=false max-buffers=0 "
        "demux. ! audio/x-opus ! queue max-size-time=0 max-size-bytes=0 max-size-buffers=0 ! opusdec "
        "! audioconvert ! audio/x-raw,format=S16LE,rate=48000,channels=2 "
        "! appsink name=sounds sync=false wait-on-eos=false max-buffers=0";
    GError* failure = nullptr;
    GstElement* pipeline = gst_parse_launch(text.c_str(), &failure);
    if (failure != nullptr) {
        recorded.problem = failure->message;
        g_clear_error(&failure);
        return recorded;
    }
    GstElement* pictures = gst_bin_get_by_name(GST_BIN(pipeline), "pictures");
    GstElement* sounds = gst_bin_get_by_name(GST_BIN(pipeline), "sounds");
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* message = gst_bus_timed_pop_filtered(
        bus, 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS));
    if (message == nullptr) {
        recorded.problem = "decoding does not end";
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        gst_message_parse_error(message, &failure, nullptr);
        recorded.problem = failure->message;
        g_clear_error(&failure);
    } else {
        ReadPictures(pictures, recorded);
        ReadSound(sounds, recorded);
    }
    if (message != nullptr) gst_message_unref(message);
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pictures);
    gst_object_unref(sounds);
    gst_object_unref(pipeline);
    return recorded;
}

std::vector<std::int64_t> RecordedFile::BeepTimes() const {
    std::vector<std::int64_t> times;
    std::size_t quiet = 0;
    for (std::size_t index = 0; index < left.size(); ++index) {
        if (std::abs(int{left[index]}) < kLoudSample) {
            ++quiet;
            continue;
        }
        if (quiet >= kQuietBeforeBeep)
            times.push_back(soundBeginsUs + static_cast<std::int64_t>(index) * 1'000'000 / 48'000);
        quiet = 0;
    }
    return times;
}

std::vector<std::int64_t> RecordedFile::FlashTimes() const {
    std::vector<std::int64_t> times;
    for (std::size_t index = 1; index < pictures.size(); ++index) {
        if (pictures[index].flash && !pictures[index - 1].flash) times.push_back(pictures[index].timeUs);
    }
    return times;
}

}  // namespace e2e
