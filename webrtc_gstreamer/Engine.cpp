#include "webrtc_gstreamer/Engine.h"

#include <gst/gst.h>
#include <nice/nice.h>

#include <string>

#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {
namespace {

constexpr const char* kElements[] = {
    "webrtcbin",  "nicesrc",      "dtlssrtpdec",   "srtpdec",     "rtpbin",    "rtph264depay",
    "avdec_h264", "rtpvp8depay",  "avdec_vp8",     "rtpvp9depay", "avdec_vp9", "rtpopusdepay",
    "opusdec",    "audioconvert", "audioresample", "queue",       "appsink",   "h264parse"};

bool Start() {
    // The host's crash handling and its standard output stay its own.
    gst_segtrap_set_enabled(FALSE);
    g_log_writer_default_set_use_stderr(TRUE);
    GError* error = nullptr;
    if (gst_init_check(nullptr, nullptr, &error) == FALSE) {
        LogError(std::string("GStreamer cannot start: ") +
                 (error != nullptr ? error->message : "unknown reason"));
        g_clear_error(&error);
        return false;
    }
    bool complete = true;
    for (const char* name : kElements) {
        GstElementFactory* factory = gst_element_factory_find(name);
        if (factory == nullptr) {
            LogError(std::string("GStreamer lacks the element ") + name);
            complete = false;
            continue;
        }
        gst_object_unref(factory);
    }
    return complete;
}

}  // namespace

bool EnsureEngine() {
    static const bool started = Start();
    return started;
}

bool OnlyLoopbackIsUp() {
    GList* addresses = nice_interfaces_get_local_ips(FALSE);
    const bool none = addresses == nullptr;
    g_list_free_full(addresses, g_free);
    return none;
}

}  // namespace webrtc_gstreamer
