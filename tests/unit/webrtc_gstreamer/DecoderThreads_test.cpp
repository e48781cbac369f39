// Large pictures are decoded by two threads, small ones by one, and a stream may change its size.
#include "webrtc_gstreamer/DecoderThreads.h"

#include <gtest/gtest.h>

#include <string>

#include "webrtc_gstreamer/GstPointers.h"

namespace {

using namespace webrtc_gstreamer;

struct Codec {
    const char* name;
    const char* decoder;
    const char* caps;
};

class DecoderThreads : public testing::TestWithParam<Codec> {
protected:
    DecoderThreads() {
        gst_init(nullptr, nullptr);
        decoder.reset(
            GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make(GetParam().decoder, nullptr))));
        SetThreadsBySize(decoder.get());
        gst_element_set_state(decoder.get(), GST_STATE_PLAYING);
        Send(gst_event_new_stream_start("stream"));
    }
    ~DecoderThreads() override { gst_element_set_state(decoder.get(), GST_STATE_NULL); }

    void Send(GstEvent* event) {
        const PadPointer pad(gst_element_get_static_pad(decoder.get(), "sink"));
        gst_pad_send_event(pad.get(), event);
    }
    int Threads() const {
        int threads = 0;
        g_object_get(decoder.get(), "max-threads", &threads, nullptr);
        return threads;
    }
    int ThreadsAt(int width, int height) {
        const CapsPointer caps(gst_caps_from_string(GetParam().caps));
        gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, width, "height", G_TYPE_INT, height, nullptr);
        Send(gst_event_new_caps(caps.get()));
        return Threads();
    }

    ElementPointer decoder;
};

TEST_P(DecoderThreads, FollowTheSize) {
    EXPECT_EQ(ThreadsAt(1280, 720), 1);
    EXPECT_EQ(ThreadsAt(1920, 1080), 2);
    EXPECT_EQ(ThreadsAt(1080, 1920), 2);
    EXPECT_EQ(ThreadsAt(1918, 1080), 1);
    EXPECT_EQ(ThreadsAt(3840, 2160), 2);
}

TEST_P(DecoderThreads, AreOneUntilTheSizeIsKnown) {
    const CapsPointer caps(gst_caps_from_string(GetParam().caps));
    Send(gst_event_new_caps(caps.get()));
    EXPECT_EQ(Threads(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    All, DecoderThreads,
    testing::Values(Codec{"H264", "avdec_h264", "video/x-h264,stream-format=byte-stream,alignment=au"},
                    Codec{"VP8", "avdec_vp8", "video/x-vp8"}, Codec{"VP9", "avdec_vp9", "video/x-vp9"}),
    [](const auto& codec) { return std::string(codec.param.name); });

}  // namespace
