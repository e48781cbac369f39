#include "webrtc_gstreamer/FeedbackPace.h"

#include <gtest/gtest.h>

#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {
namespace {

TEST(LossySpell, BeginsWithTheFirstRequestOnly) {
    LossySpell spell;
    EXPECT_TRUE(spell.Asked(1'000'000));
    EXPECT_FALSE(spell.Asked(1'100'000));
}

TEST(LossySpell, EndsTwoSecondsAfterTheLastRequest) {
    LossySpell spell;
    EXPECT_FALSE(spell.Reported(0)) << "there was none";
    spell.Asked(1'000'000);
    spell.Asked(2'000'000);
    EXPECT_FALSE(spell.Reported(4'000'000));
    EXPECT_TRUE(spell.Reported(4'000'001));
    EXPECT_FALSE(spell.Reported(9'000'000)) << "it has ended";
    EXPECT_TRUE(spell.Asked(9'000'000)) << "another one";
}

class FeedbackPace : public testing::Test {
protected:
    FeedbackPace() {
        gst_init(nullptr, nullptr);
        session.reset(GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("rtpsession", nullptr))));
        PaceFeedback(session.get());
        sink.reset(gst_element_request_pad_simple(session.get(), "recv_rtp_sink"));
        source.reset(gst_element_get_static_pad(session.get(), "recv_rtp_src"));
        gst_element_set_state(session.get(), GST_STATE_PAUSED);
    }
    ~FeedbackPace() override { gst_element_set_state(session.get(), GST_STATE_NULL); }

    guint64 Interval() const {
        guint64 interval = 0;
        g_object_get(session.get(), "rtcp-min-interval", &interval, nullptr);
        return interval;
    }
    void Ask(const char* what) const {
        GstStructure* wish =
            gst_structure_new(what, "seqnum", G_TYPE_UINT, 7U, "ssrc", G_TYPE_UINT, 9U, nullptr);
        gst_pad_send_event(source.get(), gst_event_new_custom(GST_EVENT_CUSTOM_UPSTREAM, wish));
    }

    ElementPointer session;
    PadPointer sink;
    PadPointer source;
};

TEST_F(FeedbackPace, IsCalmWhileNothingIsLost) {
    EXPECT_EQ(Interval(), 200 * GST_MSECOND);
    Ask("AnotherWish");
    EXPECT_EQ(Interval(), 200 * GST_MSECOND);
}

TEST_F(FeedbackPace, HurriesOnceAPacketIsAskedFor) {
    Ask("GstRTPRetransmissionRequest");
    EXPECT_EQ(Interval(), 30 * GST_MSECOND);
}

TEST_F(FeedbackPace, MarksOfArrivalDoNotLeaveWithEveryPicture) {
    GObject* inside = nullptr;
    g_object_get(session.get(), "internal-session", &inside, nullptr);
    const ObjectPointer owned(inside);
    guint64 interval = 0;
    g_object_get(inside, "twcc-feedback-interval", &interval, nullptr);
    EXPECT_EQ(interval, 100 * GST_MSECOND);
}

}  // namespace
}  // namespace webrtc_gstreamer
