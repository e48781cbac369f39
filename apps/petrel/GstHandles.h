// Owners for GStreamer's reference-counted things.
#pragma once

#include <gst/gst.h>
#include <gst/sdp/sdp.h>
#define GST_USE_UNSTABLE_API
#include <gst/webrtc/webrtc.h>

#include <memory>

namespace petrel {

struct GstRelease {
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstPromise* promise) const { gst_promise_unref(promise); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstSDPMessage* message) const { gst_sdp_message_free(message); }
    void operator()(GstWebRTCSessionDescription* description) const {
        gst_webrtc_session_description_free(description);
    }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(gchar* text) const { g_free(text); }
    // Everything else is an object: elements, pads, pools, clocks, buses.
    template <class Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};

template <class Thing>
using GstHandle = std::unique_ptr<Thing, GstRelease>;

}  // namespace petrel
