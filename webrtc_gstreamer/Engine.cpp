#include "webrtc_gstreamer/Engine.h"

#include <gst/gst.h>
#include <nice/nice.h>

#include <string>
#include <vector>

#include "webrtc_gstreamer/GstPointers.h"
#include "webrtc_gstreamer/Log.h"

namespace webrtc_gstreamer {
namespace {

// In the order in which a peer connection comes to need them.
constexpr const char* kElements[] = {
    "webrtcbin",    "rtpbin",        "dtlssrtpdec", "srtpdec",   "nicesrc",     "rtph264depay",
    "h264parse",    "avdec_h264",    "queue",       "appsink",   "opusdec",     "rtpopusdepay",
    "audioconvert", "audioresample", "rtpvp8depay", "avdec_vp8", "rtpvp9depay", "avdec_vp9"};

// What keeps the engine from running; empty when nothing does.
std::vector<std::string> Start() {
    // The host's crash handling and its standard output stay its own.
    gst_segtrap_set_enabled(FALSE);
    g_log_writer_default_set_use_stderr(TRUE);
    GError* error = nullptr;
    if (gst_init_check(nullptr, nullptr, &error) == FALSE) {
        std::string reason = error != nullptr ? error->message : "unknown reason";
        g_clear_error(&error);
        return {"GStreamer cannot start: " + reason};
    }
    std::vector<std::string> problems;
    for (const char* name : kElements) {
        GstElementFactory* factory = gst_element_factory_find(name);
        if (factory == nullptr) {
            problems.push_back(std::string("GStreamer lacks the element ") + name);
            continue;
        }
        gst_object_unref(factory);
    }
    return problems;
}

}  // namespace

bool EnsureEngine() {
    // Never destroyed: the library's threads may ask while a process ends.
    static const std::vector<std::string>& problems = *new const std::vector<std::string>(Start());
    // Every time: the first time may have been before anybody listened.
    for (const std::string& problem : problems)
        LogErrorOfCaller(problem);
    return problems.empty();
}

void LoadElements() {
    for (const char* name : kElements) {
        GstElementFactory* factory = gst_element_factory_find(name);
        if (factory == nullptr) continue;
        GstPluginFeature* loaded = gst_plugin_feature_load(GST_PLUGIN_FEATURE(factory));
        gst_object_unref(factory);
        if (loaded == nullptr) continue;
        const GType type = gst_element_factory_get_element_type(GST_ELEMENT_FACTORY(loaded));
        if (type != G_TYPE_INVALID) g_type_class_unref(g_type_class_ref(type));
        gst_object_unref(loaded);
    }
}

void MakeKey() {
    if (GstElement* user = gst_element_factory_make("dtlssrtpdec", nullptr))
        gst_object_unref(gst_object_ref_sink(user));
}

bool OnlyLoopbackIsUp() {
    GList* addresses = nice_interfaces_get_local_ips(FALSE);
    const bool none = addresses == nullptr;
    g_list_free_full(addresses, g_free);
    return none;
}

}  // namespace webrtc_gstreamer
