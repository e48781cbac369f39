// The offer of a plain receiver.
#pragma once

#include "apps/petrel/GstHandles.h"

namespace tests {

// Waits until webrtcbin has made it.
inline petrel::GstHandle<GstWebRTCSessionDescription> CreateOffer(GstElement* webrtc) {
    GstPromise* const made = gst_promise_new();
    g_signal_emit_by_name(webrtc, "create-offer", nullptr, made);
    gst_promise_wait(made);
    GstWebRTCSessionDescription* offer = nullptr;
    gst_structure_get(gst_promise_get_reply(made), "offer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &offer,
                      nullptr);
    gst_promise_unref(made);
    return petrel::GstHandle<GstWebRTCSessionDescription>(offer);
}

}  // namespace tests
