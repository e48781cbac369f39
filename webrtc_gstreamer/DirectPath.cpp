#include "webrtc_gstreamer/DirectPath.h"

#include <atomic>

#include "webrtc_gstreamer/Crossing.h"
#include "webrtc_gstreamer/FactoryName.h"
#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {
namespace {

constexpr const char* kKey = "direct-path";

// Belongs to the queue, like the pad, which is its last one.
struct DirectPath {
    GstElement* const queue;
    GstPad* const last;
    // webrtcbin lets packets through.
    std::atomic<bool> isOpen{false};
    // None of them is in the queue any more.
    std::atomic<bool> isClear{false};
};

bool HasPassedAllOn(const DirectPath& path, GstPad* next) {
    guint waiting = 0;
    g_object_get(path.queue, "current-level-buffers", &waiting, nullptr);
    if (waiting > 0) return false;
    // Comes before the first packet.
    GstEvent* segment = gst_pad_get_sticky_event(next, GST_EVENT_SEGMENT, 0);
    if (segment == nullptr) return false;
    gst_event_unref(segment);
    return true;
}

// Not through the queue's last pad: what webrtcbin blocks there would block the thread of the sockets, which
// also answers connectivity checks.
GstPadProbeReturn OnPacket(GstPad*, GstPadProbeInfo* probe, gpointer data) {
    const Crossing crossing;
    auto* const path = static_cast<DirectPath*>(data);
    if (!path->isOpen) return GST_PAD_PROBE_OK;
    const PadPointer next(gst_pad_get_peer(path->last));
    if (!next) return GST_PAD_PROBE_OK;
    if (!path->isClear) {
        if (!HasPassedAllOn(*path, next.get())) return GST_PAD_PROBE_OK;
        path->isClear = true;
    }
    GST_PAD_PROBE_INFO_FLOW_RETURN(probe) = gst_pad_chain(next.get(), gst_pad_probe_info_get_buffer(probe));
    return GST_PAD_PROBE_HANDLED;
}

// webrtcbin makes the queue leaky while it holds packets back.
void OnLeaky(GstElement* queue, GParamSpec*, gpointer data) {
    const Crossing crossing;
    auto* const path = static_cast<DirectPath*>(data);
    gint leaky = 0;
    g_object_get(queue, "leaky", &leaky, nullptr);
    path->isOpen = false;
    path->isClear = false;
    path->isOpen = leaky == 0;
}

bool LeadsToDecryption(GstPad* last) {
    const PadPointer next(gst_pad_get_peer(last));
    const ElementPointer decryption(next ? gst_pad_get_parent_element(next.get()) : nullptr);
    return decryption && FactoryNameOf(decryption.get()) == "dtlssrtpdec";
}

}  // namespace

void LeadPacketsPast(GstElement* queue) {
    const PadPointer first(gst_element_get_static_pad(queue, "sink"));
    const PadPointer last(gst_element_get_static_pad(queue, "src"));
    if (!first || !last || !LeadsToDecryption(last.get())) return;
    const Crossing crossing;
    auto* const path = new DirectPath{queue, last.get()};
    g_object_set_data_full(G_OBJECT(queue), kKey, path, [](gpointer data) {
        const Crossing atItsEnd;
        delete static_cast<DirectPath*>(data);
    });
    g_signal_connect(queue, "notify::leaky", G_CALLBACK(OnLeaky), path);
    gst_pad_add_probe(first.get(), GST_PAD_PROBE_TYPE_BUFFER, OnPacket, path, nullptr);
}

}  // namespace webrtc_gstreamer
