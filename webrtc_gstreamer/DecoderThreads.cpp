#include "webrtc_gstreamer/DecoderThreads.h"

#include "webrtc_gstreamer/GstPointers.h"

namespace webrtc_gstreamer {
namespace {

// On the thread that brings what is decoded.
GstPadProbeReturn OnCodedEvent(GstPad* pad, GstPadProbeInfo* probe, gpointer) {
    GstEvent* event = gst_pad_probe_info_get_event(probe);
    if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    const GstStructure* shape = gst_caps_get_structure(caps, 0);
    int width = 0;
    int height = 0;
    // VP8 and VP9 tell theirs with the first key picture, in a second event.
    gst_structure_get_int(shape, "width", &width);
    gst_structure_get_int(shape, "height", &height);
    const gint64 pixels = gint64{width} * height;
    const ElementPointer decoder(gst_pad_get_parent_element(pad));
    if (decoder) g_object_set(decoder.get(), "max-threads", pixels < kPixelsForTwoThreads ? 1 : 2, nullptr);
    return GST_PAD_PROBE_OK;
}

}  // namespace

void SetThreadsBySize(GstElement* decoder) {
    const PadPointer coded(gst_element_get_static_pad(decoder, "sink"));
    gst_pad_add_probe(coded.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, OnCodedEvent, nullptr, nullptr);
}

}  // namespace webrtc_gstreamer
