// A decoder's pictures reach their user without a copy, and whole.
#include "webrtc_gstreamer/SharedPictures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace webrtc_gstreamer;

constexpr int kPictures = 90;
// The decoder asks for memory when it has decoded the first one.
constexpr int kFirstPictures = 2;
// No multiple of 16.
constexpr int kHeight = 184;

struct Seen {
    std::vector<std::uint32_t> sums;  // of the bytes of each picture
    int copied = 0;                   // without the first ones
};

std::uint32_t SumOf(const GstVideoFrame& frame) {
    std::uint32_t sum = 1;
    for (guint plane = 0; plane < 3; ++plane) {
        const auto* row = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
        for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane); ++y) {
            for (int x = 0; x < GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane); ++x)
                sum = sum * 31 + row[x];
            row += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
        }
    }
    return sum;
}

// While the decoder refers to a picture, its memory has two owners, unless it was copied; to one that it does
// not refer to any more there is only this buffer, straight from the pool.
bool IsCopied(GstBuffer* buffer) {
    const GstMemory* memory = gst_buffer_peek_memory(buffer, 0);
    return buffer->pool == nullptr && GST_MINI_OBJECT_REFCOUNT_VALUE(memory) < 2;
}

// On the decoder's thread.
GstPadProbeReturn OnPicture(GstPad* pad, GstPadProbeInfo* probe, gpointer data) {
    auto* const seen = static_cast<Seen*>(data);
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
    const CapsPointer caps(gst_pad_get_current_caps(pad));
    GstVideoInfo info;
    GstVideoFrame frame;
    if (gst_video_info_from_caps(&info, caps.get()) == FALSE) return GST_PAD_PROBE_OK;
    const bool copied = IsCopied(buffer);
    if (gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ) == FALSE) return GST_PAD_PROBE_OK;
    if (seen->sums.size() >= kFirstPictures && copied) ++seen->copied;
    seen->sums.push_back(SumOf(frame));
    gst_video_frame_unmap(&frame);
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn OnQuery(GstPad*, GstPadProbeInfo* probe, gpointer) {
    GstQuery* query = gst_pad_probe_info_get_query(probe);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
    AnswerAllocation(query);
    return GST_PAD_PROBE_HANDLED;
}

enum class Answer { Ours, None };

Seen Decode(const std::string& coder, const std::string& decoder, Answer answer) {
    Seen seen;
    const std::string text =
        "videotestsrc pattern=ball num-buffers=" + std::to_string(kPictures) +
        " ! video/x-raw,format=I420,width=320,height=" + std::to_string(kHeight) + ",framerate=30/1 ! " +
        coder + " ! " + decoder +
        " max-threads=1 thread-type=slice ! fakesink name=sink sync=false enable-last-sample=false";
    GError* error = nullptr;
    const ElementPointer pipeline(gst_parse_launch(text.c_str(), &error));
    EXPECT_EQ(error, nullptr) << error->message;
    const ElementPointer sink(gst_bin_get_by_name(GST_BIN(pipeline.get()), "sink"));
    const PadPointer pad(gst_element_get_static_pad(sink.get(), "sink"));
    if (answer == Answer::Ours)
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, OnQuery, nullptr, nullptr);
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, OnPicture, &seen, nullptr);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const BusPointer bus(gst_element_get_bus(pipeline.get()));
    GstMessage* last = gst_bus_timed_pop_filtered(
        bus.get(), 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    EXPECT_TRUE(last != nullptr && GST_MESSAGE_TYPE(last) == GST_MESSAGE_EOS);
    if (last != nullptr) gst_message_unref(last);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return seen;
}

struct Codec {
    const char* name;
    const char* coder;
    const char* decoder;
};

class SharedPictures : public testing::TestWithParam<Codec> {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
};

TEST_P(SharedPictures, AreNotCopied) {
    const Seen seen = Decode(GetParam().coder, GetParam().decoder, Answer::Ours);
    EXPECT_EQ(seen.sums.size(), static_cast<std::size_t>(kPictures));
    EXPECT_EQ(seen.copied, 0);
}

TEST_P(SharedPictures, LookAsCopiesDo) {
    const Seen copied = Decode(GetParam().coder, GetParam().decoder, Answer::None);
    const Seen shared = Decode(GetParam().coder, GetParam().decoder, Answer::Ours);
    EXPECT_EQ(copied.sums.size(), static_cast<std::size_t>(kPictures));
    EXPECT_EQ(copied.sums, shared.sums);
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, SharedPictures,
    testing::Values(Codec{"H264", "x264enc tune=zerolatency speed-preset=ultrafast ! h264parse",
                          "avdec_h264"},
                    Codec{"H264WithUnusedPictures",
                          "x264enc bframes=2 b-adapt=false rc-lookahead=3 speed-preset=veryfast ! h264parse",
                          "avdec_h264"},
                    // Below zero its speed is fixed: it does not code otherwise when the machine is busy.
                    Codec{"Vp8", "vp8enc deadline=1 cpu-used=-8", "avdec_vp8"},
                    Codec{"Vp9", "vp9enc deadline=1 cpu-used=8", "avdec_vp9"}),
    [](const auto& codec) { return codec.param.name; });

}  // namespace
