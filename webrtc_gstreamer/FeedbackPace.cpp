#include "webrtc_gstreamer/FeedbackPace.h"

#include <string_view>

#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/SteadyTime.h"

namespace webrtc_gstreamer {
namespace {

constexpr const char* kKey = "feedback-pace";

// Belongs to the session, whose pads it is called from.
struct Pace {
    GstElement* const session;
    LossySpell spell;

    void SetInterval(GstClockTime interval) const {
        g_object_set(session, "rtcp-min-interval", interval, nullptr);
    }
};

void Delete(gpointer data) {
    const Crossing crossing;
    delete static_cast<Pace*>(data);
}

GstPadProbeReturn OnWish(GstPad*, GstPadProbeInfo* probe, gpointer data) {
    const Crossing crossing;
    auto* const pace = static_cast<Pace*>(data);
    const GstEvent* event = gst_pad_probe_info_get_event(probe);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CUSTOM_UPSTREAM &&
        gst_event_has_name(const_cast<GstEvent*>(event), "GstRTPRetransmissionRequest") != FALSE &&
        pace->spell.Asked(SteadyTimeUs()))
        pace->SetInterval(kLossyFeedback);
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn OnReport(GstPad*, GstPadProbeInfo*, gpointer data) {
    const Crossing crossing;
    auto* const pace = static_cast<Pace*>(data);
    if (pace->spell.Reported(SteadyTimeUs())) pace->SetInterval(kCalmFeedback);
    return GST_PAD_PROBE_OK;
}

void OnPad(GstElement*, GstPad* pad, gpointer data) {
    const Crossing crossing;
    const TextPointer name(gst_pad_get_name(pad));
    if (std::string_view(name.get()) == "recv_rtp_src") {
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, OnWish, data, nullptr);
    } else if (std::string_view(name.get()) == "send_rtcp_src") {
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnReport, data, nullptr);
    }
}

}  // namespace

void PaceFeedback(GstElement* session) {
    const Crossing crossing;
    auto* const pace = new Pace{session, {}};
    g_object_set_data_full(G_OBJECT(session), kKey, pace, Delete);
    pace->SetInterval(kCalmFeedback);
    g_signal_connect(session, "pad-added", G_CALLBACK(OnPad), pace);
    GObject* inside = nullptr;
    g_object_get(session, "internal-session", &inside, nullptr);
    const ObjectPointer owned(inside);
    // Otherwise they leave with every picture.
    g_object_set(inside, "twcc-feedback-interval", kArrivalFeedback, nullptr);
}

}  // namespace webrtc_gstreamer
