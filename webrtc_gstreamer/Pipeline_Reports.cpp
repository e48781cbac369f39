// What webrtcbin reports on its own threads.
#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/Pipeline.h"

namespace webrtc_gstreamer {
namespace {

// webrtcbin orders the signalling states in its own way.
std::uint32_t SignalingStateOf(GstWebRTCSignalingState state) {
    switch (state) {
        case GST_WEBRTC_SIGNALING_STATE_STABLE:
            return 0;
        case GST_WEBRTC_SIGNALING_STATE_HAVE_LOCAL_OFFER:
            return 1;
        case GST_WEBRTC_SIGNALING_STATE_HAVE_LOCAL_PRANSWER:
            return 2;
        case GST_WEBRTC_SIGNALING_STATE_HAVE_REMOTE_OFFER:
            return 3;
        case GST_WEBRTC_SIGNALING_STATE_HAVE_REMOTE_PRANSWER:
            return 4;
        case GST_WEBRTC_SIGNALING_STATE_CLOSED:
            break;
    }
    return 5;
}

using Reports = Pipeline::Reports;

void OnCandidate(GstElement*, guint line, const gchar* text, gpointer data) {
    const Crossing crossing;
    if (text != nullptr) static_cast<Reports*>(data)->candidate({line, text});
}

void OnNegotiationNeeded(GstElement*, gpointer data) {
    const Crossing crossing;
    static_cast<Reports*>(data)->negotiationNeeded();
}

void OnIceConnectionState(GstElement* bin, GParamSpec*, gpointer data) {
    const Crossing crossing;
    GstWebRTCICEConnectionState state = GST_WEBRTC_ICE_CONNECTION_STATE_NEW;
    g_object_get(bin, "ice-connection-state", &state, nullptr);
    static_cast<Reports*>(data)->iceConnectionState(static_cast<std::uint32_t>(state));
}

void OnIceGatheringState(GstElement* bin, GParamSpec*, gpointer data) {
    const Crossing crossing;
    GstWebRTCICEGatheringState state = GST_WEBRTC_ICE_GATHERING_STATE_NEW;
    g_object_get(bin, "ice-gathering-state", &state, nullptr);
    static_cast<Reports*>(data)->iceGatheringState(static_cast<std::uint32_t>(state));
}

void OnSignalingState(GstElement* bin, GParamSpec*, gpointer data) {
    const Crossing crossing;
    GstWebRTCSignalingState state = GST_WEBRTC_SIGNALING_STATE_STABLE;
    g_object_get(bin, "signaling-state", &state, nullptr);
    static_cast<Reports*>(data)->signalingState(SignalingStateOf(state));
}

void OnGoodbye(GstElement*, guint, guint ssrc, gpointer data) {
    const Crossing crossing;
    static_cast<Reports*>(data)->goodbye(ssrc);
}

// The handlers own what they report to, since one may still run when it is disconnected.
void ConnectReports(GstElement* element, const char* signal, GCallback handler, const Reports& reports) {
    g_signal_connect_data(
        element, signal, handler, new Reports(reports),
        [](gpointer data, GClosure*) {
            const Crossing atItsEnd;
            delete static_cast<Reports*>(data);
        },
        GConnectFlags{});
}

}  // namespace

void Pipeline::HearGoodbyes(GstElement* rtpbin) {
    const Crossing crossing;
    ConnectReports(rtpbin, "on-bye-ssrc", G_CALLBACK(OnGoodbye), reports);
}

void Pipeline::Connect() {
    const Crossing crossing;
    const auto connect = [this](const char* signal, GCallback handler) {
        ConnectReports(webrtc, signal, handler, reports);
    };
    connect("on-ice-candidate", G_CALLBACK(OnCandidate));
    connect("on-negotiation-needed", G_CALLBACK(OnNegotiationNeeded));
    connect("notify::ice-connection-state", G_CALLBACK(OnIceConnectionState));
    connect("notify::ice-gathering-state", G_CALLBACK(OnIceGatheringState));
    connect("notify::signaling-state", G_CALLBACK(OnSignalingState));
    g_signal_connect(webrtc, "pad-added", G_CALLBACK(OnPadAdded), this);
    g_signal_connect(webrtc, "pad-removed", G_CALLBACK(OnPadRemoved), this);
}

// On a streaming thread. The state change in the destructor waits for those, so that this object is there.
void Pipeline::OnPadAdded(GstElement*, GstPad* pad, gpointer self) {
    if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC) return;
    const Crossing crossing;
    auto* pipeline = static_cast<Pipeline*>(self);
    const support::MutexLock lock(pipeline->mutex);
    if (pipeline->ending) return;
    GstElement* receiver = AddReceiver(GST_BIN(pipeline->pipeline.get()), pad, pipeline->tracks);
    if (receiver != nullptr) pipeline->receivers[pad] = receiver;
}

void Pipeline::OnPadRemoved(GstElement*, GstPad* pad, gpointer self) {
    const Crossing crossing;
    auto* pipeline = static_cast<Pipeline*>(self);
    ElementPointer ended;
    {
        const support::MutexLock lock(pipeline->mutex);
        const auto found = pipeline->receivers.find(pad);
        if (found == pipeline->receivers.end()) return;
        ended.reset(GST_ELEMENT(gst_object_ref(found->second)));
        pipeline->receivers.erase(found);
    }
    pipeline->reports.receiverEnded(std::move(ended));
}

void Pipeline::RequestKeyFrames() {
    std::vector<ElementPointer> asked;
    {
        const support::MutexLock lock(mutex);
        for (const auto& [pad, receiver] : receivers)
            asked.emplace_back(GST_ELEMENT(gst_object_ref(receiver)));
    }
    for (const ElementPointer& receiver : asked)
        RequestKeyFrame(receiver.get());
}

void Pipeline::RemoveReceiver(GstElement* receiver) {
    gst_element_set_state(receiver, GST_STATE_NULL);
    gst_bin_remove(GST_BIN(pipeline.get()), receiver);
}

}  // namespace webrtc_gstreamer
