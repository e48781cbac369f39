// Owners for GStreamer's and GLib's plain C objects.
#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>
#include <gst/webrtc/webrtc.h>

#include <memory>

namespace webrtc_gstreamer {

// Not the C functions themselves: some are static, and a type made with them would differ in every file.
struct GstRelease {
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstPad* pad) const { gst_object_unref(pad); }
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GObject* object) const { g_object_unref(object); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstPromise* promise) const { gst_promise_unref(promise); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
    void operator()(GstSDPMessage* message) const { gst_sdp_message_free(message); }
    void operator()(GstWebRTCSessionDescription* description) const {
        gst_webrtc_session_description_free(description);
    }
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
    void operator()(gchar* text) const { g_free(text); }
};

using ElementPointer = std::unique_ptr<GstElement, GstRelease>;
using PadPointer = std::unique_ptr<GstPad, GstRelease>;
using BusPointer = std::unique_ptr<GstBus, GstRelease>;
using ObjectPointer = std::unique_ptr<GObject, GstRelease>;
using CapsPointer = std::unique_ptr<GstCaps, GstRelease>;
using SamplePointer = std::unique_ptr<GstSample, GstRelease>;
using BufferPointer = std::unique_ptr<GstBuffer, GstRelease>;
using PromisePointer = std::unique_ptr<GstPromise, GstRelease>;
using StructurePointer = std::unique_ptr<GstStructure, GstRelease>;
using SdpMessagePointer = std::unique_ptr<GstSDPMessage, GstRelease>;
using SessionDescriptionPointer = std::unique_ptr<GstWebRTCSessionDescription, GstRelease>;
using VideoConverterPointer = std::unique_ptr<GstVideoConverter, GstRelease>;
using TextPointer = std::unique_ptr<gchar, GstRelease>;

}  // namespace webrtc_gstreamer
